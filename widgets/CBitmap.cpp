#include "widgets/CBitmap.h"

#include "widgets/CDrawContext.h"

#include <cmath>
#include <cstdio>

namespace {

std::span<const CBitmapDescription> gBitmapTable;

int DevicePixels(CCoord logical, double scale) {
    return std::max(1, static_cast<int>(std::ceil(logical * scale)));
}

} // namespace

void CBitmap::setBitmapTable(std::span<const CBitmapDescription> table) {
    gBitmapTable = table;
}

const CBitmapDescription* CBitmap::findDescription(int id) {
    for (const CBitmapDescription& d : gBitmapTable) {
        if (d.id == id) {
            return &d;
        }
    }
    return nullptr;
}

CBitmap::CBitmap(int id) : resourceID(id) {
    const CBitmapDescription* d = findDescription(id);
    if (d == nullptr || d->paint == nullptr || d->width <= 0 || d->height <= 0) {
        std::fprintf(stderr, "CBitmap: no bitmap with id %d in the bitmap table%s\n", id,
                     gBitmapTable.empty() ? " (no table installed)" : "");
        return;
    }
    width = d->width;
    height = d->height;
    frames = std::max(1, d->frames);
    columns = std::max(1, d->columns);
    CBitmapPainter paint = d->paint;
    painter = [paint](cairo_t* cr, double scale) { paint(cr, scale); };
    loaded = true;
}

CBitmap::CBitmap(CCoord w, CCoord h, std::function<void(cairo_t*, double)> p)
    : width(w), height(h), painter(std::move(p)) {
    loaded = width > 0 && height > 0 && painter != nullptr;
    if (!loaded) {
        std::fprintf(stderr, "CBitmap: invalid drawn bitmap %d x %d%s\n", w, h,
                     painter ? "" : " without painter");
        width = height = 0;
    }
}

CBitmap::~CBitmap() {
    for (auto& [scale, s] : surfaces) {
        cairo_surface_destroy(s);
    }
    for (auto& [scale, s] : keyedSurfaces) {
        cairo_surface_destroy(s);
    }
}

void CBitmap::setTransparentColor(const CColor& color) {
    if (color == transparentColor) {
        return;
    }
    transparentColor = color;
    for (auto& [scale, s] : keyedSurfaces) {
        cairo_surface_destroy(s);
    }
    keyedSurfaces.clear();
}

cairo_surface_t* CBitmap::getSurface(double scale) {
    if (!loaded) {
        return nullptr;
    }
    if (auto it = surfaces.find(scale); it != surfaces.end()) {
        return it->second;
    }
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, DevicePixels(width, scale),
                                                    DevicePixels(height, scale));
    cairo_t* cr = cairo_create(s);
    cairo_scale(cr, scale, scale);
    painter(cr, scale);
    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
        std::fprintf(stderr, "CBitmap: drawing bitmap %d failed: %s\n", resourceID,
                     cairo_status_to_string(cairo_status(cr)));
    }
    cairo_destroy(cr);
    cairo_surface_flush(s);
    surfaces[scale] = s;
    bool solid = true;
    const int stride = cairo_image_surface_get_stride(s);
    const unsigned char* data = cairo_image_surface_get_data(s);
    for (int y = 0; solid && y < cairo_image_surface_get_height(s); ++y) {
        const auto* row = reinterpret_cast<const uint32_t*>(data + y * stride);
        for (int x = 0; x < cairo_image_surface_get_width(s); ++x) {
            solid = solid && (row[x] >> 24) == 0xff;
        }
    }
    opaque[scale] = solid;
    return s;
}

// Copy of the image in which pixels of exactly the transparent colour are clear.
cairo_surface_t* CBitmap::keyedSurface(double scale) {
    if (auto it = keyedSurfaces.find(scale); it != keyedSurfaces.end()) {
        return it->second;
    }
    cairo_surface_t* source = getSurface(scale);
    if (source == nullptr) {
        return nullptr;
    }
    const int w = cairo_image_surface_get_width(source);
    const int h = cairo_image_surface_get_height(source);
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    const int stride = cairo_image_surface_get_stride(source);
    const unsigned char* from = cairo_image_surface_get_data(source);
    unsigned char* to = cairo_image_surface_get_data(s);
    const uint32_t key = 0xff000000u | (uint32_t(transparentColor.red) << 16) |
                         (uint32_t(transparentColor.green) << 8) | transparentColor.blue;
    for (int y = 0; y < h; ++y) {
        const auto* in = reinterpret_cast<const uint32_t*>(from + y * stride);
        auto* out = reinterpret_cast<uint32_t*>(to + y * stride);
        for (int x = 0; x < w; ++x) {
            out[x] = (in[x] == key) ? 0u : in[x];
        }
    }
    cairo_surface_mark_dirty(s);
    keyedSurfaces[scale] = s;
    return s;
}

void CBitmap::blit(CDrawContext* context, cairo_surface_t* image, const CRect& dest,
                   const CPoint& offset, cairo_operator_t op) {
    cairo_t* cr = context->getCairo();
    const double scale = context->getScaleFactor();
    cairo_save(cr);
    cairo_new_path(cr);
    cairo_rectangle(cr, dest.left, dest.top, dest.width(), dest.height());
    cairo_clip(cr);
    // The image already has device resolution: map it 1:1 onto device pixels.
    cairo_pattern_t* pattern = cairo_pattern_create_for_surface(image);
    cairo_matrix_t m;
    cairo_matrix_init_scale(&m, scale, scale);
    cairo_matrix_translate(&m, offset.h - dest.left, offset.v - dest.top);
    cairo_pattern_set_matrix(pattern, &m);
    cairo_pattern_set_filter(pattern, CAIRO_FILTER_NEAREST);
    cairo_set_source(cr, pattern);
    cairo_set_operator(cr, op);
    cairo_paint(cr);
    cairo_pattern_destroy(pattern);
    cairo_restore(cr);
}

void CBitmap::draw(CDrawContext* context, const CRect& dest, const CPoint& offset) {
    if (!loaded || context == nullptr) {
        return;
    }
    const double scale = context->getScaleFactor();
    cairo_surface_t* image = getSurface(scale);
    if (image == nullptr) {
        return;
    }
    CRect area = dest;
    area.bound(
        CRect(dest.left, dest.top, dest.left + width - offset.h, dest.top + height - offset.v));
    if (opaque[scale]) {
        // Copied as it is: a plain copy costs a fraction of blending (whole panels
        // are redrawn at the analyser's frame rate).
        blit(context, image, area, offset, CAIRO_OPERATOR_SOURCE);
        return;
    }
    // Clear areas show the transparent colour, as an unkeyed blit of a keyed image would.
    const CColor oldFill = context->getFillColor();
    CColor backing = transparentColor;
    backing.alpha = 255;
    context->setFillColor(backing);
    context->fillRect(area);
    context->setFillColor(oldFill);
    blit(context, image, dest, offset);
}

void CBitmap::drawTransparent(CDrawContext* context, const CRect& dest, const CPoint& offset) {
    if (!loaded || context == nullptr) {
        return;
    }
    blit(context, keyedSurface(context->getScaleFactor()), dest, offset);
}
