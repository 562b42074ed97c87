#include "widgets/CDrawContext.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr double kDashLength = 3.0; // logical pixels on and off

double Channel(unsigned char c) {
    return c / 255.0;
}

// Stroked shapes sit on pixel centres so that odd widths stay one device pixel sharp.
double PenOffset(int width) {
    return (width % 2) ? 0.5 : 0.0;
}

} // namespace

CDrawContext::CDrawContext(cairo_t* cr_, double scaleFactor)
    : cr(cairo_reference(cr_)), scale(scaleFactor > 0.0 ? scaleFactor : 1.0) {
    cairo_save(cr);
    cairo_scale(cr, scale, scale);
    setFont(kSystemFont);
    setDrawMode(kCopyMode);
}

CDrawContext::~CDrawContext() {
    cairo_restore(cr);
    cairo_destroy(cr);
}

void CDrawContext::applySource(const CColor& color) {
    cairo_set_source_rgba(cr, Channel(color.red), Channel(color.green), Channel(color.blue),
                          Channel(color.alpha));
}

void CDrawContext::setDrawMode(CDrawMode mode) {
    drawMode = mode;
    cairo_set_antialias(cr, mode == kAntialias ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
}

void CDrawContext::strokePrepared() {
    applySource(frameColor);
    cairo_set_line_width(cr, lineWidth);
    if (lineStyle == kLineOnOffDash) {
        const double dashes[2] = {kDashLength * lineWidth, kDashLength * lineWidth};
        cairo_set_dash(cr, dashes, 2, 0.0);
    } else {
        cairo_set_dash(cr, nullptr, 0, 0.0);
    }
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_SQUARE);
    cairo_stroke(cr);
}

void CDrawContext::moveTo(const CPoint& point) {
    penPosition = point;
}

void CDrawContext::lineTo(const CPoint& point) {
    drawLine(penPosition, point);
    penPosition = point;
}

void CDrawContext::drawLine(const CPoint& from, const CPoint& to) {
    const double o = PenOffset(lineWidth);
    cairo_new_path(cr);
    cairo_move_to(cr, from.h + o, from.v + o);
    cairo_line_to(cr, to.h + o, to.v + o);
    strokePrepared();
}

void CDrawContext::drawPolygon(const CPoint* points, int count, CDrawStyle style) {
    if (points == nullptr || count < 2) {
        return;
    }
    auto tracePath = [&](double o) {
        cairo_new_path(cr);
        cairo_move_to(cr, points[0].h + o, points[0].v + o);
        for (int i = 1; i < count; ++i) {
            cairo_line_to(cr, points[i].h + o, points[i].v + o);
        }
    };
    if (style != kDrawStroked) {
        tracePath(0.0);
        cairo_close_path(cr);
        applySource(fillColor);
        cairo_fill(cr);
    }
    if (style != kDrawFilled) {
        tracePath(PenOffset(lineWidth));
        strokePrepared();
    }
}

void CDrawContext::drawPolygon(const std::vector<CPoint>& points, CDrawStyle style) {
    drawPolygon(points.data(), static_cast<int>(points.size()), style);
}

void CDrawContext::drawRect(const CRect& rect, CDrawStyle style) {
    if (style != kDrawStroked) {
        fillRect(rect);
    }
    if (style != kDrawFilled) {
        const double o = PenOffset(lineWidth);
        cairo_new_path(cr);
        cairo_rectangle(cr, rect.left + o, rect.top + o, rect.width() - 2 * o,
                        rect.height() - 2 * o);
        strokePrepared();
    }
}

void CDrawContext::fillRect(const CRect& rect) {
    cairo_new_path(cr);
    cairo_rectangle(cr, rect.left, rect.top, rect.width(), rect.height());
    applySource(fillColor);
    cairo_fill(cr);
}

void CDrawContext::drawEllipse(const CRect& rect, CDrawStyle style) {
    auto trace = [&](double inset) {
        const double w = rect.width() - 2 * inset;
        const double h = rect.height() - 2 * inset;
        if (w <= 0 || h <= 0) {
            return false;
        }
        cairo_new_path(cr);
        cairo_save(cr);
        cairo_translate(cr, rect.left + rect.width() / 2.0, rect.top + rect.height() / 2.0);
        cairo_scale(cr, w / 2.0, h / 2.0);
        cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
        cairo_restore(cr);
        return true;
    };
    if (style != kDrawStroked && trace(0.0)) {
        applySource(fillColor);
        cairo_fill(cr);
    }
    if (style != kDrawFilled && trace(lineWidth / 2.0)) {
        strokePrepared();
    }
}

