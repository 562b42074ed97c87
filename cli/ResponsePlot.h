#pragma once

// A response drawn as a PNG: log frequency axis 20 Hz .. 20 kHz, dB axis, one curve
// per channel. Drawn with Cairo and written through a temporary file.
#include "cli/Response.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zkcli {

struct PlotStyle {
    int width = 960;
    int height = 540;
    std::string title;
    std::vector<std::string> curveNames; // one per channel ("L", "R")
};

// The dB range shown: at least -12 .. +12, widened in 6 dB steps to hold the curves
// (clamped at -60 dB below).
std::pair<double, double> PlotRange(const Response& response);

void WriteResponsePlot(const std::filesystem::path& target, const Response& response,
                       const PlotStyle& style);

} // namespace zkcli
