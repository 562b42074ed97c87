#pragma once

#include "editor/SpectrumRaster.h"
#include "widgets/CView.h"

#include <array>
#include <span>
#include <string>
#include <vector>

// The spectra drawn behind the response curve: soft filled areas, one per trace,
// over the same columns as the curve. Levels run from kTopDb at the top edge to
// kBottomDb at the bottom. Input traces are paler than output traces, which also
// get an edge line; held peaks are thin lines. The traces are drawn at device
// resolution into a picture of the view's own (see SpectrumRaster.h), which is
// laid over what lies beneath in one step. The view takes no mouse input, so it
// never covers the curve or anything else; with no signal to show it draws a
// short note instead.
class CZkmorvaSpectrumView : public CView {
public:
    static constexpr double kTopDb = 0.0;
    static constexpr double kBottomDb = -84.0;
    static constexpr std::size_t kMaxTraces = 4;

    explicit CZkmorvaSpectrumView(const CRect& size);
    ~CZkmorvaSpectrumView() override;

    struct Trace {
        std::vector<float> levels; // dB per column (from the left edge)
        std::vector<float> peaks;  // empty: no peak line
        CColor colour;
        bool output = false;
    };
    // Replaces the traces (inputs are drawn first) and marks the view dirty.
    void setTraces(std::span<const Trace> traces);
    void clearTraces();
    std::span<const Trace> getTraces() const { return {traces.data(), count}; }
    // A note drawn in place of the traces (empty: none).
    void setNote(const std::string& text);
    const std::string& getNote() const { return note; }

    // Vertical position of a level, kept inside the view.
    double yOfLevel(double db) const;

    void draw(CDrawContext* context) override;
    bool hitTest(const CPoint& where, long buttons = -1) const override;

private:
    void drawTraces(CDrawContext* context);
    // The picture at a device size, cleared when it is made anew.
    zkeditor::raster::Image picture(int width, int height);

    std::array<Trace, kMaxTraces> traces;
    std::size_t count = 0;
    std::string note;

    cairo_surface_t* surface = nullptr; // the picture, kept while its size holds
    zkeditor::raster::TracePainter painter;
    // Per trace: device y of its levels and peaks per column of the trace, then per
    // device column the area's top and a line's extent.
    std::array<std::vector<float>, kMaxTraces> columnY, peakY, areaTop;
    std::vector<float> lineTop, lineBottom;
};
