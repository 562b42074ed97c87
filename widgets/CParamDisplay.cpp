#include "widgets/CParamDisplay.h"

#include <charconv>

CParamDisplay::CParamDisplay(const CRect& size_, CBitmap* background, long style_)
    : CControl(size_, nullptr, 0, background), style(style_) {
    bMouseEnabled = false;
}

void CParamDisplay::setStringConvert(CParamDisplayStringConvert convert) {
    stringConvert = convert;
    stringConvert2 = nullptr;
    setDirty();
}

void CParamDisplay::setStringConvert(CParamDisplayStringConvert2 convert, void* data) {
    stringConvert2 = convert;
    stringConvert = nullptr;
    userData = data;
    setDirty();
}

std::string CParamDisplay::valueToString(float val) const {
    char string[kParamDisplayTextSize] = {};
    if (stringConvert2) {
        stringConvert2(val, string, userData);
    } else if (stringConvert) {
        stringConvert(val, string);
    } else {
        // Two decimals with a point whatever the host's locale (printf would
        // write a decimal comma inside a host that set a German locale).
        std::to_chars(string, string + sizeof string - 1, static_cast<double>(val),
                      std::chars_format::fixed, 2);
    }
    string[kParamDisplayTextSize - 1] = '\0';
    return string;
}

bool CParamDisplay::stringToValue(const char* string, float& val) const {
    return valueConvert != nullptr && string != nullptr && valueConvert(string, val);
}

void CParamDisplay::draw(CDrawContext* context) {
    drawText(context, valueToString(value).c_str());
    setDirty(false);
}

void CParamDisplay::drawBackground(CDrawContext* context) {
    if (pBackground) {
        if (bTransparencyEnabled) {
            pBackground->drawTransparent(context, size, offset);
        } else {
            pBackground->draw(context, size, offset);
        }
    } else if (!bTransparencyEnabled) {
        context->setFillColor(backColor);
        context->fillRect(size);
    }
}

void CParamDisplay::drawFrame(CDrawContext* context) {
    context->setLineWidth(1);
    context->setLineStyle(kLineSolid);
    context->setDrawMode(kCopyMode);
    if (style & (k3DIn | k3DOut)) {
        const CColor light{200, 200, 200, 255};
        const CColor dark{40, 40, 40, 255};
        const bool in = style & k3DIn;
        context->setFrameColor(in ? dark : light);
        context->drawLine(CPoint(size.left, size.bottom - 1), CPoint(size.left, size.top));
        context->drawLine(CPoint(size.left, size.top), CPoint(size.right - 1, size.top));
        context->setFrameColor(in ? light : dark);
        context->drawLine(CPoint(size.right - 1, size.top),
                          CPoint(size.right - 1, size.bottom - 1));
        context->drawLine(CPoint(size.right - 1, size.bottom - 1),
                          CPoint(size.left, size.bottom - 1));
    } else if (!(style & kNoFrame) && frameColor.alpha != 0) {
        context->setFrameColor(frameColor);
        context->drawRect(size);
    }
}

void CParamDisplay::drawText(CDrawContext* context, const char* string) {
    if (style & kNoDrawStyle) {
        return;
    }
    drawBackground(context);
    drawFrame(context);
    if (style & kNoTextStyle) {
        return;
    }
    CRect textRect = size;
    textRect.inset(2, 0);
    context->setFont(fontID);
    if (style & kShadowText) {
        CRect shadowRect = textRect;
        shadowRect.offset(1, 1);
        context->setFontColor(shadowColor);
        context->drawString(string, shadowRect, false, horiTxtAlign);
    }
    context->setFontColor(fontColor);
    context->drawString(string, textRect, false, horiTxtAlign);
}
