// The DPF UI of one unit: a thin adapter from DPF's UI (Cairo) to EditorHost,
// which hosts the unit's view component on a remote unit. DPF's events arrive in
// device pixels; the editor's frame is drawn at DPF's scale factor.

#include "DistrhoUI.hpp"
#include "editor/CZkmorva10AUView.h"
#include "editor/CZkmorva20AUView.h"
#include "plugins/core/EditorLink.h"
#include "plugins/core/UnitDescriptor.h"
#include "plugins/ui/EditorHost.h"

#include <algorithm>
#include <chrono>

START_NAMESPACE_DISTRHO

namespace {

long ToolkitModifiers(uint mod) {
    long flags = 0;
    if (mod & kModifierShift) {
        flags |= kShift;
    }
    if (mod & kModifierControl) {
        flags |= kControl;
    }
    if (mod & kModifierAlt) {
        flags |= kAlt;
    }
    return flags;
}

long ToolkitButton(uint button) {
    switch (button) {
    case kMouseButtonLeft:
        return kLButton;
    case kMouseButtonRight:
        return kRButton;
    case kMouseButtonMiddle:
        return kMButton;
    default:
        return 0;
    }
}

unsigned char KeyModifiers(uint mod) {
    unsigned char flags = 0;
    if (mod & kModifierShift) {
        flags |= MODIFIER_SHIFT;
    }
    if (mod & kModifierControl) {
        flags |= MODIFIER_CONTROL;
    }
    if (mod & kModifierAlt) {
        flags |= MODIFIER_ALTERNATE;
    }
    if (mod & kModifierSuper) {
        flags |= MODIFIER_COMMAND;
    }
    return flags;
}

// Keys without a character of their own; printable ones come as character input.
unsigned char VirtualKey(uint key) {
    switch (key) {
    case kKeyBackspace:
        return VKEY_BACK;
    case '\t':
        return VKEY_TAB;
    case '\r':
    case '\n':
        return VKEY_RETURN;
    case kKeyEscape:
        return VKEY_ESCAPE;
    case kKeyDelete:
        return VKEY_DELETE;
    case kKeyLeft:
        return VKEY_LEFT;
    case kKeyUp:
        return VKEY_UP;
    case kKeyRight:
        return VKEY_RIGHT;
    case kKeyDown:
        return VKEY_DOWN;
    case kKeyPageUp:
        return VKEY_PAGEUP;
    case kKeyPageDown:
        return VKEY_PAGEDOWN;
    case kKeyHome:
        return VKEY_HOME;
    case kKeyEnd:
        return VKEY_END;
    case kKeyInsert:
        return VKEY_INSERT;
    default:
        return VKEY_NONE;
    }
}

double NowSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

class UnitUI : public UI, zkplug::RemoteHost, zkplug::EditorWindow {
public:
    UnitUI()
        : UI(DISTRHO_UI_DEFAULT_WIDTH, DISTRHO_UI_DEFAULT_HEIGHT),
          editor(zkplug::ZK_PLUGIN_UNIT(), &ZK_PLUGIN_VIEW, *this, *this, getScaleFactor()) {
        editor.SampleRateChanged(getSampleRate());
    }

protected:
    // --- host -> editor
    void parameterChanged(uint32_t index, float value) override {
        editor.ParameterChanged(index, value);
    }
    void stateChanged(const char* key, const char* value) override {
        editor.StateChanged(key, value);
    }
    void sampleRateChanged(double rate) override { editor.SampleRateChanged(rate); }
    void uiScaleFactorChanged(double scale) override { editor.ScaleChanged(scale); }
    void uiIdle() override { editor.Idle(NowSeconds()); }

    void onCairoDisplay(const CairoGraphicsContext& context) override {
        editor.Draw(context.handle);
    }

    // --- input
    bool onMouse(const MouseEvent& ev) override {
        const long button = ToolkitButton(ev.button);
        const long mods = ToolkitModifiers(ev.mod);
        if (ev.press) {
            held |= button;
            return editor.MouseDown(ev.pos.getX(), ev.pos.getY(), held | mods, ev.time);
        }
        const bool taken = editor.MouseUp(ev.pos.getX(), ev.pos.getY(), held | mods);
        held &= ~button;
        return taken;
    }
    bool onMotion(const MotionEvent& ev) override {
        return editor.MouseMoved(ev.pos.getX(), ev.pos.getY(), held | ToolkitModifiers(ev.mod));
    }
    bool onScroll(const ScrollEvent& ev) override {
        return editor.Wheel(ev.pos.getX(), ev.pos.getY(), static_cast<float>(ev.delta.getY()),
                            held | ToolkitModifiers(ev.mod));
    }
    bool onKeyboard(const KeyboardEvent& ev) override {
        const unsigned char virt = VirtualKey(ev.key);
        if (!ev.press || virt == VKEY_NONE) {
            return false;
        }
        VstKeyCode key;
        key.virt = virt;
        key.modifier = KeyModifiers(ev.mod);
        return editor.KeyDown(key);
    }
    bool onCharacterInput(const CharacterInputEvent& ev) override {
        if (ev.character < 0x20 || ev.character == 0x7F) {
            return false; // control characters arrive as keys
        }
        VstKeyCode key;
        key.character = static_cast<long>(ev.character);
        key.modifier = KeyModifiers(ev.mod);
        return editor.KeyDown(key);
    }

private:
    // --- editor -> host (RemoteHost)
    void SetParameterValue(uint32_t index, float value) override {
        setParameterValue(index, value);
    }
    void EditParameter(uint32_t index, bool started) override { editParameter(index, started); }
    void SendEditorEvent(const std::string& message) override {
        setState(zkplug::kEditorEventKey, message.c_str());
    }
    void SendState(const char* key, const std::string& value) override {
        setState(key, value.c_str());
    }

    // --- EditorWindow
    void SetSize(unsigned width, unsigned height) override {
        if (width > 0 && height > 0 && (width != getWidth() || height != getHeight())) {
            setSize(width, height);
        }
    }
    void Repaint(int x, int y, int width, int height) override {
        const int left = std::max(x, 0);
        const int top = std::max(y, 0);
        const int right = std::min(x + width, static_cast<int>(getWidth()));
        const int bottom = std::min(y + height, static_cast<int>(getHeight()));
        if (right > left && bottom > top) {
            repaint(Rectangle<uint>(left, top, right - left, bottom - top));
        }
    }

    long held = 0; // mouse buttons down, as toolkit flags
    zkplug::EditorHost editor;
};

} // namespace

UI* createUI() {
    return new UnitUI();
}

END_NAMESPACE_DISTRHO
