#pragma once

class CControl;

// Receives what the user does with a control. valueChanged is the one that
// matters; the edit brackets let a listener group a drag into one gesture.
class CControlListener {
public:
    virtual ~CControlListener() = default;
    virtual void valueChanged(CControl* control) = 0;
    // A press with a modifier (kShift, kControl, kAlt, kApple) is offered here
    // first by controls that support it; non-zero consumes the press.
    virtual long controlModifierClicked(CControl*, long /*buttons*/) { return 0; }
    virtual void controlBeginEdit(CControl*) {}
    virtual void controlEndEdit(CControl*) {}
};
