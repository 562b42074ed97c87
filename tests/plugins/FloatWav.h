#pragma once

// Float WAV files for the renderer and the hosts that read and write files,
// with the samples interleaved.

#include <sndfile.h>

#include <string>
#include <vector>

namespace zktest {

inline bool WriteFloatWav(const std::string& path, const std::vector<float>& interleaved,
                          int channels, int rate) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    if (f == nullptr) {
        return false;
    }
    const auto frames = static_cast<sf_count_t>(interleaved.size() / channels);
    const bool ok = sf_writef_float(f, interleaved.data(), frames) == frames;
    sf_close(f);
    return ok;
}

// Empty when the file cannot be read or has another channel count.
inline std::vector<float> ReadFloatWav(const std::string& path, int channels) {
    SF_INFO info{};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    std::vector<float> data;
    if (f != nullptr && info.channels == channels) {
        data.resize(static_cast<std::size_t>(info.frames * channels));
        sf_readf_float(f, data.data(), info.frames);
    }
    if (f != nullptr) {
        sf_close(f);
    }
    return data;
}

} // namespace zktest
