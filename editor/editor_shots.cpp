// Writes PNG screenshots of both editors: with the panel shown and hidden, and
// with the spectrum analyser on, fed with pink noise through the unit (its input
// and the equalised output, peaks held).
// Usage: zk_editor_shots [folder] [scale]   (defaults: editor-shots 1)
// Pictures at a scale other than 1 carry it in their names ("-x2").
#include "editor/CZkmorva10AUView.h"
#include "editor/CZkmorva20AUView.h"
#include "editor/CZkmorvaEditor.h"
#include "editor/SpectrumPanel.h"
#include "framework/AUBase.h"
#include "framework/AUEvents.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"
#include "framework/SampleRing.h"
#include "units/SpectrumSettings.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"
#include "widgets/CDrawContext.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

using Settings = std::vector<std::pair<AudioUnitParameterID, float>>;

// A few bands away from flat, so that the curves show something.
const Settings kSettings10{{11, 4.f}, {18, 1800.f}, {19, -5.f}, {17, 2.5f}, {27, 3.f}, {7, 40.f}};
const Settings kSettings20{{24, 4.f}, {33, 1800.f}, {34, -5.f}, {74, 900.f}, {75, 6.f}, {85, -3.f}};

bool Write(CZkmorvaAUView& view, const std::string& path, double scale) {
    const std::unique_ptr<COffscreenContext> image = view.Picture(scale);
    std::string error;
    if (!image->writePNG(path, &error)) {
        std::fprintf(stderr, "zk_editor_shots: %s\n", error.c_str());
        return false;
    }
    std::printf("%s (%d x %d)\n", path.c_str(), view.GetWidth(), view.GetHeight());
    return true;
}

bool Shoot(AUBase& unit, std::unique_ptr<CZkmorvaAUView> view, const Settings& settings,
           AudioUnitParameterID panelId, bool hidden, const std::string& path, double scale) {
    for (const auto& [id, value] : settings) {
        unit.SetParameter(id, kAudioUnitScope_Global, 0, value, 0);
    }
    unit.SetParameter(panelId, kAudioUnitScope_Global, 0, hidden ? 1.f : 0.f, 0);
    view->CreateUI();
    return Write(*view, path, scale);
}

// Pink noise (Kellet's filter over uniform white noise), about -20 dBFS, the
// right channel 4 dB below the left; the same every run.
class PinkNoise {
public:
    float Next() {
        seed = seed * 1664525u + 1013904223u;
        const double white = seed / 4294967296.0 - 0.5;
        b0 = 0.99765 * b0 + white * 0.0990460;
        b1 = 0.96300 * b1 + white * 0.2965164;
        b2 = 0.57000 * b2 + white * 1.0526913;
        return static_cast<float>(0.1 * (b0 + b1 + b2 + white * 0.1848));
    }

private:
    std::uint32_t seed = 1;
    double b0 = 0.0, b1 = 0.0, b2 = 0.0;
};

