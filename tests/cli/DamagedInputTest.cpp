// Damaged input is named, never passed on: samples that are not finite, and files
// shorter than their headers say.
#include "CliTestSupport.h"
#include "cli/DeclaredLength.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace zkclitest;

// A NaN and two infinities become silence before the unit sees them: the output
// holds no sample that is not finite and is exactly the render of the same file
// with zeros there. The warning gives the count and the first one's place.
TEST(DamagedInput, NonFiniteSamplesAreNamedAndSilenced) {
    ScratchFolder dir;
    auto zeroed = TestSignal(2, 4800);
    zeroed[1][1000] = zeroed[0][3000] = zeroed[1][3000] = 0.0f;
    auto damaged = zeroed;
    damaged[1][1000] = std::numeric_limits<float>::quiet_NaN();
    damaged[0][3000] = std::numeric_limits<float>::infinity();
    damaged[1][3000] = -std::numeric_limits<float>::infinity();
    WriteAudio(dir / "damaged.wav", damaged);
    WriteAudio(dir / "zeroed.wav", zeroed);
    const std::string warning = "zkmorva: warning: " + (dir / "damaged.wav").string() +
                                ": 3 input samples are not a number or infinite, replaced by "
                                "silence (the first at frame 1000 of channel 2, frames counted "
                                "from 0)\n";
    for (const char* unit : {"10", "20"}) {
        const RunResult r = RunZkmorva(
            {"render", (dir / "damaged.wav").string(), (dir / "out.wav").string(), "--unit", unit},
            dir.path);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, warning);
        ASSERT_EQ(RunZkmorva({"render", (dir / "zeroed.wav").string(), (dir / "ref.wav").string(),
                              "--unit", unit},
                             dir.path)
                      .status,
                  0);
        for (const auto& channel : ReadAudio(dir / "out.wav").channels) {
            ASSERT_TRUE(std::all_of(channel.begin(), channel.end(),
                                    [](float v) { return std::isfinite(v); }))
                << "unit " << unit;
        }
        EXPECT_TRUE(FileBytes(dir / "out.wav") == FileBytes(dir / "ref.wav")) << "unit " << unit;
    }
    const RunResult json = RunZkmorva(
        {"render", (dir / "damaged.wav").string(), (dir / "out.wav").string(), "--json"}, dir.path);
    EXPECT_NE(json.out.find("\"warnings\": [\"3 input samples are not a number or infinite"),
              std::string::npos)
        << json.out;
}

// A file cut short reads without complaint from libsndfile; the header's length
// shows it, in each format whose header declares one. Refused with both lengths
// and nothing written, unless --allow-short renders what is there (with a warning).
TEST(DamagedInput, FilesShorterThanTheirHeaderSay) {
    struct Format {
        const char* extension;
        int format;
        std::size_t frameBytes; // two channels
    };
    for (const Format f : {Format{"wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 8},
                           Format{"rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_24, 6},
                           Format{"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 4},
                           Format{"au", SF_FORMAT_AU | SF_FORMAT_PCM_16, 4}}) {
        SCOPED_TRACE(f.extension);
        ScratchFolder dir;
        const std::string name = std::string("cut.") + f.extension;
        WriteAudio(dir / "full", TestSignal(2, 4800), 48000, f.format);
        const std::string full = FileBytes(dir / "full");
        fs::remove(dir / "full");
        // Headers cut anywhere declare nothing or the whole length, and are never
        // read past their end (the address sanitizer run watches).
        for (std::size_t n = 0; n < 256; ++n) {
            const auto declared = zkcli::DeclaredFrames(
                std::span(reinterpret_cast<const unsigned char*>(full.data()), n));
            EXPECT_TRUE(!declared || *declared == 4800) << n << " bytes";
        }
        if (f.format == (SF_FORMAT_WAV | SF_FORMAT_FLOAT)) {
            // A streaming writer leaves the length open: that is not a short file.
            std::string open = full;
            open.replace(open.find("data") + 4, 4, "\xff\xff\xff\xff");
            EXPECT_FALSE(zkcli::DeclaredFrames(
                std::span(reinterpret_cast<const unsigned char*>(open.data()), open.size())));
        }
        {
            std::ofstream cut(dir / name, std::ios::binary);
            cut << full.substr(0, full.size() - (4800 - 119) * f.frameBytes);
        }
        ASSERT_EQ(zkcli::SoundFileReader(dir / name).TotalFrames(), 119u) << "libsndfile trims";
        const std::string in = (dir / name).string();
        const std::string out = (dir / "out.wav").string();
        ExpectRefusal(RunZkmorva({"render", in, out}, dir.path),
                      {"input file " + in + " is shorter than its header says: 119 of 4800 frames",
                       "--allow-short"});
        EXPECT_EQ(dir.Names(), std::vector<std::string>{name});

        const RunResult allowed = RunZkmorva({"render", in, out, "--allow-short"}, dir.path);
        ASSERT_EQ(allowed.status, 0) << allowed.err;
        EXPECT_EQ(allowed.err, "zkmorva: warning: " + in +
                                   ": the file holds 119 frames, its header says 4800; rendered "
                                   "what is there\n");
        EXPECT_EQ(ReadAudio(dir / "out.wav").channels[0].size(), 119u);
    }
}

} // namespace
