#include "widgets/CTextLabel.h"

CTextLabel::CTextLabel(const CRect& size_, const char* text_, CBitmap* background, long style_)
    : CParamDisplay(size_, background, style_), text(text_ ? text_ : "") {}

void CTextLabel::setText(const char* newText) {
    const std::string t = newText ? newText : "";
    if (t != text) {
        text = t;
        setDirty();
    }
}

void CTextLabel::draw(CDrawContext* context) {
    drawText(context, text.c_str());
    setDirty(false);
}