// The editor with the analyser on after three seconds of pink noise through an
// initialised unit: its input and output go into a ring, block by block as the
// plug-in's audio side does, and the panel takes a frame every 1/30 s.
bool ShootSpectrum(AUBase& unit, std::unique_ptr<CZkmorvaAUView> view, const Settings& settings,
                   double rate, const std::string& path, double scale) {
    constexpr UInt32 kBlock = 512;
    CFRunLoopRef loop = CFRunLoopGetCurrent();
    if (unit.SetSampleRateAndChannels(rate, 2, 2) != noErr || unit.DoInitialize() != noErr) {
        std::fprintf(stderr, "zk_editor_shots: the unit does not start at %g Hz\n", rate);
        return false;
    }
    for (const auto& [id, value] : settings) {
        AudioUnitParameter p{&unit, id, kAudioUnitScope_Global, 0};
        AUParameterSet(nullptr, nullptr, &p, value, 0);
    }
    loop->Pump();
    view->CreateUI();
    zkeditor::SpectrumPanel* panel = view->GetEditor()->getSpectrum();
    SampleRing ring(4, 32768);
    panel->UseRing(&ring);
    zk::SpectrumSettings on;
    on.on = true;
    on.peakHold = true;
    panel->Apply(on);

    PinkNoise noise;
    std::vector<std::vector<float>> in(2, std::vector<float>(kBlock));
    std::vector<std::vector<float>> out(2, std::vector<float>(kBlock));
    const std::vector<const float*> inputs{in[0].data(), in[1].data()};
    const std::vector<float*> outputs{out[0].data(), out[1].data()};
    double sinceFrame = 0.0;
    for (double played = 0.0; played < 3.0; played += kBlock / rate) {
        for (UInt32 i = 0; i < kBlock; ++i) {
            in[0][i] = noise.Next();
            in[1][i] = 0.63f * in[0][i];
        }
        AudioUnitRenderActionFlags flags = 0;
        if (unit.Render(flags, kBlock, inputs, outputs) != noErr) {
            std::fprintf(stderr, "zk_editor_shots: rendering failed\n");
            return false;
        }
        loop->Pump();
        if (ring.BeginBlock(kBlock) == kBlock) {
            for (std::size_t c = 0; c < 2; ++c) {
                ring.Write(c, in[c].data());
                ring.Write(2 + c, out[c].data());
            }
        }
        ring.Commit();
        sinceFrame += kBlock / rate;
        if (sinceFrame >= zkeditor::SpectrumPanel::kFrameInterval) {
            panel->Update();
            view->GetEditor()->idle(); // the meters read the unit as the editor's timer does
            sinceFrame = 0.0;
        }
    }
    view->Tick(); // the settings reach the curves
    return Write(*view, path, scale);
}

} // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : "editor-shots";
    double scale = 1.0;
    if (argc > 2) {
        char* end = nullptr;
        scale = std::strtod(argv[2], &end);
        if (end == argv[2] || *end != '\0' || !(scale >= 0.5 && scale <= 4.0)) {
            std::fprintf(stderr, "zk_editor_shots: scale '%s' is not a number from 0.5 to 4\n",
                         argv[2]);
            return 2;
        }
    }
    std::string suffix = ".png";
    if (scale != 1.0) {
        char text[32];
        std::snprintf(text, sizeof text, "-x%g.png", scale);
        suffix = text;
    }
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    ScopedCurrentRunLoop loop(CFRunLoop::CreatePumped());
    bool ok = true;
    for (bool hidden : {false, true}) {
        const std::string panel = hidden ? "-panel-hidden" : "-panel-shown";
        AudioUnitPtr eq10 = OpenZkmorva10();
        eq10->SetSampleRateAndChannels(44100.0, 2, 2);
        ok &= Shoot(*eq10, CZkmorva10AUViewEntry(eq10.get()), kSettings10, 40, hidden,
                    folder + "/zkmorva10" + panel + suffix, scale);
        AudioUnitPtr eq20 = OpenZkmorva20();
        eq20->SetSampleRateAndChannels(48000.0, 2, 2);
        ok &= Shoot(*eq20, CZkmorva20AUViewEntry(eq20.get()), kSettings20, 108, hidden,
                    folder + "/zkmorva20" + panel + suffix, scale);
    }
    AudioUnitPtr eq10 = OpenZkmorva10();
    ok &= ShootSpectrum(*eq10, CZkmorva10AUViewEntry(eq10.get()), kSettings10, 44100.0,
                        folder + "/zkmorva10-spectrum" + suffix, scale);
    AudioUnitPtr eq20 = OpenZkmorva20();
    ok &= ShootSpectrum(*eq20, CZkmorva20AUViewEntry(eq20.get()), kSettings20, 48000.0,
                        folder + "/zkmorva20-spectrum" + suffix, scale);
    return ok ? 0 : 1;
}
