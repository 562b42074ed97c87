#include "editor/CZkTextEdit.h"

#include "editor/CZkmorvaControlListener.h"
#include "widgets/CFrame.h"

CZkTextEdit::CZkTextEdit(const CRect& size_, CControlListener* l, long tag_, const char* text_,
                         CBitmap* background, long style_)
    : CTextEdit(size_, l, tag_, text_, background, style_) {}

void CZkTextEdit::mouse(CPoint&, long buttons) {
    if (!bMouseEnabled) {
        return;
    }
    if (listener && (buttons & kModifierMask) && listener->controlModifierClicked(this, buttons)) {
        return;
    }
    if (!(buttons & kLButton)) {
        return;
    }
    const CFrame* frame = getFrame();
    if ((frame && frame->getFocusView() == this) || editing) {
        return;
    }
    if ((style & kDoubleClickStyle) && !(buttons & kDoubleClick)) {
        return;
    }
    if (auto* zk = dynamic_cast<CZkmorvaControlListener*>(listener)) {
        zk->SetTextBoxAsCurrentControl(this);
    }
    beginEdit();
    openEditor();
}
