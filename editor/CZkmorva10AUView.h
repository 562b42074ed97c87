#pragma once

#include "editor/CZkmorvaAUView.h"

// The channel EQ's view: CZkmorva10Editor, listening to parameters 0..37 (the
// meters 38, 39 are polled; the panel state 40 is the editor's own business).
class CZkmorva10AUView : public CZkmorvaAUView {
public:
    static constexpr AudioUnitParameterID kLastListened = 37;
    using CZkmorvaAUView::CZkmorvaAUView;

protected:
    std::unique_ptr<CZkmorvaEditor> CreateEditor(AudioUnit unit) override;
    AudioUnitParameterID LastListenedParameter() const override { return kLastListened; }
    AUEventListenerProc ListenerProc() const override;
    void ShowAutoListen(bool on, int band) override;
};

// The listener callback of CZkmorva10AUView.
void AUView10_EventListenerDispatcher(void* refCon, void* object, const AudioUnitEvent* event,
                                      UInt64 hostTime, AudioUnitParameterValue value);

// Entry of the view component: a view for a unit, UI not yet created.
std::unique_ptr<CZkmorvaAUView> CZkmorva10AUViewEntry(AudioUnit unit, void* pane = nullptr);
