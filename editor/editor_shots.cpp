// Writes PNG screenshots of both editors, with the panel shown and hidden.
// Usage: zk_editor_shots [folder] [scale]   (defaults: editor-shots 1)
#include "editor/CZkmorva10AUView.h"
#include "editor/CZkmorva20AUView.h"
#include "framework/AUBase.h"
#include "framework/Component.h"
#include "framework/RunLoop.h"
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

bool Shoot(AUBase& unit, std::unique_ptr<CZkmorvaAUView> view, const Settings& settings,
           AudioUnitParameterID panelId, bool hidden, const std::string& path, double scale) {
    for (const auto& [id, value] : settings) {
        unit.SetParameter(id, kAudioUnitScope_Global, 0, value, 0);
    }
    unit.SetParameter(panelId, kAudioUnitScope_Global, 0, hidden ? 1.f : 0.f, 0);
    view->CreateUI();
    const std::unique_ptr<COffscreenContext> image = view->Picture(scale);
    std::string error;
    if (!image->writePNG(path, &error)) {
        std::fprintf(stderr, "zk_editor_shots: %s\n", error.c_str());
        return false;
    }
    std::printf("%s (%d x %d)\n", path.c_str(), view->GetWidth(), view->GetHeight());
    return true;
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
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    ScopedCurrentRunLoop loop(CFRunLoop::CreatePumped());
    bool ok = true;
    for (bool hidden : {false, true}) {
        const char* suffix = hidden ? "panel-hidden" : "panel-shown";
        AudioUnitPtr eq10 = OpenZkmorva10();
        eq10->SetSampleRateAndChannels(44100.0, 2, 2);
        ok &= Shoot(*eq10, CZkmorva10AUViewEntry(eq10.get()), kSettings10, 40, hidden,
                    folder + "/zkmorva10-" + suffix + ".png", scale);
        AudioUnitPtr eq20 = OpenZkmorva20();
        eq20->SetSampleRateAndChannels(48000.0, 2, 2);
        ok &= Shoot(*eq20, CZkmorva20AUViewEntry(eq20.get()), kSettings20, 108, hidden,
                    folder + "/zkmorva20-" + suffix + ".png", scale);
    }
    return ok ? 0 : 1;
}
