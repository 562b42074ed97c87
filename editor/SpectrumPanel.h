#pragma once

#include "editor/CZkmorvaSpectrumView.h"
#include "editor/SpectrumLayout.h"
#include "framework/Types.h"
#include "units/SpectrumSettings.h"
#include "widgets/CControlListener.h"

#include <array>
#include <memory>
#include <vector>

class CFrame;
class CTextButton;
class SampleRing;

namespace zkspectrum {
class SpectrumAnalyser;
}

namespace zkeditor {

// The spectrum analyser of an editor: its view behind the response curve, its
// switches ("Spectrum", "in", "out", "hold", and "L/R" / "M/S" on the two-channel
// EQ) and the analysis of the instance's samples, which it reads from the unit's
// sample ring (zk::kSpectrumRingProperty) while it is on and in sight. The
// settings go to the unit (zk::kSpectrumSettingsProperty), which keeps them with
// the plug-in's state; settings the host restores there are followed.
//
// The view draws under everything added after it, so the editor builds the panel
// before its curve. UI thread only.
class SpectrumPanel : public CControlListener {
public:
    static constexpr double kFrameInterval = 1.0 / 30.0; // seconds

    SpectrumPanel(AudioUnit unit, CFrame* frame, const SpectrumLayout& layout, bool twoChannels);
    ~SpectrumPanel() override;
    SpectrumPanel(const SpectrumPanel&) = delete;
    SpectrumPanel& operator=(const SpectrumPanel&) = delete;

    void valueChanged(CControl* control) override;

    // Runs Update when a frame is due (about 30 per second); returns whether it did.
    bool Animate(double nowSeconds);
    // Follows settings restored by the host, reads what the instance played since
    // the last frame and redraws the traces.
    void Update();

    // Settings as if chosen with the switches: shown, sent to the unit.
    void Apply(const zk::SpectrumSettings& settings);
    const zk::SpectrumSettings& Settings() const { return settings; }
    // Whether it is reading an instance's samples now.
    bool IsReading() const { return reading != nullptr; }
    // Reads this ring instead of asking the unit (screenshots, tests; null: the unit's).
    void UseRing(SampleRing* ring);

    CZkmorvaSpectrumView* getView() const { return view; }
    enum class Switch : std::size_t { On, In, Out, LeftRight, MidSide, Hold };
    static constexpr std::size_t kSwitchCount = 6;
    CTextButton* getSwitch(Switch which) const { return switches[static_cast<std::size_t>(which)]; }

private:
    bool InSight() const;
    SampleRing* FindRing();
    void Detach();
    void Configure(std::size_t ringChannels, double rate);
    void ReadRing();
    void ShowTraces();
    void ShowSwitches();

    AudioUnit unit;
    CFrame* frame;
    const SpectrumLayout& layout;
    const bool twoChannels;
    CZkmorvaSpectrumView* view = nullptr;
    std::array<CTextButton*, kSwitchCount> switches{};
    zk::SpectrumSettings settings;
    zk::SpectrumSettings unitSettings; // last seen on the unit
    SampleRing* ownRing = nullptr;
    SampleRing* reading = nullptr; // attached
    double nextFrame = -1.0;

    // One analyser per trace: the input and output of each shown channel.
    struct Stream {
        std::unique_ptr<zkspectrum::SpectrumAnalyser> analyser;
        bool output;
        int channel; // -1: all channels averaged
    };
    std::vector<Stream> streams;
    std::vector<double> columnHz;
    std::size_t configuredChannels = 0;
    double configuredRate = 0.0;
    zk::SpectrumSettings configuredFor;
    std::vector<std::vector<float>> scratch; // per ring slot
    std::vector<float*> slotPointers;
    std::array<CZkmorvaSpectrumView::Trace, CZkmorvaSpectrumView::kMaxTraces> traces;
};

} // namespace zkeditor
