#pragma once

#include "editor/CZkmorvaControlListener.h"
#include "editor/EditorLayout.h"
#include "editor/EditorSupport.h"
#include "framework/AUBase.h"
#include "widgets/AEffGUIEditor.h"
#include "widgets/CColor.h"
#include "widgets/CFont.h"

#include <array>
#include <memory>

class CAnimJoystick;
class CAnimKnobEX;
class CMovieBitmap;
class COptionMenu;
class CZkTextEdit;
class CZkmorvaHelpPages;
class COnOffButton;
class CTextLabel;
class CTextButton;
class CVuMeterEX;
class CViewContainer;
namespace zkeditor {
class SpectrumPanel;
}

// Common base of the two editors: bound to one effect unit, listener of all its
// controls. It builds controls with their current and default values taken from
// the unit (converted to the controls' [0, 1]), brackets the user's gestures as
// begin/end events towards the host, and holds the meter law and what both
// editors hold while open: bitmaps, the controls by tag, help pages, the
// sample-rate indicator with its level labels and the corner switches, all
// released by close(). Each editor supplies the conversions, the layout (open)
// and valueChanged.
class CZkmorvaEditor : public AEffGUIEditor, public CZkmorvaControlListener {
public:
    explicit CZkmorvaEditor(AudioUnit unit);
    ~CZkmorvaEditor() override;

    AudioUnit getUnit() const { return unit; }

    // Gestures of a control, as begin/end parameter-change events on the unit.
    void beginEdit(long tag) override;
    void endEdit(long tag) override;

    // Parameter value to control value and back; the base passes values through.
    virtual float ConvertToVSTValue(float value, long id);
    virtual float ConvertToAUValue(float value, long id);

    using CZkmorvaControlListener::SetTextBoxAsCurrentControl;
    // A text box is being edited: raises the unit's text-box flag, so that the
    // gesture the box's entry brings starts no auto-listen.
    virtual void SetTextBoxAsCurrentControl();

    // Meter position in [0, 1] for a level (in dB when isDecibel): 0 below -60 dB,
    // 0.9936 at 0 dB and exactly 1 above it.
    virtual float CalcMeters(float x, bool isDecibel);

    // Control factories: each control gets this editor as listener, its default
    // and then its value from the unit, and is added to (owned by) `frame`. The
    // float arguments are accepted and ignored; NewCZkTextEdit always uses the
    // smallest font, whatever `font` says, so every text box of both editors
    // looks the same.
    virtual CAnimJoystick* NewCAnimJoystick(const CRect& size, long tagX, long tagY,
                                            CBitmap* bitmap, bool transparent,
                                            CViewContainer* frame);
    virtual CAnimKnobEX* NewCAnimKnobEX(const CRect& size, long tag, CBitmap* bitmap,
                                        bool transparent, float unused, CViewContainer* frame);
    virtual CZkTextEdit* NewCZkTextEdit(const CRect& size, long tag, CViewContainer* frame,
                                        CFont font, const CColor& colour);
    virtual COnOffButton* NewCOnOffButton(const CRect& size, long tag, CBitmap* bitmap,
                                          bool transparent, float unused, CViewContainer* frame);
    virtual CTextLabel* NewCTextLabel(const CRect& size, const char* text, CViewContainer* frame,
                                      CFont font, const CColor& colour);
    virtual CTextButton* NewCTextButton(const CRect& size, long tag, const char* text,
                                        CViewContainer* frame, const CColor& colour, CFont font);
    virtual CVuMeterEX* NewCVuMeterEX(const CRect& size, CBitmap* bitmap, long nbLed,
                                      bool transparent, bool offscreen, CViewContainer* frame);

    // The unit's current and default value of a parameter, as control values.
    virtual float GetValue(long tag);
    // The parameter's value in its own unit (0 when it cannot be read).
    AudioUnitParameterValue GetUnitValue(long tag);
    virtual float GetDefaultValue(long tag);

    void idle() override;
    // Releases the frame with every control, then forgets them (Initialize).
    void close() override;
    // Forgets the views of a closed editor; each editor adds its own.
    virtual void Initialize();

    // The spectrum analyser behind the curve, while the editor is open.
    zkeditor::SpectrumPanel* getSpectrum() const { return spectrum.get(); }
    CMovieBitmap* getRateIndicator() const { return rateIndicator; }
    CMovieBitmap* getPanelHandle() const { return panelHandle; }
    COnOffButton* getPanelToggle() const { return panelToggle; }
    COnOffButton* getHelpOpenButton() const { return helpOpen; }
    COptionMenu* getAutoListenMenu() const { return autoListenMenu; }
    CTextLabel* getRateScaleLabel(int index) const {
        return rateScale[static_cast<std::size_t>(index)];
    }
    CZkmorvaHelpPages* getHelpPages() const { return helpPages.get(); }
    const zkeditor::ControlRegistry& getControls() const { return controls; }
    int getSampleRate() const { return lastSampleRate; }

protected:
    // The level labels beside the sample-rate indicator, at the lowest rate class's
    // column until the first idle pass reads the rate.
    void buildRateScale(CViewContainer* frame, const zkeditor::RateScaleLayout& layout);
    // A sample rate other than the last one seen sets the indicator's frame and
    // moves the labels to the rate class's column.
    void followSampleRate(const zkeditor::RateScaleLayout& layout);

    AudioUnit unit;
    double sampleRate = 0.0; // last seen by the editor's idle pass
    int lastSampleRate = 0;
    std::unique_ptr<zkeditor::SpectrumPanel> spectrum;
    zkeditor::BitmapSet bitmaps;
    zkeditor::ControlRegistry controls;
    std::unique_ptr<CZkmorvaHelpPages> helpPages;
    CMovieBitmap* rateIndicator = nullptr;
    std::array<CTextLabel*, 3> rateScale{};
    CMovieBitmap* panelHandle = nullptr;
    COnOffButton* panelToggle = nullptr;
    COnOffButton* helpOpen = nullptr;
    COptionMenu* autoListenMenu = nullptr;
    CRect frameRect;
    CColor labelColour = kWhiteCColor;

private:
    void placeRateScale(const zkeditor::RateScaleLayout& layout, int rateClass);
};
