#include "CliTestSupport.h"
#include "cli/CliError.h"
#include "cli/Commands.h"
#include "support/UnitHost.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace {

using namespace zkclitest;
using zkcli::RenderRequest;

RenderRequest Request(const fs::path& in, const fs::path& out, std::vector<std::string> sets) {
    RenderRequest r;
    r.input = in;
    r.output = out;
    r.unit = zkcli::FindUnit("10");
    r.assignments = std::move(sets);
    return r;
}

zkcli::RenderReport Render(const RenderRequest& r) {
    return zkcli::RenderFile(r);
}

std::size_t PeakFrame(const std::vector<float>& v) {
    std::size_t best = 0;
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (std::fabs(v[i]) > std::fabs(v[best])) {
            best = i;
        }
    }
    return best;
}

// What the renderer must produce: the unit driven directly with the settings
// already made, reset, fed the input 512 frames at a time and then the latency's
// zeros, the latency dropped from the front.
std::vector<std::vector<float>> DirectDrive(zktest::UnitHost& host,
                                            std::vector<std::vector<float>> in) {
    const std::size_t latency = 4, frames = in[0].size(); // 2x oversampling at 48 kHz
    // A short silent block takes the changes in, then a reset starts from quiet.
    host.Render(std::vector<std::vector<float>>(in.size(), std::vector<float>(64, 0.0f)), 64);
    EXPECT_EQ(host.Unit().DoReset(kAudioUnitScope_Global, 0), noErr);
    host.Pump();
    std::vector<std::vector<float>> out(in.size());
    for (auto& c : in) {
        c.resize(frames + latency, 0.0f);
    }
    for (std::size_t pos = 0; pos < frames + latency;) {
        const std::size_t n = pos < frames ? std::min<std::size_t>(512, frames - pos) : latency;
        std::vector<std::vector<float>> piece;
        for (const auto& c : in) {
            piece.emplace_back(c.begin() + pos, c.begin() + pos + n);
        }
        const auto rendered = host.Render(piece, static_cast<UInt32>(n));
        for (std::size_t c = 0; c < in.size(); ++c) {
            out[c].insert(out[c].end(), rendered[c].begin(), rendered[c].end());
        }
        pos += n;
    }
    for (auto& c : out) {
        c.erase(c.begin(), c.begin() + latency);
    }
    return out;
}

// The renderer is a host and nothing more: its file holds exactly what a direct
// drive of the unit produces, on every channel of a three-channel file.
TEST(Render, FileEqualsADirectDriveOfTheUnitBitForBit) {
    ScratchFolder dir;
    const auto signal = TestSignal(3, 48000 + 123);
    WriteAudio(dir / "in.wav", signal);
    auto request = Request(dir / "in.wav", dir / "out.wav",
                           {"MF f=1000", "MF Gain=6", "HP f=45", "LF Gain=-3,5", "HF Gain=2"});
    request.options.blockFrames = 512;
    EXPECT_EQ(Render(request).stats.latencyFrames, 4u);
    const Audio out = ReadAudio(dir / "out.wav");

    zktest::UnitHost host(OpenZkmorva10(), 48000.0, 3, 8192);
    host.Set(zk::kZ10MfFreq, 1000.0f);
    host.Set(zk::kZ10MfGain, 6.0f);
    host.Set(zk::kZ10HpFreq, 45.0f);
    host.Set(zk::kZ10LfGain, -3.5f);
    host.Set(zk::kZ10HfGain, 2.0f);
    const auto expected = DirectDrive(host, signal);
    for (unsigned c = 0; c < 3; ++c) {
        EXPECT_TRUE(out.channels.at(c) == expected[c]) << "channel " << c;
    }
    // And the settings did something: the file differs from its input.
    EXPECT_NE(out.channels[1], signal[1]);
}

// The two-channel unit takes a mono file on both inputs.
TEST(Render, MonoInputFeedsBothChannelsOfTheTwoChannelEq) {
    ScratchFolder dir;
    const auto mono = TestSignal(1, 12000);
    WriteAudio(dir / "mono.wav", mono);
    RenderRequest r = Request(dir / "mono.wav", dir / "out.wav",
                              {"MF L f=1500", "MF L Gain=5", "Stereo-Width=150"});
    r.unit = zkcli::FindUnit("zkmorva20");
    Render(r);
    const Audio out = ReadAudio(dir / "out.wav");
    ASSERT_EQ(out.channels.size(), 2u);

    zktest::UnitHost host(OpenZkmorva20(), 48000.0, 2, 8192);
    host.Set(zk::Z20ChannelId(0, zk::kZ20MfFreq), 1500.0f);
    host.Set(zk::Z20ChannelId(0, zk::kZ20MfGain), 5.0f);
    host.Set(zk::kZ20StereoWidth, 150.0f);
    const auto expected = DirectDrive(host, {mono[0], mono[0]});
    for (unsigned c = 0; c < 2; ++c) {
        EXPECT_TRUE(out.channels[c] == expected[c]) << "channel " << c;
    }
    EXPECT_FALSE(out.channels[0] == mono[0]);
}

TEST(Render, TwoRunsGiveIdenticalFiles) {
    ScratchFolder dir;
    for (const char* name : {"a.wav", "b.wav"}) {
        RenderRequest r = Request({}, dir / name, {"LMF Gain=-4", "MF Gain=3"});
        Render(r);
    }
    const std::string a = FileBytes(dir / "a.wav");
    EXPECT_GT(a.size(), 1000000u);              // the demo signal: 8 s of float stereo
    EXPECT_TRUE(a == FileBytes(dir / "b.wav")); // not EXPECT_EQ: megabytes of diff
}

