#pragma once

#include "widgets/CFrame.h"

#include <memory>

// Base of an editor: owns the frame while open, gets idle ticks from the
// platform adapter, and hears the begin/end of every control gesture by tag.
class AEffGUIEditor {
public:
    explicit AEffGUIEditor(void* effect = nullptr);
    virtual ~AEffGUIEditor();
    AEffGUIEditor(const AEffGUIEditor&) = delete;
    AEffGUIEditor& operator=(const AEffGUIEditor&) = delete;

    // parent: the platform's window handle, kept for the frame.
    virtual bool open(void* parent);
    // Destroys the frame and with it every view.
    virtual void close();
    // Timer tick: lets the frame ask for a repaint of what changed.
    virtual void idle();
    virtual void beginEdit(long /*index*/) {}
    virtual void endEdit(long /*index*/) {}
    virtual void setParameter(long /*index*/, float /*value*/) {}

    // Runs idle() at most once per idle interval (100 ms by default), whatever
    // the rate it is called at; mouse loops and timers call it. nowMs < 0 reads
    // the steady clock.
    void doIdleStuff(double nowMs = -1.0);
    void setIdleInterval(double ms) { idleInterval = ms; }

    CFrame* getFrame() const { return frame.get(); }
    const CRect& getRect() const { return rect; }
    void* getEffect() const { return effect; }
    void* getSystemWindow() const { return systemWindow; }
    int getKnobMode() const { return knobMode; }
    void setKnobMode(int mode) { knobMode = mode; }

protected:
    void* effect;
    void* systemWindow = nullptr;
    std::unique_ptr<CFrame> frame;
    CRect rect;
    int knobMode = kCircularMode;
    double idleInterval = 100.0;
    double lastIdle = -1e12;
};
