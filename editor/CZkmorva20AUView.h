#pragma once

#include "editor/CZkmorvaAUView.h"

// The two-channel EQ's view: CZkmorva20Editor, listening to parameters 0..99
// (the meters 100..107 are polled; the panel state 108 is the editor's own).
class CZkmorva20AUView : public CZkmorvaAUView {
public:
    static constexpr AudioUnitParameterID kLastListened = 99;
    using CZkmorvaAUView::CZkmorvaAUView;

protected:
    std::unique_ptr<CZkmorvaEditor> CreateEditor(AudioUnit unit) override;
    AudioUnitParameterID LastListenedParameter() const override { return kLastListened; }
    AUEventListenerProc ListenerProc() const override;
    void ShowAutoListen(bool on, int band) override;
};

// The listener callback of CZkmorva20AUView.
void AUView20_EventListenerDispatcher(void* refCon, void* object, const AudioUnitEvent* event,
                                      UInt64 hostTime, AudioUnitParameterValue value);

// Entry of the view component: a view for a unit, UI not yet created.
std::unique_ptr<CZkmorvaAUView> CZkmorva20AUViewEntry(AudioUnit unit, void* pane = nullptr);
