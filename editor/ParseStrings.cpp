#include "editor/ParseStrings.h"

#include "editor/MappingConstants.h"
#include "editor/ValueMapping.h"
#include "widgets/CTextEdit.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace zkeditor {
namespace {

constexpr std::size_t kTypedLength = 10;

bool IsCSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The leading number of [first, last) as atof reads it in the C locale.
double LeadingNumber(const char* first, const char* last) {
    while (first != last && IsCSpace(*first)) {
        ++first;
    }
    bool negative = false;
    if (first != last && (*first == '+' || *first == '-')) {
        negative = *first == '-';
        ++first;
    }
    if (first == last || *first == '+' || *first == '-') {
        return 0.0;
    }
    double value = 0.0;
    std::from_chars_result r{};
    if (last - first >= 2 && first[0] == '0' && (first[1] == 'x' || first[1] == 'X')) {
        r = std::from_chars(first + 2, last, value, std::chars_format::hex);
        if (r.ec == std::errc::invalid_argument) {
            value = 0.0; // "0x" alone reads as the 0 before it
            r.ec = std::errc();
        }
    } else {
        r = std::from_chars(first, last, value, std::chars_format::general);
    }
    if (r.ec == std::errc::result_out_of_range) {
        // Too large becomes infinity, too small zero, as the C library does.
        const auto marker = std::find_if(
            first, r.ptr, [](char c) { return c == 'e' || c == 'E' || c == 'p' || c == 'P'; });
        const bool tiny = marker != r.ptr && marker + 1 != r.ptr && marker[1] == '-';
        value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    } else if (r.ec != std::errc()) {
        value = 0.0;
    }
    return negative ? -value : value;
}

float LogLaw(MappingKind kind, double v) {
    return static_cast<float>(LogPosition(kind, std::abs(v)));
}

// The text of a text box; other controls have none.
std::string TextOf(CControl* control) {
    auto* edit = dynamic_cast<CTextEdit*>(control);
    return edit ? std::string(edit->getText()) : std::string();
}

} // namespace

double ReadTypedNumber(std::string_view text) {
    std::array<char, kTypedLength> buffer{};
    std::size_t length = std::min(text.size(), kTypedLength);
    std::copy_n(text.begin(), length, buffer.begin());
    bool kilo = false;
    for (std::size_t i = 0; i < length; ++i) {
        if (buffer[i] == ',') {
            buffer[i] = '.';
        } else if (buffer[i] == 'k' || buffer[i] == 'K') {
            kilo = true;
            length = i;
            break;
        } else if (buffer[i] == '\0') {
            length = i;
            break;
        }
    }
    const double v = LeadingNumber(buffer.data(), buffer.data() + length);
    return kilo ? v * 1000.0 : v;
}

float TypedDb(double v) {
    // The inverse of dB2string; the number is rounded to a float first.
    const double typed = static_cast<float>(v);
    return static_cast<float>(std::sqrt(std::pow(10.0, typed / 20.0) / coeffA + powCoeffP) +
                              coeffP);
}

float TypedDbEq(double v) {
    return static_cast<float>((v + 12.0) / 24.0);
}

float TypedQuality(double v) {
    return LogLaw(MappingKind::Q0_3_15, v);
}

float TypedQualityHiLoPass(double v) {
    const double x = 0.5 * LogPosition(MappingKind::Q0_3_15, std::abs(v));
    return static_cast<float>(x > 0.5 ? 0.5 : x);
}

float TypedQualityShelv(double v) {
    return LogLaw(MappingKind::ShelvingQ, v);
}

float TypedFrequency20_1000(double v) {
    return LogLaw(MappingKind::Freq20_1000, v);
}

float TypedFrequency20_26000(double v) {
    return LogLaw(MappingKind::Freq20_26000, v);
}

float TypedFrequency400_26000(double v) {
    return LogLaw(MappingKind::Freq400_26000, v);
}

float TypedFrequency40_200(double v) {
    return LogLaw(MappingKind::BassShift, v);
}

float TypedFrequency8000_20000(double v) {
    return LogLaw(MappingKind::PresenceShift, v);
}

float TypedPercentStWi(double v) {
    const double p = std::abs(v);
    const double x = p <= 100.0   ? p / 200.0
                     : p <= 200.0 ? (p + 100.0) / 400.0
                                  : (p + 400.0) / 800.0;
    return static_cast<float>(x);
}

} // namespace zkeditor

namespace {
float Parse(CControl* control, float (*law)(double)) {
    return law(zkeditor::ReadTypedNumber(zkeditor::TextOf(control)));
}
} // namespace

float string2dB(CControl* control) {
    return Parse(control, zkeditor::TypedDb);
}
float string2dBEq(CControl* control) {
    return Parse(control, zkeditor::TypedDbEq);
}
float string2quality(CControl* control) {
    return Parse(control, zkeditor::TypedQuality);
}
float string2qualityHiLoPass(CControl* control) {
    return Parse(control, zkeditor::TypedQualityHiLoPass);
}
float string2qualityShelv(CControl* control) {
    return Parse(control, zkeditor::TypedQualityShelv);
}
float string2frequency20_1000(CControl* control) {
    return Parse(control, zkeditor::TypedFrequency20_1000);
}
float string2frequency20_26000(CControl* control) {
    return Parse(control, zkeditor::TypedFrequency20_26000);
}
float string2frequency400_26000(CControl* control) {
    return Parse(control, zkeditor::TypedFrequency400_26000);
}
float string2frequency40_200(CControl* control) {
    return Parse(control, zkeditor::TypedFrequency40_200);
}
float string2frequency8000_20000(CControl* control) {
    return Parse(control, zkeditor::TypedFrequency8000_20000);
}
float string2percentStWi(CControl* control) {
    return Parse(control, zkeditor::TypedPercentStWi);
}
