#include "editor/CZkmorvaEqCurve.h"

#include "editor/CurveSections.h"
#include "editor/ValueMapping.h"

#include <algorithm>
#include <cmath>

using zk::Section;
using zkeditor::MappingKind;
namespace curve = zkeditor::curve;

namespace {

// The full height spans an amplitude ratio of 10^1.2041433 (about 24.08 dB).
constexpr double kDecadesPerHeight = 1.2041433;
// Points further off than this are drawn at this distance (the notch floor
// lies far below the view anyway).
constexpr double kFarOff = 100000.0;

// Gain factor of a +-12 dB control: 10^((6x - 3) / 5).
double GainOf(double x) {
    return std::pow(10.0, (6.0 * x - 3.0) / 5.0);
}

// Q or slope code of a cut filter's slope control.
double CutQOrSlope(double x) {
    if (x <= 0.5) {
        return zkeditor::LogValue(MappingKind::Q0_3_15, 2.0 * x);
    }
    if (x < 0.55) {
        return 15.0;
    }
    return 100.0 * x;
}

CCoord ToPixel(double y, double centre) {
    if (std::isnan(y)) {
        return static_cast<CCoord>(std::lround(centre));
    }
    return static_cast<CCoord>(std::lround(std::clamp(y, -kFarOff, kFarOff)));
}

} // namespace

CZkmorvaEqCurve::CZkmorvaEqCurve(const CRect& size_, float lowFrequency, float highFrequency,
                                 const CColor& line, const CColor& fill)
    : CView(size_), logLow(std::log10(static_cast<double>(lowFrequency))),
      logHigh(std::log10(static_cast<double>(highFrequency))), lineColour(line), fillColour(fill),
      columns(std::max(0, size_.width())) {
    // High-pass, bands 1-5, low-pass and both shifters start enabled.
    enabled.fill(true);
    highPass.frequency = 20.0;
    lowPass.frequency = 26000.0;
    for (auto& c : contribution) {
        c.assign(static_cast<std::size_t>(columns), 0.0);
    }
    solid.assign(static_cast<std::size_t>(columns), CPoint());
    dashed.assign(static_cast<std::size_t>(columns), CPoint());
    highlight.assign(static_cast<std::size_t>(columns), CPoint());
}

double CZkmorvaEqCurve::columnFrequency(int column) const {
    return std::pow(10.0, logLow + column * (logHigh - logLow) / columns);
}

double CZkmorvaEqCurve::pixelsPerDecade() const {
    return size.height() / kDecadesPerHeight;
}

double CZkmorvaEqCurve::centreLine() const {
    return size.top + size.height() / 2.0;
}

std::optional<zk::Section> CZkmorvaEqCurve::SectionOfInput(long index) {
    if (index < 0 || index >= kHighlightInput) {
        return std::nullopt;
    }
    if (index < 3) {
        return Section::Hp;
    }
    if (index < 23) {
        return static_cast<Section>(zk::SectionIndex(Section::Lf) +
                                    static_cast<std::size_t>((index - 3) / 4));
    }
    if (index < 26) {
        return Section::Lp;
    }
    return index < 29 ? Section::Bs : Section::Ps;
}

void CZkmorvaEqCurve::decode(long index, float value) {
    const double x = value;
    const std::optional<Section> section = SectionOfInput(index);
    if (section && zk::IsBand(*section)) {
        Band& b = bands[zk::BandIndex(*section)];
        switch ((index - 3) % 4) {
        case 0: // Q: shelving law for the outer bands
            b.q = zkeditor::LogValue((section == Section::Lf || section == Section::Hf)
                                         ? MappingKind::ShelvingQ
                                         : MappingKind::Q0_3_15,
                                     x);
            break;
        case 1: {
            static constexpr std::array<MappingKind, 5> kBandFrequency{
                MappingKind::Freq20_1000, MappingKind::Freq20_1000, MappingKind::Freq20_26000,
                MappingKind::Freq400_26000, MappingKind::Freq400_26000};
            b.frequency = zkeditor::LogValue(kBandFrequency[zk::BandIndex(*section)], x);
            break;
        }
        case 2:
            b.gain = GainOf(x);
            break;
        default:
            enabled[zk::SectionIndex(*section)] = value != 0.f;
            break;
        }
        return;
    }
    switch (index) {
    case 0:
        highPass.qOrSlope = CutQOrSlope(x);
        break;
    case 1:
        // Frequency 0 is "off": the high-pass leaves both curves.
        highPass.offMarker = !(value > 0.f);
        if (!highPass.offMarker) {
            highPass.frequency = zkeditor::LogValue(MappingKind::Freq20_26000, x);
        }
        break;
    case 23:
        lowPass.qOrSlope = CutQOrSlope(x);
        break;
    case 24:
        lowPass.offMarker = !(value < 1.f);
        if (!lowPass.offMarker) {
            lowPass.frequency = zkeditor::LogValue(MappingKind::Freq20_26000, x);
        }
        break;
    case 26:
        bassShifter.frequency = zkeditor::LogValue(MappingKind::BassShift, x);
        break;
    case 27:
        bassShifter.gain = GainOf(x);
        break;
    case 29:
        presenceShifter.frequency = zkeditor::LogValue(MappingKind::PresenceShift, x);
        break;
    case 30:
        // Drawn the other way round from the processor's presence shifter (a
        // positive gain draws a dip at f and a rise at the counter-bell), as the
        // curve has always drawn it.
        presenceShifter.gain = std::pow(10.0, (3.0 - 6.0 * x) / 5.0);
        break;
    case 2:
    case 25:
    case 28:
    case 31:
        enabled[zk::SectionIndex(*SectionOfInput(index))] = value != 0.f;
        break;
    case kHighlightInput:
        highlightEnabled = value != 0.f;
        highlightedInput = kNoHighlight;
        break;
    default:
        break;
    }
}

