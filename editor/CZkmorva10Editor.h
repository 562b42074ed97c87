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

// The channel EQ's editor: one panel of knobs, pads, switches and text boxes
// whose tags are the unit's parameter ids, two output meters, the sample-rate
// indicator and the response curve in a right-hand panel that folds away (the
// frame is then 585 instead of 1024 wide), and three help pages.
class CZkmorva10Editor : public CZkmorvaEditor {
public:
    explicit CZkmorva10Editor(AudioUnit unit);
    ~CZkmorva10Editor() override;

    bool open(void* parent) override;
    void idle() override;

    float ConvertToVSTValue(float value, long id) override;
    float ConvertToAUValue(float value, long id) override;
    void Initialize() override;
    void valueChanged(CControl* control) override;
    // A parameter's control value from the host (already converted).
    void setParameter(long index, float value) override;
    virtual void DrawAutoListen(bool on, int band);
    virtual void HidePanel(bool hide);
    // values[0], values[1]: the two output meters.
    virtual void SetMeters(float* values, bool isDecibel);

    // For the view component and tests.
    CZkmorvaEqCurve* getCurve() const { return curve; }
    CVuMeterEX* getMeter(int index) const { return meters[static_cast<std::size_t>(index)]; }

private:
    void buildControls(CFrame* frame);
    void buildLabels(CFrame* frame);
    void feedCurve(long tag, float value);

    CZkmorvaEqCurve* curve = nullptr;
    std::array<CVuMeterEX*, 2> meters{};
    std::array<CTextLabel*, 3> levelScale{};
};
