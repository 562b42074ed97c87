#include "editor/DisplayStrings.h"

#include "editor/MappingConstants.h"
#include "editor/ValueMapping.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

using zkeditor::MappingKind;

namespace {

// Copies at most kDisplayTextSize - 1 characters and the NUL.
void Put(std::string_view s, char* text) {
    const std::size_t n = std::min<std::size_t>(s.size(), kDisplayTextSize - 1);
    std::memcpy(text, s.data(), n);
    text[n] = '\0';
}

// "%.<precision>f<suffix>" in the C locale. Large values are cut, never overrun.
void PutFixed(double v, int precision, std::string_view suffix, char* text) {
    std::array<char, 400> buffer{}; // room for any double in fixed notation
    auto [end, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size() - suffix.size(), v,
                                   std::chars_format::fixed, precision);
    if (ec != std::errc()) {
        end = buffer.data();
    }
    std::memcpy(end, suffix.data(), suffix.size());
    Put(std::string_view(buffer.data(),
                         static_cast<std::size_t>(end - buffer.data()) + suffix.size()),
        text);
}

// Hz below 1 kHz, two decimals of kHz below 10 kHz, one above.
struct FrequencyFormat {
    float below;
    double divisor;
    int precision;
    std::string_view suffix;
};
inline constexpr std::array<FrequencyFormat, 3> kThreeWay{{
    {1000.f, 1.0, 0, " Hz"},
    {10000.f, 1000.0, 2, " kHz"},
    {INFINITY, 1000.0, 1, " kHz"},
}};

void PutFrequency(float f, const FrequencyFormat* first, const FrequencyFormat* last, char* text) {
    const FrequencyFormat* format = first;
    while (format + 1 != last && !(f < format->below)) {
        ++format;
    }
    PutFixed(static_cast<double>(f) / format->divisor, format->precision, format->suffix, text);
}

// The frequency is rounded to a float before the format is chosen.
void PutThreeWay(MappingKind kind, float x, char* text) {
    const auto f = static_cast<float>(zkeditor::LogValue(kind, x));
    PutFrequency(f, kThreeWay.begin(), kThreeWay.end(), text);
}

void PutShelvingQuality(float x, std::string_view shelfText, char* text) {
    const double q = zkeditor::LogValue(MappingKind::ShelvingQ, x);
    if (q < 0.3) {
        Put(shelfText, text);
    } else {
        PutFixed(q, 1, "", text);
    }
}

} // namespace

void dB2string(float x, char* text) {
    if (x <= 0.f) {
        Put("-oo dB", text);
        return;
    }
    const double d = x;
    PutFixed(20.0 * std::log10(zkeditor::coeffA * d * d + zkeditor::coeffB * d), 1, " dB", text);
}

void dB2stringEq(float x, char* text) {
    PutFixed(24.0 * x - 12.0, 1, " dB", text);
}

void dB2stringIs(float x, char* text) {
    PutFixed(24.0 * x - 12.0, 1, "", text);
}

void quality2string(float x, char* text) {
    PutFixed(zkeditor::LogValue(MappingKind::Q0_3_15, x), 1, "", text);
}

void quality2stringHiLoPass(float x, char* text) {
    if (x <= 0.5f) {
        PutFixed(zkeditor::LogValue(MappingKind::Q0_3_15, 2.0 * x), 1, "", text);
        return;
    }
    // "6 dB/oct." with a blank, as the editor's other dB texts; the unit's host
    // strings stay "6dB/oct.".
    for (const zkeditor::SlopeDetent& d : zkeditor::kSlopeDetents) {
        if (x < d.below) {
            Put(d.text, text);
            return;
        }
    }
    Put(zkeditor::kTopSlopeText, text);
}

void quality2stringLoShelv(float x, char* text) {
    PutShelvingQuality(x, "Lo-Shelv", text);
}

void quality2stringHiShelv(float x, char* text) {
    PutShelvingQuality(x, "Hi-Shelv", text);
}

void frequency2string20_1000(float x, char* text) {
    // Two-way: this range never reaches 10 kHz.
    const auto f = static_cast<float>(zkeditor::LogValue(MappingKind::Freq20_1000, x));
    static constexpr std::array<FrequencyFormat, 2> kTwoWay{{kThreeWay[0], kThreeWay[1]}};
    PutFrequency(f, kTwoWay.begin(), kTwoWay.end(), text);
}

void frequency2string20_26000(float x, char* text) {
    PutThreeWay(MappingKind::Freq20_26000, x, text);
}

void frequency2string400_26000(float x, char* text) {
    PutThreeWay(MappingKind::Freq400_26000, x, text);
}

void frequency2string40_200(float x, char* text) {
    PutThreeWay(MappingKind::BassShift, x, text);
}

void frequency2string8000_20000(float x, char* text) {
    const auto f = static_cast<float>(zkeditor::LogValue(MappingKind::PresenceShift, x));
    PutFrequency(f, kThreeWay.begin() + 1, kThreeWay.end(), text);
}

void frequency2stringOff_26000(float x, char* text) {
    if (x == 0.f) {
        Put("off", text);
        return;
    }
    frequency2string20_26000(x, text);
}

void frequency2string20_Off(float x, char* text) {
    if (x == 1.f) {
        Put("off", text);
        return;
    }
    frequency2string20_26000(x, text);
}

void percent2stringStWi(float x, char* text) {
    if (x == 0.f) {
        Put("Mono", text);
        return;
    }
    const double d = x;
    const double percent = d <= 0.5 ? 200.0 * d : d <= 0.75 ? 400.0 * d - 100.0 : 800.0 * d - 400.0;
    PutFixed(percent, 0, " %", text);
}
