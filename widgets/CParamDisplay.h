#pragma once

#include "widgets/CControl.h"

#include <string>

// Display styles (bit flags).
enum CParamDisplayStyle : long {
    kShadowText = 1 << 2,
    k3DIn = 1 << 3,
    k3DOut = 1 << 4,
    kNoTextStyle = 1 << 11,
    kNoDrawStyle = 1 << 12,
    kDoubleClickStyle = 1 << 13, // a text entry opens on a double click only
    kNoFrame = 1 << 14,
};

// Writes the text for a value into a buffer of kParamDisplayTextSize bytes.
using CParamDisplayStringConvert = void (*)(float value, char* string);
using CParamDisplayStringConvert2 = void (*)(float value, char* string, void* userData);
// Reads a value from text; false when the text does not hold one.
using CParamDisplayValueConvert = bool (*)(const char* string, float& value);

inline constexpr int kParamDisplayTextSize = 256;

// Shows a value as text (through the string conversion, or two decimals), over a
// background colour or bitmap, with an optional frame and text shadow.
class CParamDisplay : public CControl {
public:
    CParamDisplay(const CRect& size, CBitmap* background = nullptr, long style = 0);

    void draw(CDrawContext* context) override;

    void setStringConvert(CParamDisplayStringConvert convert);
    void setStringConvert(CParamDisplayStringConvert2 convert, void* userData);
    void setValueConvert(CParamDisplayValueConvert convert) { valueConvert = convert; }
    CParamDisplayValueConvert getValueConvert() const { return valueConvert; }
    // The text the display shows for a value.
    std::string valueToString(float val) const;
    // The value for a text; false when there is no conversion or the text is bad.
    bool stringToValue(const char* string, float& val) const;

    void setFont(CFont fontID) {
        this->fontID = fontID;
        setDirty();
    }
    CFont getFont() const { return fontID; }
    void setFontColor(const CColor& color) {
        fontColor = color;
        setDirty();
    }
    CColor getFontColor() const { return fontColor; }
    void setBackColor(const CColor& color) {
        backColor = color;
        setDirty();
    }
    CColor getBackColor() const { return backColor; }
    void setFrameColor(const CColor& color) {
        frameColor = color;
        setDirty();
    }
    CColor getFrameColor() const { return frameColor; }
    void setShadowColor(const CColor& color) {
        shadowColor = color;
        setDirty();
    }
    void setHoriAlign(CHoriTxtAlign align) {
        horiTxtAlign = align;
        setDirty();
    }
    CHoriTxtAlign getHoriAlign() const { return horiTxtAlign; }
    void setStyle(long val) {
        style = val;
        setDirty();
    }
    long getStyle() const { return style; }

protected:
    // Background, frame and text, in this order, as the style says.
    virtual void drawText(CDrawContext* context, const char* string);
    void drawBackground(CDrawContext* context);
    void drawFrame(CDrawContext* context);

    CParamDisplayStringConvert stringConvert = nullptr;
    CParamDisplayStringConvert2 stringConvert2 = nullptr;
    void* userData = nullptr;
    CParamDisplayValueConvert valueConvert = nullptr;
    CFont fontID = kNormalFontSmall;
    CColor fontColor = kWhiteCColor;
    CColor backColor = kBlackCColor;
    CColor frameColor = kBlackCColor;
    CColor shadowColor = kBlackCColor;
    CHoriTxtAlign horiTxtAlign = kCenterText;
    long style;
};
