#include "cli/Response.h"

#include "cli/CliError.h"
#include "cli/HostedUnit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zkcli {

namespace {
constexpr double kToneAmplitude = 0.25; // leaves room for boosts
} // namespace

std::vector<double> LogFrequencies(double lo, double hi, unsigned count,
                                   std::span<const double> extra) {
    std::vector<double> out;
    for (unsigned i = 0; i < count; ++i) {
        const double x = count > 1 ? static_cast<double>(i) / (count - 1) : 0.0;
        out.push_back(lo * std::pow(hi / lo, x));
    }
    out.insert(out.end(), extra.begin(), extra.end());
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

double ToneAmplitude(std::span<const float> signal, double frequency, double sampleRate,
                     std::size_t offset) {
    // Normal equations of y ~ a sin(wn) + b cos(wn).
    double ss = 0.0, cc = 0.0, sc = 0.0, ys = 0.0, yc = 0.0;
    const double w = 2.0 * std::numbers::pi * frequency / sampleRate;
    for (std::size_t n = offset; n < signal.size(); ++n) {
        const double s = std::sin(w * static_cast<double>(n));
        const double c = std::cos(w * static_cast<double>(n));
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += signal[n] * s;
        yc += signal[n] * c;
    }
    const double det = ss * cc - sc * sc;
    if (det <= 0.0) {
        return 0.0;
    }
    const double a = (ys * cc - yc * sc) / det;
    const double b = (yc * ss - ys * sc) / det;
    return std::hypot(a, b);
}

Response MeasureResponse(const UnitKind& unit, std::span<const Setting> settings,
                         std::span<const double> frequencies, const ResponseSetup& setup) {
    const unsigned channels = unit.fixedChannels != 0 ? unit.fixedChannels : 1;
    const double rate = setup.sampleRate;
    HostedUnit host(unit, rate, channels, setup.blockFrames);
    if (setup.presetDocument != nullptr) {
        host.RestoreState(*setup.presetDocument, setup.presetSource);
    }
    host.Apply(settings);

    Response response;
    response.frequencies.assign(frequencies.begin(), frequencies.end());
    response.gainDb.assign(channels, std::vector<double>(frequencies.size()));
    std::vector<std::vector<float>> in(channels), out(channels);
    std::vector<const float*> ip(channels);
    std::vector<float*> op(channels);
    for (std::size_t k = 0; k < frequencies.size(); ++k) {
        const double f = frequencies[k];
        if (!(f > 0.0) || f >= rate / 2.0) {
            throw CliError("frequency " + std::to_string(f) + " Hz is outside 0 .. " +
                           std::to_string(rate / 2.0) + " Hz at this rate");
        }
        // Settle long enough for narrow low bands and steep cut filters; then fit.
        const double periods = rate / f;
        const std::size_t settle = static_cast<std::size_t>(std::max(0.3 * rate, 20.0 * periods));
        const std::size_t measure = static_cast<std::size_t>(std::max(0.1 * rate, 20.0 * periods));
        const std::size_t total = settle + measure;
        host.Reset();
        for (unsigned c = 0; c < channels; ++c) {
            in[c].resize(total);
            out[c].assign(total, 0.0f);
            for (std::size_t n = 0; n < total; ++n) {
                in[c][n] =
                    static_cast<float>(kToneAmplitude * std::sin(2.0 * std::numbers::pi * f *
                                                                 static_cast<double>(n) / rate));
            }
        }
        for (std::size_t pos = 0; pos < total; pos += setup.blockFrames) {
            const unsigned n =
                static_cast<unsigned>(std::min<std::size_t>(setup.blockFrames, total - pos));
            for (unsigned c = 0; c < channels; ++c) {
                ip[c] = in[c].data() + pos;
                op[c] = out[c].data() + pos;
            }
            host.Render(ip.data(), op.data(), n);
        }
        for (unsigned c = 0; c < channels; ++c) {
            const double a = ToneAmplitude(out[c], f, rate, settle);
            response.gainDb[c][k] = a > 0.0 ? 20.0 * std::log10(a / kToneAmplitude) : -300.0;
        }
    }
    return response;
}

} // namespace zkcli
