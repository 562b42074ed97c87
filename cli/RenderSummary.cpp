// What a render reports: the text summary, its warnings and the same as JSON.
#include "cli/AudioFile.h"
#include "cli/Commands.h"
#include "cli/Json.h"

#include <cmath>
#include <cstdio>

namespace zkcli {

namespace {

// Meter values are rounded to the decimals they resolve, in the text and in JSON
// alike.
double Rounded(double v, int decimals) {
    const double scale = std::pow(10.0, decimals);
    return std::round(v * scale) / scale + 0.0; // + 0.0: no "-0"
}

std::string Fixed(double v, int decimals, bool sign = false) {
    char buf[32];
    std::snprintf(buf, sizeof buf, sign ? "%+.*f" : "%.*f", decimals, Rounded(v, decimals));
    return buf;
}

std::string InputText(const RenderRequest& request) {
    return request.input.empty() ? std::string("demo signal") : request.input.string();
}

const char* BalanceWord(double balance) {
    const double b = Rounded(balance, kBalanceDecimals);
    return b <= 0.0   ? "left only"
           : b >= 1.0 ? "right only"
           : b == 0.5 ? "centre"
           : b < 0.5  ? "towards the left"
                      : "towards the right";
}

std::string NoMeter(const RenderRequest& request, const char* meter) {
    return std::string(request.unit->title) + " has no " + meter + " meter";
}

constexpr const char* kRoutedNote =
    "correlation and balance are measured before solo and auto-listen route the channels";
constexpr const char* kNoResultNote =
    "the correlation meter forms one result per half second of output; this one is shorter";

std::string JsonArray(const std::vector<std::string>& items) {
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        out += (i == 0 ? "" : ", ") + JsonString(items[i]);
    }
    return out + "]";
}

std::optional<double> PeakDb(float peak) {
    if (!(peak > 0.0f)) {
        return std::nullopt;
    }
    return 20.0 * std::log10(static_cast<double>(peak));
}

} // namespace

void PrintRenderSummary(const RenderRequest& request, const RenderReport& report,
                        std::ostream& out) {
    const RenderStats& s = report.stats;
    const MeterSummary& m = s.meters;
    out << InputText(request) << " -> " << request.output.string() << "\n"
        << "  unit         " << request.unit->title << ", " << report.channels << " channel"
        << (report.channels == 1 ? "" : "s") << " at " << report.sampleRate << " Hz\n"
        << "  output       " << MajorFormatName(report.format) << " " << SubtypeName(report.format)
        << ", " << s.outputFrames << " frames\n"
        << "  latency      " << s.latencyFrames << " frames"
        << (request.options.compensateLatency ? " (compensated)" : " (kept)") << "\n"
        << "  input peak   " << PeakText(s.inputPeak) << "\n"
        << "  output peak  " << PeakText(s.outputPeak) << "\n";
    if (!m.available) {
        out << "  correlation  none: " << NoMeter(request, "correlation") << "\n"
            << "  balance      none: " << NoMeter(request, "balance") << "\n";
    } else {
        if (m.correlationResults == 0) {
            out << "  correlation  none: " << kNoResultNote << "\n";
        } else {
            out << "  correlation  " << Fixed(m.correlation, kCorrelationDecimals, true)
                << " (mean of " << m.correlationResults << " result"
                << (m.correlationResults == 1 ? "" : "s") << ", one per half second)\n";
        }
        out << "  balance      " << Fixed(m.balance, kBalanceDecimals) << " "
            << BalanceWord(m.balance);
        if (m.balanceSettled) {
            out << " (0 left only, 1 right only)\n";
        } else {
            out << " (still settling: the meter needs " << Fixed(m.balanceSettleSeconds, 1)
                << " s of output)\n";
        }
        if (m.routedAfterMeters) {
            out << "  note: " << kRoutedNote << "\n";
        }
    }
    if (s.outputPeak > 1.0f) {
        if (report.clippedSamples > 0) {
            out << "  warning: " << report.clippedSamples
                << " samples above full scale were clipped in this integer format\n";
        } else {
            out << "  note: the output goes above full scale; the float file keeps it "
                   "unclipped\n";
        }
    }
}

void PrintRenderWarnings(const RenderRequest& request, const RenderReport& report,
                         std::ostream& err) {
    for (const std::string& w : report.warnings) {
        err << "zkmorva: warning: " << InputText(request) << ": " << w << "\n";
    }
}

std::string RenderJson(const RenderRequest& request, const RenderReport& report, int indent) {
    const RenderStats& s = report.stats;
    const MeterSummary& m = s.meters;
    const std::string in(static_cast<std::size_t>(indent), ' ');
    const std::string field = "\n" + in + "  ";
    auto optional = [](const std::optional<double>& v) {
        return v ? JsonNumber(*v) : std::string("null");
    };
    std::string j = "{";
    j += field + "\"input\": " +
         (request.input.empty() ? std::string("null") : JsonString(request.input.string())) + ",";
    j += field + "\"output\": " + JsonString(request.output.string()) + ",";
    j += field + "\"unit\": " + JsonString(request.unit->title) + ",";
    j += field + "\"channels\": " + std::to_string(report.channels) + ",";
    j += field + "\"sampleRate\": " + JsonNumber(report.sampleRate) + ",";
    j += field + "\"format\": " + JsonString(MajorFormatName(report.format)) + ",";
    j += field + "\"sampleType\": " + JsonString(SubtypeName(report.format)) + ",";
    j += field + "\"frames\": " + std::to_string(s.outputFrames) + ",";
    j += field + "\"latencyFrames\": " + std::to_string(s.latencyFrames) + ",";
    j += field +
         "\"latencyCompensated\": " + (request.options.compensateLatency ? "true" : "false") + ",";
    j += field + "\"inputPeakDbfs\": " + optional(PeakDb(s.inputPeak)) + ",";
    j += field + "\"outputPeakDbfs\": " + optional(PeakDb(s.outputPeak)) + ",";
    j += field + "\"clippedSamples\": " + std::to_string(report.clippedSamples) + ",";
    std::vector<std::string> notes;
    if (!m.available) {
        j += field + "\"correlation\": null,";
        j += field + "\"balance\": null,";
        notes.push_back(std::string(request.unit->title) + " has no correlation or balance meter");
    } else {
        j +=
            field + "\"correlation\": " +
            (m.correlationResults == 0 ? std::string("null")
                                       : JsonNumber(Rounded(m.correlation, kCorrelationDecimals))) +
            ",";
        j += field + "\"correlationResults\": " + std::to_string(m.correlationResults) + ",";
        j += field + "\"balance\": " + JsonNumber(Rounded(m.balance, kBalanceDecimals)) + ",";
        j += field + "\"balanceSettled\": " + (m.balanceSettled ? "true" : "false") + ",";
        if (m.correlationResults == 0) {
            notes.push_back(kNoResultNote);
        }
        if (m.routedAfterMeters) {
            notes.push_back(kRoutedNote);
        }
    }
    j += field + "\"meterNotes\": " + JsonArray(notes) + ",";
    j += field + "\"warnings\": " + JsonArray(report.warnings);
    j += "\n" + in + "}";
    return j;
}

} // namespace zkcli
