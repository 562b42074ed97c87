#include "editor/ValueMapping.h"

#include "editor/MappingConstants.h"

#include <array>
#include <cmath>
#include <initializer_list>

namespace zkeditor {
namespace {

using K = MappingKind;

// A logarithmic law: x = (ln v - lnLow) / lnSpan.
struct LogRange {
    const double* lnLow;
    const double* lnSpan;
};

LogRange LogRangeOf(MappingKind kind) {
    switch (kind) {
    case K::Freq20_26000:
        return {&ln20, &ln1300};
    case K::ShelvingQ:
        return {&ln0_28, &ln15div0_28};
    case K::Freq20_1000:
        return {&ln20, &ln50};
    case K::Q0_3_15:
        return {&ln0_3, &ln15div0_3};
    case K::Freq400_26000:
        return {&ln400, &ln65};
    case K::BassShift:
        return {&ln40, &ln5};
    case K::PresenceShift:
        return {&ln8000, &ln2_5};
    default:
        return {nullptr, nullptr};
    }
}

// Slope detents of the upper half: Q up to `maxQ` maps to `x`.
struct SlopeToX {
    double maxQ;
    double x;
};
inline constexpr std::array<SlopeToX, 4> kSlopeToX{{{zk::kCutSlopes[0].upTo, 0.6},
                                                    {zk::kCutSlopes[1].upTo, 0.7},
                                                    {zk::kCutSlopes[2].upTo, 0.8},
                                                    {zk::kCutSlopes[3].upTo, 0.9}}};

double SlopeQToNormalised(double v) {
    if (v <= 15.0) {
        return 0.5 * (std::log(v) - ln0_3) / ln15div0_3;
    }
    for (const SlopeToX& d : kSlopeToX) {
        if (v <= d.maxQ) {
            return d.x;
        }
    }
    return 1.0;
}

double NormalisedToSlopeQ(double x) {
    if (x <= 0.5) {
        return std::exp(2.0 * x * ln15div0_3 + ln0_3);
    }
    for (const SlopeDetent& d : kSlopeDetents) {
        if (x < d.below) {
            return d.q;
        }
    }
    return kTopSlopeQ;
}

} // namespace

double LogPosition(MappingKind kind, double value) {
    const LogRange r = LogRangeOf(kind);
    return r.lnLow ? (std::log(value) - *r.lnLow) / *r.lnSpan : std::nan("");
}

double LogValue(MappingKind kind, double x) {
    const LogRange r = LogRangeOf(kind);
    return r.lnLow ? std::exp(x * *r.lnSpan + *r.lnLow) : std::nan("");
}

float ToNormalised(MappingKind kind, float value) {
    const double v = value;
    switch (kind) {
    case K::Identity:
        return value;
    case K::ModeIndex:
        return static_cast<float>(v / kModeSteps);
    case K::LevelGain:
        if (v <= -100.0) {
            return 0.f;
        }
        if (v >= 12.0) {
            return 1.f; // the range's end at the knob's end stop (the curve gives 0.9976)
        }
        return static_cast<float>(std::sqrt(std::pow(10.0, v / 20.0) * 0.25));
    case K::SlopeQ:
        return static_cast<float>(SlopeQToNormalised(v));
    case K::Gain12:
        return static_cast<float>((v + 12.0) / 24.0);
    case K::BassShift:
        if (value == 89.f) {
            return 0.5f; // the default shows at the centre; the centre reads by the law
        }
        break;
    case K::PresenceShift:
        if (value == 12600.f) {
            return 0.5f; // as the bass shift
        }
        break;
    case K::StereoWidth:
        if (v <= 100.0) {
            return static_cast<float>(v / 200.0);
        }
        if (v <= 200.0) {
            return static_cast<float>((v + 100.0) / 400.0);
        }
        return static_cast<float>((v + 400.0) / 800.0);
    default:
        break;
    }
    return static_cast<float>(LogPosition(kind, v));
}

float FromNormalised(MappingKind kind, float x) {
    const double d = x;
    switch (kind) {
    case K::Identity:
        return x;
    case K::ModeIndex:
        // In single precision: 6 * (5/6 as a float) must give mode 5 again.
        return std::trunc(kModeSteps * x);
    case K::LevelGain:
        if (d <= 0.00001) {
            return -100.f;
        }
        return static_cast<float>(20.0 * std::log10(4.0 * d * d));
    case K::SlopeQ:
        return static_cast<float>(NormalisedToSlopeQ(d));
    case K::Gain12:
        return static_cast<float>(24.0 * d - 12.0);
    case K::StereoWidth:
        if (d <= 0.5) {
            return static_cast<float>(200.0 * d);
        }
        if (d <= 0.75) {
            return static_cast<float>(400.0 * d - 100.0);
        }
        return static_cast<float>(800.0 * d - 400.0);
    default:
        break;
    }
    return static_cast<float>(LogValue(kind, d));
}

namespace {

struct KindGroup {
    MappingKind kind;
    std::initializer_list<int> ids;
};

template <std::size_t N>
consteval std::array<MappingKind, N> MakeKindTable(std::initializer_list<KindGroup> groups) {
    std::array<MappingKind, N> table{};
    table.fill(K::Identity);
    for (const KindGroup& g : groups) {
        for (int id : g.ids) {
            table[static_cast<std::size_t>(id)] = g.kind;
        }
    }
    return table;
}

// Channel EQ, ids 0..40.
constexpr auto kZk10Kinds = MakeKindTable<41>({
    {K::ModeIndex, {1}},
    {K::LevelGain, {3, 4}},
    {K::SlopeQ, {6, 29}},
    {K::Freq20_26000, {7, 18, 30}},
    {K::ShelvingQ, {9, 25}},
    {K::Freq20_1000, {10, 14}},
    {K::Gain12, {11, 15, 19, 23, 27, 33, 36}},
    {K::Q0_3_15, {13, 17, 21}},
    {K::Freq400_26000, {22, 26}},
    {K::BassShift, {32}},
    {K::PresenceShift, {35}},
});

// Two-channel EQ, ids 0..108; channel 2 repeats channel 1 at +41.
constexpr auto kZk20Kinds = MakeKindTable<109>({
    {K::ModeIndex, {3}},
    {K::LevelGain, {6, 8, 10, 12}},
    {K::SlopeQ, {18, 47, 59, 88}},
    {K::Freq20_26000, {14, 19, 33, 48, 60, 74, 89}},
    {K::ShelvingQ, {22, 42, 63, 83}},
    {K::Freq20_1000, {23, 28, 64, 69}},
    {K::Gain12, {24, 29, 34, 39, 44, 52, 56, 65, 70, 75, 80, 85, 93, 97}},
    {K::Q0_3_15, {27, 32, 37, 68, 73, 78}},
    {K::Freq400_26000, {38, 43, 79, 84}},
    {K::BassShift, {51, 92}},
    {K::PresenceShift, {55, 96}},
    {K::StereoWidth, {16}},
});

template <std::size_t N> MappingKind Lookup(const std::array<MappingKind, N>& table, long id) {
    return (id >= 0 && static_cast<std::size_t>(id) < N) ? table[static_cast<std::size_t>(id)]
                                                         : K::Identity;
}

} // namespace
} // namespace zkeditor

namespace zk10 {
zkeditor::MappingKind KindOf(long id) {
    return zkeditor::Lookup(zkeditor::kZk10Kinds, id);
}
float ConvertToVSTValue(float value, long id) {
    return zkeditor::ToNormalised(KindOf(id), value);
}
float ConvertToAUValue(float value, long id) {
    return zkeditor::FromNormalised(KindOf(id), value);
}
} // namespace zk10

namespace zk20 {
zkeditor::MappingKind KindOf(long id) {
    return zkeditor::Lookup(zkeditor::kZk20Kinds, id);
}
float ConvertToVSTValue(float value, long id) {
    return zkeditor::ToNormalised(KindOf(id), value);
}
float ConvertToAUValue(float value, long id) {
    return zkeditor::FromNormalised(KindOf(id), value);
}
} // namespace zk20