void CDrawContext::fillEllipse(const CRect& rect) {
    drawEllipse(rect, kDrawFilled);
}

void CDrawContext::setFont(CFont fontID, double size, bool bold) {
    const CFontDescription d = FontDescription(fontID);
    font = (fontID >= 0 && fontID < kNumFonts) ? fontID : kSystemFont;
    fontSize = size > 0 ? size : d.size;
    fontBold = bold || d.bold;
}

void CDrawContext::selectFont() {
    cairo_select_font_face(cr, kFontFamily, CAIRO_FONT_SLANT_NORMAL,
                           fontBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, fontSize);
    // Same glyph positions at every scale: no metric hinting, for measuring as for
    // drawing (hinted advances are whole device pixels and differ between scales).
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_set_font_options(cr, options);
    cairo_font_options_destroy(options);
}

double CDrawContext::getStringWidth(const char* string) {
    if (string == nullptr) {
        return 0.0;
    }
    cairo_save(cr);
    selectFont();
    cairo_text_extents_t extents;
    cairo_text_extents(cr, string, &extents);
    cairo_restore(cr);
    return extents.x_advance;
}

void CDrawContext::drawString(const char* string, const CRect& rect, bool opaque,
                              CHoriTxtAlign hAlign) {
    if (opaque) {
        fillRect(rect);
    }
    if (string == nullptr || *string == '\0') {
        return;
    }
    cairo_save(cr);
    cairo_new_path(cr);
    cairo_rectangle(cr, rect.left, rect.top, rect.width(), rect.height());
    cairo_clip(cr);

    selectFont();
    cairo_text_extents_t extents;
    cairo_text_extents(cr, string, &extents);
    const double width = extents.x_advance;
    cairo_font_extents_t fe;
    cairo_font_extents(cr, &fe);
    double x = rect.left;
    if (hAlign == kCenterText) {
        x = rect.left + (rect.width() - width) / 2.0;
    } else if (hAlign == kRightText) {
        x = rect.right - width;
    }
    const double baseline = rect.top + (rect.height() + fe.ascent - fe.descent) / 2.0;
    applySource(fontColor);
    cairo_move_to(cr, x, baseline);
    cairo_show_text(cr, string);
    cairo_restore(cr);
}

void CDrawContext::setClipRect(const CRect& rect) {
    cairo_reset_clip(cr);
    cairo_new_path(cr);
    cairo_rectangle(cr, rect.left, rect.top, rect.width(), rect.height());
    cairo_clip(cr);
}

void CDrawContext::resetClipRect() {
    cairo_reset_clip(cr);
}

void CDrawContext::intersectClipRect(const CRect& rect) {
    cairo_new_path(cr);
    cairo_rectangle(cr, rect.left, rect.top, rect.width(), rect.height());
    cairo_clip(cr);
}

void CDrawContext::saveState() {
    cairo_save(cr);
    savedOffsets.push_back(offset);
}

void CDrawContext::restoreState() {
    if (savedOffsets.empty()) {
        return;
    }
    cairo_restore(cr);
    offset = savedOffsets.back();
    savedOffsets.pop_back();
}

void CDrawContext::translate(const CPoint& delta) {
    cairo_translate(cr, delta.h, delta.v);
    offset.offset(delta.h, delta.v);
}

void CDrawContext::toDevice(const CRect& rect, int& x, int& y, int& w, int& h) const {
    double x0 = rect.left, y0 = rect.top, x1 = rect.right, y1 = rect.bottom;
    cairo_user_to_device(cr, &x0, &y0);
    cairo_user_to_device(cr, &x1, &y1);
    x = static_cast<int>(std::lround(x0));
    y = static_cast<int>(std::lround(y0));
    w = static_cast<int>(std::lround(x1)) - x;
    h = static_cast<int>(std::lround(y1)) - y;
}

// --- COffscreenContext ---

cairo_t* COffscreenContext::createTarget(CCoord width, CCoord height, double scaleFactor) {
    const double s = scaleFactor > 0.0 ? scaleFactor : 1.0;
    const int w = std::max(1, static_cast<int>(std::ceil(std::max(0, width) * s)));
    const int h = std::max(1, static_cast<int>(std::ceil(std::max(0, height) * s)));
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_t* cr = cairo_create(surface);
    cairo_surface_destroy(surface); // the cairo_t keeps it alive
    return cr;
}

