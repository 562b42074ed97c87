#pragma once

// Mouse-button and modifier flags carried by every mouse and wheel event.
enum CButtonState : long {
    kLButton = 1,
    kMButton = 2,
    kRButton = 4,
    kShift = 8,
    kControl = 16,
    kAlt = 32,
    kApple = 64,
    kDoubleClick = 256,
};

// Any keyboard modifier among the flags above.
inline constexpr long kModifierMask = kShift | kControl | kAlt | kApple;

// Result of a mouse-down: whether the view wants the following moves and the up.
enum CMouseEventResult {
    kMouseEventNotHandled = 0,
    kMouseEventHandled, // captured: moves and up go to this view
    kMouseDownEventHandledButDontNeedMovedOrUpEvents,
};

// Virtual key codes of a key event; printable keys carry their character instead.
enum VirtualKeyCodes : unsigned char {
    VKEY_NONE = 0,
    VKEY_BACK = 1,
    VKEY_TAB,
    VKEY_CLEAR,
    VKEY_RETURN,
    VKEY_PAUSE,
    VKEY_ESCAPE,
    VKEY_SPACE,
    VKEY_NEXT,
    VKEY_END,
    VKEY_HOME,
    VKEY_LEFT,
    VKEY_UP,
    VKEY_RIGHT,
    VKEY_DOWN,
    VKEY_PAGEUP,
    VKEY_PAGEDOWN,
    VKEY_SELECT,
    VKEY_PRINT,
    VKEY_ENTER,
    VKEY_SNAPSHOT,
    VKEY_INSERT,
    VKEY_DELETE,
};

// Key modifiers of a key event.
enum VstModifierKey : unsigned char {
    MODIFIER_SHIFT = 1 << 0,
    MODIFIER_ALTERNATE = 1 << 1,
    MODIFIER_COMMAND = 1 << 2,
    MODIFIER_CONTROL = 1 << 3,
};

struct VstKeyCode {
    long character = 0; // Unicode code point of a printable key, else 0
    unsigned char virt = VKEY_NONE;
    unsigned char modifier = 0;
};

// Knob drag modes of the frame.
enum CKnobMode {
    kCircularMode = 0,
    kRelativCircularMode = 1,
    kLinearMode = 2,
};
