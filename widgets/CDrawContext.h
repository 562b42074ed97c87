#pragma once

#include "widgets/CColor.h"
#include "widgets/CFont.h"
#include "widgets/CRect.h"

#include <cairo.h>

#include <memory>
#include <string>
#include <vector>

enum CLineStyle { kLineSolid = 0, kLineOnOffDash };
enum CDrawMode { kCopyMode = 0, kOrMode, kXorMode, kAntialias };
enum CDrawStyle { kDrawStroked = 0, kDrawFilled, kDrawFilledAndStroked };
enum CHoriTxtAlign { kLeftText = 0, kCenterText, kRightText };

// Drawing on a Cairo target in logical coordinates. The context applies the scale
// factor (1x, 1.5x, 2x) itself, so views draw the same numbers at every scale and
// lines and text come out sharp at the device resolution. The context does not
// own the cairo_t it is given (a window surface of a plug-in adapter);
// COffscreenContext owns its own image surface.
class CDrawContext {
public:
    CDrawContext(cairo_t* cr, double scaleFactor = 1.0);
    virtual ~CDrawContext();
    CDrawContext(const CDrawContext&) = delete;
    CDrawContext& operator=(const CDrawContext&) = delete;

    cairo_t* getCairo() const { return cr; }
    double getScaleFactor() const { return scale; }

    // Lines and shapes: stroked with the frame colour, filled with the fill colour.
    void moveTo(const CPoint& point);
    void lineTo(const CPoint& point);
    void drawLine(const CPoint& from, const CPoint& to);
    void drawPolygon(const CPoint* points, int count, CDrawStyle style = kDrawStroked);
    void drawPolygon(const std::vector<CPoint>& points, CDrawStyle style = kDrawStroked);
    void drawRect(const CRect& rect, CDrawStyle style = kDrawStroked);
    void fillRect(const CRect& rect);
    void drawEllipse(const CRect& rect, CDrawStyle style = kDrawStroked);
    void fillEllipse(const CRect& rect);

    // Text in the current font and font colour, vertically centred in rect.
    void drawString(const char* string, const CRect& rect, bool opaque = false,
                    CHoriTxtAlign hAlign = kCenterText);
    double getStringWidth(const char* string);

    void setLineStyle(CLineStyle style) { lineStyle = style; }
    CLineStyle getLineStyle() const { return lineStyle; }
    void setLineWidth(int width) { lineWidth = width < 1 ? 1 : width; }
    int getLineWidth() const { return lineWidth; }
    void setDrawMode(CDrawMode mode);
    CDrawMode getDrawMode() const { return drawMode; }
    void setFrameColor(const CColor& color) { frameColor = color; }
    CColor getFrameColor() const { return frameColor; }
    void setFillColor(const CColor& color) { fillColor = color; }
    CColor getFillColor() const { return fillColor; }
    void setFontColor(const CColor& color) { fontColor = color; }
    CColor getFontColor() const { return fontColor; }
    // size 0 keeps the font's own size from the font table.
    void setFont(CFont fontID, double size = 0, bool bold = false);
    CFont getFont() const { return font; }

    // Clipping in logical coordinates of the current origin.
    void setClipRect(const CRect& rect);
    void resetClipRect();
    // Narrows the current clip to rect.
    void intersectClipRect(const CRect& rect);

    // Nested origins for view containers; every save needs its restore.
    void saveState();
    void restoreState();
    void translate(const CPoint& delta);
    // Logical position of the current origin relative to the target's top left.
    CPoint getOffset() const { return offset; }

    // Device-pixel rectangle of a logical rectangle at the current origin.
    void toDevice(const CRect& rect, int& x, int& y, int& w, int& h) const;

protected:
    // The current font on the cairo_t, with the options drawing and measuring share.
    void selectFont();
    void applySource(const CColor& color);
    void strokePrepared();

    cairo_t* cr;
    double scale;
    CLineStyle lineStyle = kLineSolid;
    int lineWidth = 1;
    CDrawMode drawMode = kCopyMode;
    CColor frameColor = kWhiteCColor;
    CColor fillColor = kBlackCColor;
    CColor fontColor = kWhiteCColor;
    CFont font = kSystemFont;
    double fontSize = 12.0;
    bool fontBold = true;
    CPoint penPosition;
    CPoint offset;
    std::vector<CPoint> savedOffsets;
};

// A context that draws into its own ARGB image surface of
// (width x scale) x (height x scale) device pixels. Used by tests, the skin
// sheet, the renderer's screenshots and meters that draw off-screen.
class COffscreenContext : public CDrawContext {
public:
    COffscreenContext(CCoord width, CCoord height, double scaleFactor = 1.0,
                      const CColor& background = kBlackCColor);
    ~COffscreenContext() override;

    CCoord getWidth() const { return logicalWidth; }
    CCoord getHeight() const { return logicalHeight; }
    int getDeviceWidth() const;
    int getDeviceHeight() const;
    cairo_surface_t* getSurface() const { return surface; }

    struct CairoDestroyer {
        void operator()(cairo_t* cr) const { cairo_destroy(cr); }
    };
    using DeviceCairo = std::unique_ptr<cairo_t, CairoDestroyer>;
    // A new cairo_t on the image in device pixels, as a window hands one to a plug-in
    // adapter. getCairo() is already scaled: drawing a frame through it at a scale
    // applies the scale twice.
    DeviceCairo createDeviceCairo() const { return DeviceCairo(cairo_create(surface)); }

    // Colour (un-premultiplied) of a device pixel; out of range gives transparent.
    CColor getPixel(int deviceX, int deviceY) const;
    // Writes the image as PNG; on failure returns false and fills error with the
    // file name and Cairo's reason.
    bool writePNG(const std::string& path, std::string* error = nullptr) const;

    // Copies this image's area at srcOffset onto destRect of pContext.
    void copyFrom(CDrawContext* pContext, const CRect& destRect, CPoint srcOffset = CPoint(0, 0));
    // Copies srcRect of pContext's target into this image at destOffset.
    void copyTo(CDrawContext* pContext, const CRect& srcRect, CPoint destOffset = CPoint(0, 0));

private:
    static cairo_t* createTarget(CCoord width, CCoord height, double scaleFactor);

    cairo_surface_t* surface;
    CCoord logicalWidth;
    CCoord logicalHeight;
};
