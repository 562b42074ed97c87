#pragma once

// Helpers for the renderer's tests: a scratch folder, sound files in and out, and
// running the real zkmorva program.
#include "cli/AudioFile.h"
#include "cli/Commands.h"

#include <sndfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <utility>
#include <vector>

namespace zkclitest {

namespace fs = std::filesystem;

class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern = (fs::temp_directory_path() / "zkcli-XXXXXX").string();
        path = ::mkdtemp(pattern.data());
    }
    ~ScratchFolder() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    fs::path operator/(const std::string& name) const { return path / name; }
    // Every entry's name, hidden ones (temporaries) included, sorted.
    std::vector<std::string> Names() const { return NamesIn(path); }
    static std::vector<std::string> NamesIn(const fs::path& folder) {
        std::vector<std::string> out;
        for (const auto& e : fs::directory_iterator(folder)) {
            out.push_back(e.path().filename().string());
        }
        std::sort(out.begin(), out.end());
        return out;
    }
    fs::path path;
};

struct Audio {
    std::vector<std::vector<float>> channels;
    int format = 0;
    int rate = 0;
};

inline void WriteAudio(const fs::path& path, const std::vector<std::vector<float>>& channels,
                       int rate = 48000, int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT) {
    zkcli::WriteSoundFile(path, {format, static_cast<unsigned>(channels.size()), rate}, channels);
}

inline Audio ReadAudio(const fs::path& path) {
    zkcli::SoundFileReader reader(path);
    Audio a;
    a.format = reader.Format().format;
    a.rate = reader.Format().sampleRate;
    a.channels.assign(reader.Channels(), std::vector<float>(reader.TotalFrames()));
    std::vector<float*> ptrs(a.channels.size());
    for (unsigned done = 0, n = 1; done < reader.TotalFrames() && n > 0; done += n) {
        for (std::size_t c = 0; c < ptrs.size(); ++c) {
            ptrs[c] = a.channels[c].data() + done;
        }
        n = reader.Read(ptrs.data(), 4096);
    }
    return a;
}

inline std::string FileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// A deterministic test signal: tones and a little noise, different per channel.
inline std::vector<std::vector<float>> TestSignal(unsigned channels, std::size_t frames,
                                                  double rate = 48000.0) {
    std::vector<std::vector<float>> out(channels, std::vector<float>(frames));
    unsigned seed = 12345;
    for (unsigned c = 0; c < channels; ++c) {
        for (std::size_t n = 0; n < frames; ++n) {
            seed = seed * 1664525u + 1013904223u;
            const double noise = (static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.05;
            const double t = static_cast<double>(n) / rate;
            out[c][n] =
                static_cast<float>(0.3 * std::sin(2 * std::numbers::pi * (110.0 * (c + 1)) * t) +
                                   0.2 * std::sin(2 * std::numbers::pi * 2900.0 * t + c) + noise);
        }
    }
    return out;
}

struct RunResult {
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string Quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) {
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return q + "'";
}

// Runs the real program with `args`; stdout and stderr captured separately.
inline RunResult RunZkmorva(const std::vector<std::string>& args, const fs::path& scratch) {
    std::string command = Quote(ZKMORVA_EXE);
    for (const auto& a : args) {
        command += " " + Quote(a);
    }
    const fs::path outFile = scratch.parent_path() / (scratch.filename().string() + ".stdout");
    const fs::path errFile = scratch.parent_path() / (scratch.filename().string() + ".stderr");
    command += " >" + Quote(outFile.string()) + " 2>" + Quote(errFile.string());
    const int raw = std::system(command.c_str());
    RunResult r;
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    r.out = FileBytes(outFile);
    r.err = FileBytes(errFile);
    fs::remove(outFile);
    fs::remove(errFile);
    return r;
}

// Runs the command line in this process; what it printed goes to out and err.
inline int RunCli(const std::vector<std::string>& args, std::string* out = nullptr,
                  std::string* err = nullptr) {
    std::ostringstream o, e;
    const int status = zkcli::RunCommandLine(args, {o, e, false});
    if (out) {
        *out = o.str();
    }
    if (err) {
        *err = e.str();
    }
    return status;
}

// A refusal: exit status 1 and one line "zkmorva: ..." holding every needle.
inline void ExpectRefusal(const RunResult& r, const std::vector<std::string>& needles) {
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(r.err.rfind("zkmorva: ", 0), 0u) << r.err;
    for (const auto& n : needles) {
        EXPECT_NE(r.err.find(n), std::string::npos) << "missing \"" << n << "\" in " << r.err;
    }
}

// Every file below `folder` (relative names, temporaries included) with its bytes.
inline std::vector<std::pair<std::string, std::string>> Snapshot(const fs::path& folder) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const auto& e : fs::recursive_directory_iterator(folder)) {
        out.emplace_back(fs::relative(e.path(), folder).string(),
                         e.is_regular_file() ? FileBytes(e.path()) : std::string("(folder)"));
    }
    std::sort(out.begin(), out.end());
    return out;
}

} // namespace zkclitest
