#include "widgets/AEffGUIEditor.h"

#include <chrono>

AEffGUIEditor::AEffGUIEditor(void* effect_) : effect(effect_) {}

AEffGUIEditor::~AEffGUIEditor() = default;

bool AEffGUIEditor::open(void* parent) {
    systemWindow = parent;
    return true;
}

void AEffGUIEditor::close() {
    frame.reset();
    systemWindow = nullptr;
}

void AEffGUIEditor::idle() {
    if (frame) {
        frame->idle();
    }
}

void AEffGUIEditor::doIdleStuff(double nowMs) {
    if (nowMs < 0.0) {
        using namespace std::chrono;
        nowMs = duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
    }
    if (nowMs - lastIdle < idleInterval) {
        return;
    }
    lastIdle = nowMs;
    idle();
}
