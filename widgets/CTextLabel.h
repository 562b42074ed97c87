#pragma once

#include "widgets/CParamDisplay.h"

// A fixed text in the look of a parameter display.
class CTextLabel : public CParamDisplay {
public:
    CTextLabel(const CRect& size, const char* text = nullptr, CBitmap* background = nullptr,
               long style = 0);

    void draw(CDrawContext* context) override;
    virtual void setText(const char* text);
    const char* getText() const { return text.c_str(); }

protected:
    std::string text;
};
