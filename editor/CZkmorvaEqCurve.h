#pragma once

#include "units/SectionControls.h"
#include "widgets/CView.h"

#include <array>
#include <optional>
#include <vector>

// The response curve of the equaliser, one point per pixel column: analogue
// models of the sections, summed in dB and scaled so that the view's height spans
// about 24 dB around the centre line (boosts go up). The editor feeds it the
// normalised control values by input index (setCurve) and marks it dirty; it keeps
// its own decoded copy of every setting and never asks the unit.
//
// Inputs: 0-2 high-pass Q/slope, frequency, on; 3-22 bands 1-5 (Q, f, gain, on);
// 23-25 low-pass; 26-28 bass shifter (f, gain, on); 29-31 presence shifter; 32
// highlight on. For the channel EQ the index is the parameter id minus 6.
class CZkmorvaEqCurve : public CView {
public:
    static constexpr long kNoHighlight = 33;
    static constexpr long kHighlightInput = 32;

    CZkmorvaEqCurve(const CRect& size, float lowFrequency, float highFrequency,
                    const CColor& lineColour, const CColor& fillColour);

    // Decodes one input and recomputes the points. An index of 33 or more (or a
    // negative one) changes nothing but still recomputes.
    void setCurve(long index, float value);
    void draw(CDrawContext* context) override;

    // The points as drawn, in parent coordinates: the total of the enabled
    // sections, the total of all sections (dashed) and the highlighted section.
    const std::vector<CPoint>& getSolidCurve() const { return solid; }
    const std::vector<CPoint>& getDashedCurve() const { return dashed; }
    const std::vector<CPoint>& getHighlightArea() const { return highlight; }
    // Frequency of a column and the pixels per decade of amplitude.
    double columnFrequency(int column) const;
    double pixelsPerDecade() const;
    double centreLine() const;
    bool isHighlightEnabled() const { return highlightEnabled; }
    long getHighlightedInput() const { return highlightedInput; }

    // The section of the chain an input index belongs to (none for the highlight
    // input and indices out of range).
    static std::optional<zk::Section> SectionOfInput(long index);

private:
    struct Band {
        double q = 1.0;
        double frequency = 1000.0;
        double gain = 1.0;
    };
    struct Cut {
        double qOrSlope = 60.0; // Q when <= 15, else the slope code
        double frequency = 1000.0;
        bool offMarker = false;
    };
    struct Shifter {
        double frequency = 1000.0;
        double gain = 1.0;
    };

    void decode(long index, float x);
    void computeSection(zk::Section section);
    double sectionAt(zk::Section section, double f) const;
    void sumPoints();

    double logLow;
    double logHigh;
    CColor lineColour;
    CColor fillColour;
    int columns;

    Cut highPass, lowPass;
    std::array<Band, 5> bands;
    Shifter bassShifter, presenceShifter;
    std::array<bool, zk::kSectionCount> enabled;
    bool highlightEnabled = false;
    long highlightedInput = kNoHighlight;

    // Per section and column, so one input recomputes one section only; the sums
    // always run over all sections in the same order, as a full recompute would.
    std::array<std::vector<double>, zk::kSectionCount> contribution;
    std::vector<CPoint> solid, dashed, highlight;
};
