#pragma once

#include "widgets/CTextLabel.h"

// A text that works as an on/off switch: a click toggles the value between 0
// and 1, and the text shows in the on colour when on, the off colour when off.
// Unless an off colour is given, it is the on colour at half brightness.
// Style 1 reports the change before the idle work the click runs, style 0 after.
class CTextButton : public CTextLabel {
public:
    CTextButton(const CRect& size, CControlListener* listener, long tag, const char* text,
                const CColor& onColor, CBitmap* background = nullptr, long style = 0);

    void setOnColor(const CColor& color);
    CColor getOnColor() const { return onColor; }
    void setOffColor(const CColor& color);
    CColor getOffColor() const { return offColor; }
    void UseCustomOffColor(bool use) { useCustomOffColor = use; }

    void draw(CDrawContext* context) override;
    void mouse(CPoint& where, long buttons) override;

private:
    void report();

    CColor onColor;
    CColor offColor;
    bool useCustomOffColor = false;
};