double CZkmorvaEqCurve::sectionAt(Section section, double f) const {
    const double s = pixelsPerDecade();
    auto ratio = [f](double f0) { return curve::SnapRatio(f / f0); };
    switch (section) {
    case Section::Hp:
    case Section::Lp: {
        const Cut& c = section == Section::Hp ? highPass : lowPass;
        const double r = ratio(c.frequency);
        // The resonant range is drawn with the notch formula: the cascade runs a
        // notch of that Q there.
        if (c.qOrSlope <= 15.0) {
            return curve::calcNotch(c.qOrSlope, r, s);
        }
        const int order = curve::SlopeOrder(c.qOrSlope);
        return section == Section::Hp ? curve::calcHiPass(r, order, s)
                                      : curve::calcLoPass(r, order, s);
    }
    case Section::Bs: {
        const double fb = bassShifter.frequency;
        const double g = bassShifter.gain;
        const double k = std::trunc(fb * std::sqrt(fb) / 2.8);
        return curve::calcPeak(g, 37.0 / std::sqrt(k), ratio(fb), s) +
               curve::calcPeak(1.0 / g, 0.37 * std::pow(k, 0.25), ratio(k), s);
    }
    case Section::Ps: {
        const double fp = presenceShifter.frequency;
        const double g = presenceShifter.gain;
        const double k = std::trunc(fp / (std::sqrt(fp) / 70.0));
        return curve::calcPeak(g, 4.2 / (k / 3000.0), ratio(fp), s) +
               curve::calcPeak(1.0 / g, 7e7 / (k * k), ratio(k), s);
    }
    default: {
        const Band& b = bands[zk::BandIndex(section)];
        const double r = ratio(b.frequency);
        // Below Q 0.3 the outer bands are shelves, as in the unit.
        if (b.q < 0.3 && section == Section::Lf) {
            return curve::calcLoShelv(b.gain, r, s);
        }
        if (b.q < 0.3 && section == Section::Hf) {
            return curve::calcHiShelv(b.gain, r, s);
        }
        return curve::calcPeak(b.gain, b.q, r, s);
    }
    }
}

void CZkmorvaEqCurve::computeSection(Section section) {
    std::vector<double>& c = contribution[zk::SectionIndex(section)];
    for (int i = 0; i < columns; ++i) {
        c[static_cast<std::size_t>(i)] = sectionAt(section, columnFrequency(i));
    }
}

void CZkmorvaEqCurve::sumPoints() {
    const double y0 = centreLine();
    std::array<bool, zk::kSectionCount> cutOff{};
    cutOff[zk::SectionIndex(Section::Hp)] = highPass.offMarker;
    cutOff[zk::SectionIndex(Section::Lp)] = lowPass.offMarker;
    // The highlighted section's index; kSectionCount for none or one cut off.
    std::size_t lit = zk::kSectionCount;
    if (const std::optional<Section> s = SectionOfInput(highlightedInput);
        highlightEnabled && s && !cutOff[zk::SectionIndex(*s)]) {
        lit = zk::SectionIndex(*s);
    }
    for (int i = 0; i < columns; ++i) {
        const auto column = static_cast<std::size_t>(i);
        double all = 0.0;
        double on = 0.0;
        for (std::size_t section = 0; section < zk::kSectionCount; ++section) {
            if (cutOff[section]) {
                continue;
            }
            const double v = contribution[section][column];
            all += v;
            if (enabled[section]) {
                on += v;
            }
        }
        const CCoord h = size.left + i;
        solid[column] = CPoint(h, ToPixel(y0 - on, y0));
        dashed[column] = CPoint(h, ToPixel(y0 - all, y0));
        const double mine = lit < zk::kSectionCount ? contribution[lit][column] : 0.0;
        highlight[column] = CPoint(h, ToPixel(y0 - mine, y0));
    }
}

void CZkmorvaEqCurve::setCurve(long index, float value) {
    decode(index, value);
    const std::optional<Section> section = SectionOfInput(index);
    if (highlightEnabled && highlightedInput == kNoHighlight && section) {
        highlightedInput = index;
    }
    if (section) {
        computeSection(*section);
    }
    sumPoints();
    setDirty();
}

void CZkmorvaEqCurve::draw(CDrawContext* context) {
    context->saveState();
    context->intersectClipRect(size);
    context->setDrawMode(kAntialias);
    context->setFrameColor(lineColour);
    context->setLineWidth(1);
    if (highlightEnabled && highlightedInput != kNoHighlight && columns > 0) {
        // The area between the section's curve and the centre line.
        const auto y0 = static_cast<CCoord>(std::lround(centreLine()));
        std::vector<CPoint> area;
        area.reserve(highlight.size() + 2);
        area.emplace_back(size.left, y0);
        area.insert(area.end(), highlight.begin(), highlight.end());
        area.emplace_back(size.left + columns - 1, y0);
        context->setFillColor(fillColour);
        context->drawPolygon(area, kDrawFilled);
    }
    context->setLineStyle(kLineOnOffDash);
    context->setLineWidth(1);
    context->drawPolygon(dashed);
    context->setLineStyle(kLineSolid);
    context->setLineWidth(2);
    context->drawPolygon(solid);
    context->restoreState();
    CView::draw(context);
}
