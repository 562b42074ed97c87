#pragma once

#include "dsp/Biquad.h"
#include "dsp/ShelvingRule.h"

#include <cstddef>
#include <cstdint>

// The words both units' parameter dispatch tables are written in: which section of
// the chain a control belongs to, and what it sets there. The editors' curves use
// the same sections.
namespace zk {

enum class Section : std::uint8_t { Hp, Lf, Lmf, Mf, Hmf, Hf, Lp, Bs, Ps };
inline constexpr std::size_t kSectionCount = 9;
constexpr std::size_t SectionIndex(Section s) {
    return static_cast<std::size_t>(s);
}

enum class ControlKind : std::uint8_t {
    CutQ,    // the cascade gets the slope code of the value
    CutRawQ, // the cascade gets the value itself
    CutFrequency,
    BandQ,
    BandFrequency,
    BandGain,
    ShifterFrequency,
    ShifterGain,
    On,
    Link, // read by the unit's answers, not by the processor
};

struct SectionControl {
    ControlKind kind;
    Section section;
};

constexpr bool IsCut(Section s) {
    return s == Section::Hp || s == Section::Lp;
}
constexpr bool IsBand(Section s) {
    return s >= Section::Lf && s <= Section::Hf;
}
// 0 (LF) to 4 (HF) for the bands.
constexpr std::size_t BandIndex(Section s) {
    return static_cast<std::size_t>(s) - static_cast<std::size_t>(Section::Lf);
}

// A band's Q control: LF and HF turn into their shelf below 0.3, the bands between
// are bells of that Q at every value.
inline void ApplyBandQ(CBiquad& section, double q, Section s) {
    if (s == Section::Lf) {
        ApplyShelvingRule(section, q, LowShelf);
    } else if (s == Section::Hf) {
        ApplyShelvingRule(section, q, HighShelf);
    } else {
        section.Update(q, CBiquad::kQ);
    }
}

} // namespace zk
