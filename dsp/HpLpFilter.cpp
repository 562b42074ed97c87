#include "HpLpFilter.h"

#include "FilterConstants.h"
#include "Truncate.h"

namespace {

// How one section of the cascade is set for a slope code.
enum class Role { Off, FirstOrder, SecondOrder, Resonant };
struct SectionSetting {
    Role role;
    double q;
};
struct SlopeRow {
    double code; // exact code; the last row stands for every other code from 16 up
    SectionSetting sections[CZkmorvaHpLpFilter::kSectionCount];
};

// Butterworth damping values rounded to four decimals and the single-precision
// root of two: the cascades' responses are those of these rounded values, bit
// for bit.
constexpr SlopeRow kSlopeTable[] = {
    {106.0, {{Role::FirstOrder, 1.0}, {Role::Off, 0.0}, {Role::Off, 0.0}}},
    {112.0, {{Role::SecondOrder, zk::kSqrt2Single}, {Role::Off, 0.0}, {Role::Off, 0.0}}},
    {118.0, {{Role::SecondOrder, 1.0}, {Role::FirstOrder, 1.0}, {Role::Off, 0.0}}},
    {124.0, {{Role::SecondOrder, 1.8477}, {Role::SecondOrder, 0.7654}, {Role::Off, 0.0}}},
    {130.0, {{Role::SecondOrder, 1.6181}, {Role::SecondOrder, 0.618}, {Role::FirstOrder, 1.0}}},
};
constexpr double kResonantBelow = 16.0;

const SlopeRow& RowForCode(double code) {
    constexpr int last = static_cast<int>(std::size(kSlopeTable)) - 1;
    for (int i = 0; i < last; ++i) {
        if (kSlopeTable[i].code == code) {
            return kSlopeTable[i];
        }
    }
    return kSlopeTable[last];
}

} // namespace

CZkmorvaHpLpFilter::CZkmorvaHpLpFilter(double sampleRate, int mode)
    : CSectionCascade(sampleRate), mode(mode) {}

double CZkmorvaHpLpFilter::FilterSample(double x) {
    return section[0].FilterSample(x);
}

void CZkmorvaHpLpFilter::Update(double value, int index) {
    switch (index) {
    case kMode:
        zk::TruncateToInt32(value, &mode);
        break;
    case kFrequency:
        frequency = value;
        break;
    case kSlope:
        slope = value;
        break;
    default:
        break;
    }
    // No equality test here: every call reconfigures the cascade.
    Update(filterParameters{mode, 0.0, frequency, slope});
}

void CZkmorvaHpLpFilter::Update(filterParameters p) {
    mode = p.type;
    frequency = p.frequency;
    slope = p.q;
    const bool lowPass = mode != kHighPass;
    const std::int32_t secondOrder = lowPass ? LowPass2 : HighPass2;
    const std::int32_t firstOrder = lowPass ? LowPass1 : HighPass1;

    // Codes below 16 turn the first section into a notch with the code as its Q.
    const SlopeRow resonant{slope, {{Role::Resonant, slope}, {Role::Off, 0.0}, {Role::Off, 0.0}}};
    const SlopeRow& row = slope < kResonantBelow ? resonant : RowForCode(slope);
    for (int i = 0; i < kSectionCount; ++i) {
        const SectionSetting& s = row.sections[i];
        if (s.role == Role::Off) {
            // An off section keeps its type and q; only the gain switches it off.
            filterParameters off = section[i].GetParameters();
            section[i].Update(filterParameters{off.type, -1.0, frequency, off.q});
            continue;
        }
        const std::int32_t type = s.role == Role::Resonant     ? std::int32_t{Notch}
                                  : s.role == Role::FirstOrder ? firstOrder
                                                               : secondOrder;
        section[i].Update(filterParameters{type, p.gain, frequency, s.q});
    }
}
