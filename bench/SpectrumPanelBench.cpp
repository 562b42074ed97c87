// The editor's work for the spectrum analyser at its frame rate, without a
// window: every frame takes 1/30 s of stereo noise from the ring, analyses the
// input and output of both channels and redraws what changed (the curve panel)
// into an image at 1x and 2x. CPU share of one core at 30 frames per second =
// CPU time per picture (us) x 30 / 1e4 %.
#include "BenchSupport.h"
#include "editor/CZkmorva20AUView.h"
#include "editor/CZkmorvaEditor.h"
#include "editor/SpectrumPanel.h"
#include "framework/SampleRing.h"
#include "resources/SkinTable.h"
#include "support/UnitHost.h"
#include "units/Zkmorva20AU.h"
#include "widgets/CDrawContext.h"

#include <array>
#include <vector>

namespace {

using namespace zkbench;

constexpr double kRate = 48000.0;
constexpr std::size_t kFramesPerPicture = 1600; // 1/30 s

void Panel(benchmark::State& state, double scale, bool draw = true) {
    skin::installSkin();
    zktest::UnitHost host(OpenZkmorva20(), kRate, 2);
    auto view = CZkmorva20AUViewEntry(&host.Unit());
    view->CreateUI();
    zkeditor::SpectrumPanel* panel = view->GetEditor()->getSpectrum();
    SampleRing ring(4, 32768);
    panel->UseRing(&ring);
    zk::SpectrumSettings on;
    on.on = true;
    on.peakHold = true;
    panel->Apply(on);
    COffscreenContext image(view->GetWidth(), view->GetHeight(), scale);
    const auto window = image.createDeviceCairo();
    view->Draw(window.get(), scale);
    const std::vector<double> noise = Noise(1 << 16, 3);
    std::vector<float> block(kFramesPerPicture);
    std::size_t pos = 0;
    for (auto _ : state) {
        if (ring.BeginBlock(kFramesPerPicture) != 0) {
            for (std::size_t slot = 0; slot < 4; ++slot) {
                for (float& s : block) {
                    s = static_cast<float>(0.25 * noise[pos++ % noise.size()]);
                }
                ring.Write(slot, block.data());
            }
        }
        ring.Commit();
        panel->Update();
        if (draw) {
            view->DrawDirty(window.get(), scale);
        }
    }
}

BENCHMARK_CAPTURE(Panel, Zkmorva20_AnalysisOnly, 1.0, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Panel, Zkmorva20_1x, 1.0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Panel, Zkmorva20_2x, 2.0)->Unit(benchmark::kMicrosecond);

} // namespace
