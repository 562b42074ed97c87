#pragma once

#include "widgets/CControlListener.h"

// The listener side of the editors: what the editor's own controls may ask of
// it beyond the toolkit's listener.
class CZkmorvaControlListener : public CControlListener {
public:
    // A modifier click is never consumed here: the controls handle it themselves.
    long controlModifierClicked(CControl* control, long buttons) override;
    // A text box became the current control: tells the control's editor.
    virtual void SetTextBoxAsCurrentControl(CControl* control);
};
