#include "editor/CZkmorva10AUView.h"

#include "editor/CZkmorva10Editor.h"

std::unique_ptr<CZkmorvaEditor> CZkmorva10AUView::CreateEditor(AudioUnit unit) {
    return std::make_unique<CZkmorva10Editor>(unit);
}

void CZkmorva10AUView::ShowAutoListen(bool on, int band) {
    if (auto* editor = static_cast<CZkmorva10Editor*>(GetEditor())) {
        editor->DrawAutoListen(on, band);
    }
}

AUEventListenerProc CZkmorva10AUView::ListenerProc() const {
    return &AUView10_EventListenerDispatcher;
}

void AUView10_EventListenerDispatcher(void* refCon, void* object, const AudioUnitEvent* event,
                                      UInt64 hostTime, AudioUnitParameterValue value) {
    CZkmorvaAUView::Dispatch(refCon, object, event, hostTime, value);
}

std::unique_ptr<CZkmorvaAUView> CZkmorva10AUViewEntry(AudioUnit unit, void* pane) {
    return std::make_unique<CZkmorva10AUView>(unit, pane);
}
