#pragma once

#include "editor/CZkmorvaEditor.h"
#include "editor/EditorSupport.h"

#include <array>
#include <memory>

class CMovieBitmap;
class COptionMenu;
class CTextLabel;
class CZkmorvaEqCurve;
class CZkmorvaHelpPages;

// The two-channel EQ's editor: a band set per channel side by side, the top row
// of gains, mono maker and stereo width, the global switches, and a lower panel
// (curves of both channels, eight level meters, balance and correlation) that
// folds away, the frame then being 283 instead of 530 high.
//
// The editor answers its own changes by the unit's rule (a linked partner, the
// other solo, the master link's switches) and writes those parameters too, each
// inside a gesture (the partner's alongside the control's), so that any host
// stores and automates both sides and every control shows what the unit does,
// also where the host never hears the unit's own changes.
class CZkmorva20Editor : public CZkmorvaEditor {
public:
    // The meter values: six levels (input 1, 2, centre, side, output 1, 2), then
    // balance and correlation.
    static constexpr std::size_t kLevelValues = 6;
    static constexpr std::size_t kOutput1Value = 4;
    static constexpr std::size_t kOutput2Value = 5;
    static constexpr std::size_t kBalanceValue = 6;
    static constexpr std::size_t kCorrelationValue = 7;
    static constexpr std::size_t kMeterValues = 8;

    explicit CZkmorva20Editor(AudioUnit unit);
    ~CZkmorva20Editor() override;

    bool open(void* parent) override;
    void idle() override;

    float ConvertToVSTValue(float value, long id) override;
    float ConvertToAUValue(float value, long id) override;
    void Initialize() override;
    void beginEdit(long tag) override;
    void endEdit(long tag) override;
    void valueChanged(CControl* control) override;
    void setParameter(long index, float value) override;
    virtual void DrawAutoListen(bool on, int band);
    virtual void HidePanel(bool hide);
    // values 0..5: level meters (input 1, 2, centre, side, output 1, 2), 6 balance,
    // 7 correlation, both already in 0..1.
    virtual void SetMeters(float* values, bool isDecibel);

    CZkmorvaEqCurve* getCurve(int channel) const {
        return curves[static_cast<std::size_t>(channel)];
    }
    // 0, 1: the upper pair; 2..7: the lower bank.
    CVuMeterEX* getMeter(int index) const { return meters[static_cast<std::size_t>(index)]; }
    CMovieBitmap* getBalanceDisplay() const { return balance; }
    CMovieBitmap* getCorrelationDisplay() const { return correlation; }

    // Curve input of a channel parameter (-1 for the links and non-channel ids),
    // and the channel of an id (-1 for none).
    static long CurveInput(long id);
    static int ChannelOf(long id);

private:
    void buildControls(CFrame* frame);
    void buildPanel(CFrame* frame);
    void feedCurve(long tag, float value);
    void sendAnswers(long tag, float unitValue);

    // By parameter id: gestures open, and the partner a control's gesture opened.
    static constexpr std::size_t kParameterSpan = 109;
    std::array<int, kParameterSpan> openGestures{};
    std::array<long, kParameterSpan> partnerGesture{};
    std::array<CZkmorvaEqCurve*, 2> curves{};
    std::array<CVuMeterEX*, 8> meters{};
    std::array<int, 8> meterValue{};
    CMovieBitmap* balance = nullptr;
    CMovieBitmap* correlation = nullptr;
};