// A click in comes out at the same frame, and the file keeps its length; with the
// latency kept everything comes out exactly the unit's latency later.
TEST(Render, LatencyCompensationAlignsOutputWithInput) {
    ScratchFolder dir;
    std::vector<std::vector<float>> click(1, std::vector<float>(9000, 0.0f));
    click[0][3000] = 0.8f;
    WriteAudio(dir / "click.wav", click, 44100);
    const auto alignedReport = Render(Request(dir / "click.wav", dir / "aligned.wav", {}));
    auto keep = Request(dir / "click.wav", dir / "kept.wav", {});
    keep.options.compensateLatency = false;
    const auto keptReport = Render(keep);
    const Audio aligned = ReadAudio(dir / "aligned.wav");
    const Audio kept = ReadAudio(dir / "kept.wav");
    ASSERT_EQ(aligned.channels.size(), 1u);
    ASSERT_EQ(aligned.channels[0].size(), 9000u);
    ASSERT_EQ(kept.channels[0].size(), 9000u);
    EXPECT_EQ(alignedReport.stats.latencyFrames, 4u);
    EXPECT_EQ(keptReport.stats.latencyFrames, 0u);
    EXPECT_EQ(PeakFrame(aligned.channels[0]), 3000u);
    EXPECT_EQ(PeakFrame(kept.channels[0]), 3004u);
    for (std::size_t i = 0; i + 4 < 9000; ++i) {
        ASSERT_EQ(aligned.channels[0][i], kept.channels[0][i + 4]) << "frame " << i;
    }
}

// Auto-listen held on a band's frequency leaves only a narrow band around it.
TEST(Render, ListenHoldsAutoListenOnOneControl) {
    ScratchFolder dir;
    const std::size_t n = 48000;
    std::vector<std::vector<float>> tones(1, std::vector<float>(n));
    for (std::size_t i = 0; i < n; ++i) {
        tones[0][i] =
            static_cast<float>(0.3 * std::sin(2 * std::numbers::pi * 5000.0 * i / 48000.0));
    }
    WriteAudio(dir / "tone.wav", tones);
    auto listen = Request(dir / "tone.wav", dir / "listen.wav", {"MF f=1000"});
    listen.listen = "MF f";
    Render(listen);
    Render(Request(dir / "tone.wav", dir / "plain.wav", {"MF f=1000"}));
    auto peakAfterSettling = [](const Audio& a) {
        float p = 0.0f;
        for (std::size_t i = 24000; i < a.channels[0].size(); ++i) {
            p = std::max(p, std::fabs(a.channels[0][i]));
        }
        return p;
    };
    const float plain = peakAfterSettling(ReadAudio(dir / "plain.wav"));
    const float listened = peakAfterSettling(ReadAudio(dir / "listen.wav"));
    EXPECT_NEAR(plain, 0.3f, 0.01f);
    EXPECT_LT(listened, plain * 0.1f); // a 5 kHz tone is far outside a 1 kHz band
}

// Float output keeps overs and reports them; integer output clips and counts.
TEST(Render, OversAreKeptInFloatAndCountedWhenClipped) {
    ScratchFolder dir;
    WriteAudio(dir / "loud.wav", TestSignal(2, 4800));
    const auto floatReport = Render(Request(dir / "loud.wav", dir / "f.wav", {"Output Gain=12"}));
    const Audio f = ReadAudio(dir / "f.wav");
    float peak = 0.0f;
    for (const auto& c : f.channels) {
        for (float v : c) {
            peak = std::max(peak, std::fabs(v));
        }
    }
    EXPECT_GT(peak, 1.5f);
    EXPECT_FLOAT_EQ(floatReport.stats.outputPeak, peak);
    EXPECT_EQ(floatReport.clippedSamples, 0u);

    auto pcm = Request(dir / "loud.wav", dir / "i.wav", {"Output Gain=12"});
    pcm.typeName = "pcm16";
    const auto pcmReport = Render(pcm);
    EXPECT_GT(pcmReport.clippedSamples, 0u);
    const Audio i = ReadAudio(dir / "i.wav");
    EXPECT_EQ(i.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
    for (float v : i.channels[0]) {
        ASSERT_LE(std::fabs(v), 1.0f); // clipped, not wrapped round
    }
    std::ostringstream summary;
    zkcli::PrintRenderSummary(pcm, pcmReport, summary);
    EXPECT_NE(summary.str().find("clipped"), std::string::npos) << summary.str();
}

TEST(Render, OutputFormatFollowsTheInputUnlessChosen) {
    ScratchFolder dir;
    WriteAudio(dir / "in.flac", TestSignal(1, 2000), 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    Render(Request(dir / "in.flac", dir / "same.flac", {}));
    const Audio same = ReadAudio(dir / "same.flac");
    EXPECT_EQ(same.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_24);
    EXPECT_EQ(same.rate, 44100);
    EXPECT_EQ(same.channels.size(), 1u);

    Render(Request(dir / "in.flac", dir / "other.aiff", {}));
    EXPECT_EQ(ReadAudio(dir / "other.aiff").format, SF_FORMAT_AIFF | SF_FORMAT_PCM_24);

    auto chosen = Request(dir / "in.flac", dir / "chosen.out", {});
    chosen.formatName = "wav";
    chosen.typeName = "float";
    Render(chosen);
    EXPECT_EQ(ReadAudio(dir / "chosen.out").format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
}

} // namespace
