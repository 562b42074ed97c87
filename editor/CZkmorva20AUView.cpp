#include "editor/CZkmorva20AUView.h"

#include "editor/CZkmorva20Editor.h"

std::unique_ptr<CZkmorvaEditor> CZkmorva20AUView::CreateEditor(AudioUnit unit) {
    return std::make_unique<CZkmorva20Editor>(unit);
}

void CZkmorva20AUView::ShowAutoListen(bool on, int band) {
    if (auto* editor = static_cast<CZkmorva20Editor*>(GetEditor())) {
        editor->DrawAutoListen(on, band);
    }
}

AUEventListenerProc CZkmorva20AUView::ListenerProc() const {
    return &AUView20_EventListenerDispatcher;
}

void AUView20_EventListenerDispatcher(void* refCon, void* object, const AudioUnitEvent* event,
                                      UInt64 hostTime, AudioUnitParameterValue value) {
    CZkmorvaAUView::Dispatch(refCon, object, event, hostTime, value);
}

std::unique_ptr<CZkmorvaAUView> CZkmorva20AUViewEntry(AudioUnit unit, void* pane) {
    return std::make_unique<CZkmorva20AUView>(unit, pane);
}
