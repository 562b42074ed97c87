#include "editor/CZkmorvaSpectrumView.h"

#include <algorithm>
#include <cairo.h>

namespace {

// Opacity of a trace's fill at the top and the bottom of the view, and of its edge.
constexpr double kInputTop = 0.22, kInputBottom = 0.04;
constexpr double kOutputTop = 0.30, kOutputBottom = 0.06, kOutputEdge = 0.8;
constexpr double kPeakAlpha = 0.55;
constexpr CColor kNoteColour{170, 200, 190, 200};
// Columns between two points of an outline: a 1/6-octave band is several columns
// wide, so this loses nothing, and it halves Cairo's work.
constexpr std::size_t kStep = 2;

double Channel(unsigned char c) {
    return c / 255.0;
}

} // namespace

CZkmorvaSpectrumView::CZkmorvaSpectrumView(const CRect& size_) : CView(size_) {
    setMouseEnabled(false);
    setTransparency(true);
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

void CZkmorvaSpectrumView::drawTrace(CDrawContext* context, const Trace& trace) {
    const std::size_t columns =
        std::min(trace.levels.size(), static_cast<std::size_t>(std::max(size.width(), 0)));
    if (columns < 2) {
        return;
    }
    cairo_t* cr = context->getCairo();
    const double r = Channel(trace.colour.red);
    const double g = Channel(trace.colour.green);
    const double b = Channel(trace.colour.blue);
    const double bottom = size.bottom;
    // Column centres, so the area lines up with the curve's points.
    auto x = [&](std::size_t c) { return size.left + static_cast<double>(c) + 0.5; };
    cairo_new_path(cr);
    cairo_move_to(cr, x(0), bottom);
    for (std::size_t c = 0; c < columns; c += kStep) {
        cairo_line_to(cr, x(c), yOfLevel(trace.levels[c]));
    }
    cairo_line_to(cr, x(columns - 1), yOfLevel(trace.levels[columns - 1]));
    cairo_line_to(cr, x(columns - 1), bottom);
    cairo_close_path(cr);
    cairo_pattern_t* fill = cairo_pattern_create_linear(0.0, size.top, 0.0, bottom);
    cairo_pattern_add_color_stop_rgba(fill, 0.0, r, g, b, trace.output ? kOutputTop : kInputTop);
    cairo_pattern_add_color_stop_rgba(fill, 1.0, r, g, b,
                                      trace.output ? kOutputBottom : kInputBottom);
    cairo_set_source(cr, fill);
    cairo_fill(cr);
    cairo_pattern_destroy(fill);

    // Edges and peaks as thin filled ribbons: much cheaper for Cairo than
    // stroking hundreds of short segments at 1x.
    auto ribbon = [&](const std::vector<float>& levels, std::size_t count, double alpha) {
        cairo_new_path(cr);
        for (std::size_t c = 0; c < count; c += kStep) {
            cairo_line_to(cr, x(c), yOfLevel(levels[c]) - 0.5);
        }
        cairo_line_to(cr, x(count - 1), yOfLevel(levels[count - 1]) - 0.5);
        cairo_line_to(cr, x(count - 1), yOfLevel(levels[count - 1]) + 0.5);
        for (std::size_t c = (count - 1) / kStep * kStep;; c -= kStep) {
            cairo_line_to(cr, x(c), yOfLevel(levels[c]) + 0.5);
            if (c < kStep) {
                break;
            }
        }
        cairo_close_path(cr);
        cairo_set_source_rgba(cr, r, g, b, alpha);
        cairo_fill(cr);
    };
    if (trace.output) {
        ribbon(trace.levels, columns, kOutputEdge);
    }
    const std::size_t held = std::min(trace.peaks.size(), columns);
    if (held >= 2) {
        ribbon(trace.peaks, held, kPeakAlpha);
    }
}

void CZkmorvaSpectrumView::draw(CDrawContext* context) {
    context->saveState();
    context->intersectClipRect(size);
    context->setDrawMode(kAntialias);
    for (std::size_t i = 0; i < count; ++i) {
        drawTrace(context, traces[i]);
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
