#pragma once

#include "editor/CZkmorvaControlListener.h"
#include "framework/AUBase.h"
#include "widgets/AEffGUIEditor.h"
#include "widgets/CFont.h"

#include <memory>

class CAnimJoystick;
class CAnimKnobEX;
class CZkTextEdit;
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
// begin/end events towards the host, and holds the meter law. The variants
// supply the conversions, the layout (open/close) and valueChanged.
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
    // A text box is being edited; the base does nothing.
    virtual void SetTextBoxAsCurrentControl();

    // Meter position in [0, 1] for a level (in dB when isDecibel): 0 below -60 dB
    // and exactly 1 above 0 dB. The constants and the small step at full scale
    // are intended.
    virtual float CalcMeters(float x, bool isDecibel);

    // Control factories: each control gets this editor as listener, its default
    // and then its value from the unit, and is added to (owned by) `frame`. The
    // float arguments are accepted and ignored; NewCZkTextEdit always uses the
    // smallest font, whatever `font` says. Both are kept on purpose.
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

    // The spectrum analyser behind the curve, while the editor is open.
    zkeditor::SpectrumPanel* getSpectrum() const { return spectrum.get(); }

protected:
    AudioUnit unit;
    double sampleRate = 0.0; // last seen by the variant's idle pass
    std::unique_ptr<zkeditor::SpectrumPanel> spectrum;
};
