#include "editor/CZkmorvaControlListener.h"

#include "editor/CZkmorvaEditor.h"
#include "widgets/CControl.h"

long CZkmorvaControlListener::controlModifierClicked(CControl*, long) {
    return 0;
}

void CZkmorvaControlListener::SetTextBoxAsCurrentControl(CControl* control) {
    if (control == nullptr) {
        return;
    }
    if (auto* editor = dynamic_cast<CZkmorvaEditor*>(control->getEditor())) {
        editor->SetTextBoxAsCurrentControl();
    }
}
