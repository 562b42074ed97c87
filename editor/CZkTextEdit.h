#pragma once

#include "widgets/CTextEdit.h"

// The editors' numeric text box. A click (a double click with the toolkit's
// double-click style) opens it for typing, after telling the editor that a text
// box is now the current control, so that the unit can hold back auto-listen.
class CZkTextEdit : public CTextEdit {
public:
    CZkTextEdit(const CRect& size, CControlListener* listener, long tag, const char* text = nullptr,
                CBitmap* background = nullptr, long style = 0);

    void mouse(CPoint& where, long buttons) override;
};
