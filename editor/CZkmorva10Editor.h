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
    void close() override;
    void idle() override;

    float ConvertToVSTValue(float value, long id) override;
    float ConvertToAUValue(float value, long id) override;
    using CZkmorvaEditor::SetTextBoxAsCurrentControl;
    void SetTextBoxAsCurrentControl() override;

    virtual void Initialize();
    void valueChanged(CControl* control) override;
    // A parameter's control value from the host (already converted).
    void setParameter(long index, float value) override;
    virtual void DrawAutoListen(bool on, int band);
    virtual void HidePanel(bool hide);
    // values[0], values[1]: the two output meters.
    virtual void SetMeters(float* values, bool isDecibel);

    // For the view component and tests.
    CZkmorvaEqCurve* getCurve() const { return curve; }
    CMovieBitmap* getRateIndicator() const { return rateIndicator; }
    CMovieBitmap* getPanelHandle() const { return panelHandle; }
    COnOffButton* getPanelToggle() const { return panelToggle; }
    COnOffButton* getHelpOpenButton() const { return helpOpen; }
    COptionMenu* getAutoListenMenu() const { return autoListenMenu; }
    CVuMeterEX* getMeter(int index) const { return meters[static_cast<std::size_t>(index)]; }
    CTextLabel* getRateScaleLabel(int index) const {
        return rateScale[static_cast<std::size_t>(index)];
    }
    CZkmorvaHelpPages* getHelpPages() const { return helpPages.get(); }
    const zkeditor::ControlRegistry& getControls() const { return controls; }
    int getSampleRate() const { return lastSampleRate; }

private:
    void buildControls(CFrame* frame);
    void buildLabels(CFrame* frame);
    void feedCurve(long tag, float value);
    void placeRateScale(int rateClass);

    zkeditor::BitmapSet bitmaps;
    zkeditor::ControlRegistry controls;
    std::unique_ptr<CZkmorvaHelpPages> helpPages;
    CZkmorvaEqCurve* curve = nullptr;
    CMovieBitmap* rateIndicator = nullptr;
    CMovieBitmap* panelHandle = nullptr;
    COnOffButton* panelToggle = nullptr;
    COnOffButton* helpOpen = nullptr;
    COptionMenu* autoListenMenu = nullptr;
    std::array<CVuMeterEX*, 2> meters{};
    std::array<CTextLabel*, 3> rateScale{};
    std::array<CTextLabel*, 3> levelScale{};
    int lastSampleRate = 0;
    CRect frameRect;
    CColor labelColour = kWhiteCColor;
};
