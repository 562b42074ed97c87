#include "editor/CZkmorvaSpectrumView.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>

namespace raster = zkeditor::raster;

namespace {

// Opacity of a trace's fill at the top and the bottom of the view, and of its edge.
constexpr float kInputTop = 0.22f, kInputBottom = 0.04f;
constexpr float kOutputTop = 0.30f, kOutputBottom = 0.06f, kOutputEdge = 0.8f;
constexpr float kPeakAlpha = 0.55f;
constexpr CColor kNoteColour{170, 200, 190, 200};

} // namespace

CZkmorvaSpectrumView::CZkmorvaSpectrumView(const CRect& size_) : CView(size_) {
    setMouseEnabled(false);
    setTransparency(true);
}

CZkmorvaSpectrumView::~CZkmorvaSpectrumView() {
    if (surface != nullptr) {
        cairo_surface_destroy(surface);
    }
}

void CZkmorvaSpectrumView::setTraces(std::span<const Trace> wanted) {
    count = std::min(wanted.size(), kMaxTraces);
    // Inputs first, so outputs are drawn over them.
    std::size_t at = 0;
    for (bool output : {false, true}) {
        for (std::size_t i = 0; i < count; ++i) {
            if (wanted[i].output == output) {
                Trace& t = traces[at++];
                t.levels.assign(wanted[i].levels.begin(), wanted[i].levels.end());
                t.peaks.assign(wanted[i].peaks.begin(), wanted[i].peaks.end());
                t.colour = wanted[i].colour;
                t.output = output;
            }
        }
    }
    setDirty();
}

void CZkmorvaSpectrumView::clearTraces() {
    if (count != 0) {
        count = 0;
        setDirty();
    }
}

void CZkmorvaSpectrumView::setNote(const std::string& text) {
    if (text != note) {
        note = text;
        setDirty();
    }
}

double CZkmorvaSpectrumView::yOfLevel(double db) const {
    const double t = (kTopDb - db) / (kTopDb - kBottomDb);
    return size.top + std::clamp(t, 0.0, 1.0) * size.height();
}

bool CZkmorvaSpectrumView::hitTest(const CPoint&, long) const {
    return false;
}

raster::Image CZkmorvaSpectrumView::picture(int width, int height) {
    if (surface == nullptr || cairo_image_surface_get_width(surface) != width ||
        cairo_image_surface_get_height(surface) != height) {
        if (surface != nullptr) {
            cairo_surface_destroy(surface);
        }
        surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
        painter.Reset();
    }
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        return {};
    }
    cairo_surface_flush(surface);
    return {reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface)), width, height,
            cairo_image_surface_get_stride(surface) / 4};
}

