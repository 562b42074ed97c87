#pragma once

#include "widgets/CColor.h"
#include "widgets/CRect.h"

#include <cairo.h>

#include <functional>
#include <map>
#include <span>

class CDrawContext;

// Draws a bitmap's content in logical coordinates onto a cleared (fully
// transparent) surface; scale is the device scale the surface has, for painters
// that want to snap to device pixels.
using CBitmapPainter = void (*)(cairo_t* cr, double scale);

// One entry of a bitmap table: what CBitmap(id) finds. Film strips stack their
// frames vertically (frames > 1); two-dimensional strips have columns > 1 as well.
struct CBitmapDescription {
    int id;
    const char* name;
    CCoord width; // logical size of the whole image
    CCoord height;
    int frames;  // frames per column (1 for a plain image)
    int columns; // columns of a two-dimensional strip (1 otherwise)
    CBitmapPainter paint;
};

// A bitmap drawn by code rather than loaded from a file. It is rendered lazily
// at each scale it is shown at, so a 2x target gets real 2x detail. Pixels left
// transparent by the painter read as the transparent colour (black by default),
// the way a keyed bitmap shows them when drawn without transparency.
class CBitmap {
public:
    // Looks the id up in the installed bitmap table. An unknown id (or no table)
    // prints an error naming the id to stderr and gives an empty bitmap that draws
    // nothing; isLoaded() tells.
    explicit CBitmap(int resourceID);
    CBitmap(CCoord width, CCoord height, std::function<void(cairo_t*, double)> painter);
    ~CBitmap();
    CBitmap(const CBitmap&) = delete;
    CBitmap& operator=(const CBitmap&) = delete;

    bool isLoaded() const { return loaded; }
    int getResourceID() const { return resourceID; }
    CCoord getWidth() const { return width; }
    CCoord getHeight() const { return height; }
    int getNumFrames() const { return frames; }
    int getNumColumns() const { return columns; }

    void setTransparentColor(const CColor& color);
    CColor getTransparentColor() const { return transparentColor; }
    void setNoAlpha(bool) {} // kept for source compatibility; alpha always works

    // Blits the part of the bitmap at offset into dest. draw() shows keyed pixels
    // in the transparent colour; drawTransparent() leaves them out, as well as
    // any pixel that has exactly the transparent colour.
    void draw(CDrawContext* context, const CRect& dest, const CPoint& offset = CPoint(0, 0));
    void drawTransparent(CDrawContext* context, const CRect& dest,
                         const CPoint& offset = CPoint(0, 0));

    // Image at a scale: (width x scale) x (height x scale) device pixels, owned
    // by the bitmap (null when not loaded).
    cairo_surface_t* getSurface(double scale);

    // The table CBitmap(id) searches; the skin installs its own at start.
    static void setBitmapTable(std::span<const CBitmapDescription> table);
    static const CBitmapDescription* findDescription(int id);

private:
    cairo_surface_t* keyedSurface(double scale);
    void blit(CDrawContext* context, cairo_surface_t* image, const CRect& dest,
              const CPoint& offset, cairo_operator_t op = CAIRO_OPERATOR_OVER);

    int resourceID = -1;
    CCoord width = 0;
    CCoord height = 0;
    int frames = 1;
    int columns = 1;
    bool loaded = false;
    std::function<void(cairo_t*, double)> painter;
    CColor transparentColor = kBlackCColor;
    std::map<double, cairo_surface_t*> surfaces;
    std::map<double, bool> opaque; // per scale: no pixel of the image is see-through
    std::map<double, cairo_surface_t*> keyedSurfaces;
};