COffscreenContext::COffscreenContext(CCoord width, CCoord height, double scaleFactor,
                                     const CColor& background)
    : CDrawContext(createTarget(width, height, scaleFactor), scaleFactor),
      surface(cairo_surface_reference(cairo_get_target(cr))), logicalWidth(width),
      logicalHeight(height) {
    cairo_destroy(cr); // drop the creation reference; the base holds its own
    cairo_save(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    applySource(background);
    cairo_paint(cr);
    cairo_restore(cr);
}

COffscreenContext::~COffscreenContext() {
    cairo_surface_destroy(surface);
}

int COffscreenContext::getDeviceWidth() const {
    return cairo_image_surface_get_width(surface);
}

int COffscreenContext::getDeviceHeight() const {
    return cairo_image_surface_get_height(surface);
}

CColor COffscreenContext::getPixel(int deviceX, int deviceY) const {
    if (deviceX < 0 || deviceY < 0 || deviceX >= getDeviceWidth() || deviceY >= getDeviceHeight()) {
        return kTransparentCColor;
    }
    cairo_surface_flush(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const auto pixel = *reinterpret_cast<const uint32_t*>(data + deviceY * stride + deviceX * 4);
    const unsigned a = (pixel >> 24) & 0xff;
    auto unpremultiply = [a](unsigned c) {
        return static_cast<unsigned char>(a == 0 ? 0 : std::min(255u, (c * 255 + a / 2) / a));
    };
    return CColor{unpremultiply((pixel >> 16) & 0xff), unpremultiply((pixel >> 8) & 0xff),
                  unpremultiply(pixel & 0xff), static_cast<unsigned char>(a)};
}

bool COffscreenContext::writePNG(const std::string& path, std::string* error) const {
    cairo_surface_flush(surface);
    // Written beside the target and renamed into place, so that a failed write
    // never leaves a truncated picture under the real name.
    const std::string part = path + ".part";
    const cairo_status_t status = cairo_surface_write_to_png(surface, part.c_str());
    if (status != CAIRO_STATUS_SUCCESS) {
        std::remove(part.c_str());
        if (error) {
            *error = "cannot write PNG '" + path + "': " + cairo_status_to_string(status);
        }
        return false;
    }
    if (std::rename(part.c_str(), path.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        std::remove(part.c_str());
        if (error) {
            *error = "cannot write PNG '" + path + "': " + reason;
        }
        return false;
    }
    return true;
}

void COffscreenContext::copyFrom(CDrawContext* pContext, const CRect& destRect, CPoint srcOffset) {
    if (pContext == nullptr) {
        return;
    }
    cairo_surface_flush(surface);
    cairo_t* dest = pContext->getCairo();
    cairo_save(dest);
    cairo_new_path(dest);
    cairo_rectangle(dest, destRect.left, destRect.top, destRect.width(), destRect.height());
    cairo_clip(dest);
    cairo_pattern_t* pattern = cairo_pattern_create_for_surface(surface);
    cairo_matrix_t m;
    cairo_matrix_init_scale(&m, scale, scale);
    cairo_matrix_translate(&m, srcOffset.h - destRect.left, srcOffset.v - destRect.top);
    cairo_pattern_set_matrix(pattern, &m);
    cairo_pattern_set_filter(pattern, CAIRO_FILTER_NEAREST);
    cairo_set_source(dest, pattern);
    cairo_paint(dest);
    cairo_pattern_destroy(pattern);
    cairo_restore(dest);
}

void COffscreenContext::copyTo(CDrawContext* pContext, const CRect& srcRect, CPoint destOffset) {
    if (pContext == nullptr) {
        return;
    }
    int sx, sy, sw, sh;
    pContext->toDevice(srcRect, sx, sy, sw, sh);
    const int dx = static_cast<int>(std::lround(destOffset.h * scale));
    const int dy = static_cast<int>(std::lround(destOffset.v * scale));
    cairo_surface_t* source = cairo_get_target(pContext->getCairo());
    cairo_surface_flush(source);
    cairo_save(cr);
    cairo_identity_matrix(cr);
    cairo_reset_clip(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, source, dx - sx, dy - sy);
    cairo_new_path(cr);
    cairo_rectangle(cr, dx, dy, sw, sh);
    cairo_fill(cr);
    cairo_restore(cr);
}
