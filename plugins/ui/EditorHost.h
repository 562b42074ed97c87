#pragma once

// The body of a plug-in UI, without DPF: a remote unit, the unit's view component
// on it, and the mapping between the host's window (device pixels, a scale factor
// for HiDPI) and the editor's frame (frame pixels). The DPF UI forwards its calls
// here; tests drive it directly.
//
// Everything runs on the UI thread.

#include "editor/CZkmorvaAUView.h"
#include "plugins/ui/RemoteUnit.h"

#include <cairo.h>

#include <memory>

namespace zkplug {

// The window the editor lives in (DPF's UI in the plug-ins), in device pixels.
class EditorWindow {
public:
    virtual ~EditorWindow() = default;
    virtual void SetSize(unsigned width, unsigned height) = 0;
    virtual void Repaint(int x, int y, int width, int height) = 0;
};

class EditorHost {
public:
    using ViewEntry = std::unique_ptr<CZkmorvaAUView> (*)(AudioUnit unit, void* pane);

    EditorHost(const UnitDescriptor& descriptor, ViewEntry entry, RemoteHost& host,
               EditorWindow& window, double scale = 1.0);
    ~EditorHost();
    EditorHost(const EditorHost&) = delete;
    EditorHost& operator=(const EditorHost&) = delete;

    // The frame's size in device pixels at the current scale (0 before the UI).
    unsigned DeviceWidth() const;
    unsigned DeviceHeight() const;
    double Scale() const { return scale; }

    // Host -> UI.
    void ParameterChanged(std::uint32_t index, float value);
    void SampleRateChanged(double sampleRate);
    void StateChanged(const char* key, const char* value) { unit->HostStateChanged(key, value); }
    // A new scale factor: the window takes the frame's size at that scale.
    void ScaleChanged(double newScale);

    // The host's idle callback: sends the editor's edits and ticks the view (24 Hz).
    void Idle(double nowSeconds);
    // Paints the whole frame at the current scale into cr. The frame's picture is
    // kept between calls in a surface like cr's target (for an X11 window an image
    // the server reads from shared memory) and only what changed is drawn again:
    // DPF hands over a new, empty surface for every repaint, whatever its area.
    void Draw(cairo_t* cr);

    // Input in device pixels; buttons are the toolkit's flags. Each sends what
    // the editor changed on to the host before returning.
    bool MouseDown(double x, double y, long buttons, double timeMs);
    bool MouseMoved(double x, double y, long buttons);
    bool MouseUp(double x, double y, long buttons);
    bool Wheel(double x, double y, float distance, long buttons);
    bool KeyDown(VstKeyCode key);

    CPoint ToFrame(double x, double y) const;
    RemoteUnit& Unit() { return *unit; }
    CZkmorvaAUView& View() { return *view; }

private:
    unsigned ToDevice(CCoord frameLength) const;
    template <class Call> bool Input(Call&& call);

    struct SurfaceDestroyer {
        void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
    };

    const UnitDescriptor& descriptor;
    EditorWindow& window;
    double scale;
    std::unique_ptr<RemoteUnit> unit; // outlives the view, which listens to it
    std::unique_ptr<CZkmorvaAUView> view;
    std::unique_ptr<cairo_surface_t, SurfaceDestroyer> picture; // the frame as last drawn
    double pictureScale = 0.0;
    int pictureWidth = 0, pictureHeight = 0;
};

} // namespace zkplug