void CZkmorvaSpectrumView::drawTraces(CDrawContext* context) {
    const double scale = context->getScaleFactor();
    const int width = static_cast<int>(std::ceil(size.width() * scale));
    const int height = static_cast<int>(std::ceil(size.height() * scale));
    if (width <= 0 || height <= 0) {
        return;
    }
    const raster::Image image = picture(width, height);
    if (image.pixels == nullptr) {
        return;
    }
    const auto columns = static_cast<std::size_t>(size.width());
    // Device y of a level: the same mapping as yOfLevel, at the picture's scale.
    auto deviceY = [&](std::vector<float>& out, const std::vector<float>& levels) {
        out.assign(columns, NAN);
        for (std::size_t c = 0; c < std::min(columns, levels.size()); ++c) {
            out[c] = static_cast<float>((yOfLevel(levels[c]) - size.top) * scale);
        }
    };
    int firstRow = height;
    std::array<raster::Area, kMaxTraces> areas;
    for (std::size_t i = 0; i < count; ++i) {
        const Trace& t = traces[i];
        deviceY(columnY[i], t.levels);
        std::vector<float>& tops = areaTop[i];
        tops.resize(static_cast<std::size_t>(width));
        for (int d = 0; d < width; ++d) {
            tops[d] = raster::Interpolate(columnY[i], raster::PositionOfDeviceColumn(d, scale));
        }
        firstRow = std::min(firstRow, raster::FirstRow(tops, height));
        areas[i] = {tops, t.colour, t.output ? kOutputTop : kInputTop,
                    t.output ? kOutputBottom : kInputBottom};
    }
    // A line one view pixel thick: over each device column it spans what the
    // polyline through the column centres does there, between the column's edges
    // and at a corner inside it.
    const float halfWidth = static_cast<float>(0.5 * scale);
    auto line = [&](const std::vector<float>& y) {
        lineTop.resize(static_cast<std::size_t>(width));
        lineBottom.resize(static_cast<std::size_t>(width));
        double from = raster::PositionOfDeviceColumn(0, scale) - 0.5 / scale;
        float atFrom = raster::Interpolate(y, from);
        for (int d = 0; d < width; ++d) {
            const double to = raster::PositionOfDeviceColumn(d, scale) + 0.5 / scale;
            const float atTo = raster::Interpolate(y, to);
            float low = std::min(atFrom, atTo);
            float high = std::max(atFrom, atTo);
            const double corner = std::ceil(from);
            if (corner < to && corner >= 0.0 && corner < static_cast<double>(y.size())) {
                low = std::min(low, y[static_cast<std::size_t>(corner)]);
                high = std::max(high, y[static_cast<std::size_t>(corner)]);
            }
            lineTop[d] = low - halfWidth;
            lineBottom[d] = high + halfWidth;
            from = to;
            atFrom = atTo;
        }
        firstRow = std::min(firstRow, raster::FirstRow(lineTop, height));
    };
    // Peaks lie above the levels: their rows count before anything is drawn.
    for (std::size_t i = 0; i < count; ++i) {
        if (!traces[i].peaks.empty()) {
            deviceY(peakY[i], traces[i].peaks);
            line(peakY[i]);
        }
    }
    painter.Areas(image, std::span(areas.data(), count));
    for (std::size_t i = 0; i < count; ++i) {
        const Trace& t = traces[i];
        if (t.output) {
            line(columnY[i]);
            painter.Line(lineTop, lineBottom, t.colour, kOutputEdge);
        }
        if (!t.peaks.empty()) {
            line(peakY[i]);
            painter.Line(lineTop, lineBottom, t.colour, kPeakAlpha);
        }
    }
    cairo_surface_mark_dirty(surface);

    // The picture onto the device pixels under the view, from its first drawn row.
    cairo_t* cr = context->getCairo();
    cairo_save(cr);
    cairo_new_path(cr);
    const double top = size.top + firstRow / scale;
    cairo_rectangle(cr, size.left, top, size.width(), size.bottom - top);
    cairo_clip(cr);
    cairo_pattern_t* pattern = cairo_pattern_create_for_surface(surface);
    cairo_matrix_t m;
    cairo_matrix_init_scale(&m, scale, scale);
    cairo_matrix_translate(&m, -size.left, -size.top);
    cairo_pattern_set_matrix(pattern, &m);
    cairo_pattern_set_filter(pattern, CAIRO_FILTER_NEAREST);
    cairo_set_source(cr, pattern);
    cairo_paint(cr);
    cairo_pattern_destroy(pattern);
    cairo_restore(cr);
}

void CZkmorvaSpectrumView::draw(CDrawContext* context) {
    context->saveState();
    context->intersectClipRect(size);
    if (count > 0) {
        drawTraces(context);
    }
    if (!note.empty()) {
        context->setFont(kNormalFontSmaller);
        context->setFontColor(kNoteColour);
        const CRect line(size.left + 24, size.top + 4, size.right - 24, size.top + 16);
        context->drawString(note.c_str(), line, false, kLeftText);
    }
    context->restoreState();
    setDirty(false);
}
