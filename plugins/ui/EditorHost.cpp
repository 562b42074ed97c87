#include "plugins/ui/EditorHost.h"

#include <algorithm>
#include <cmath>

namespace zkplug {

namespace {

double ValidScale(double scale) {
    return std::isfinite(scale) && scale >= 1.0 ? scale : 1.0;
}

} // namespace

EditorHost::EditorHost(const UnitDescriptor& d, ViewEntry entry, RemoteHost& host, EditorWindow& w,
                       double s)
    : descriptor(d), window(w), scale(ValidScale(s)), unit(std::make_unique<RemoteUnit>(d, host)) {
    view = entry(unit.get(), nullptr);
    view->SetResizeCallback(
        [this](CCoord width, CCoord height) { window.SetSize(ToDevice(width), ToDevice(height)); });
    view->CreateUI();
    if (CFrame* frame = view->GetFrame()) {
        frame->setInvalidateCallback([this](const CRect& r) {
            // Whole device pixels around the frame's area.
            const int left = static_cast<int>(std::floor(r.left * scale));
            const int top = static_cast<int>(std::floor(r.top * scale));
            const int right = static_cast<int>(std::ceil(r.right * scale));
            const int bottom = static_cast<int>(std::ceil(r.bottom * scale));
            window.Repaint(left, top, right - left, bottom - top);
        });
    }
}

EditorHost::~EditorHost() {
    view.reset();
    unit.reset();
}

unsigned EditorHost::ToDevice(CCoord frameLength) const {
    return static_cast<unsigned>(std::ceil(frameLength * scale));
}

unsigned EditorHost::DeviceWidth() const {
    return ToDevice(view->GetWidth());
}

unsigned EditorHost::DeviceHeight() const {
    return ToDevice(view->GetHeight());
}

CPoint EditorHost::ToFrame(double x, double y) const {
    return CPoint(static_cast<CCoord>(std::floor(x / scale)),
                  static_cast<CCoord>(std::floor(y / scale)));
}

void EditorHost::ParameterChanged(std::uint32_t index, float value) {
    // The view does not listen to the panel state (the editor's own business);
    // a host that restores it still folds the panel.
    const AudioUnitParameterID panel = descriptor.panelState;
    const auto panelIndex = unit->IndexOf(panel);
    AudioUnitParameterValue before = 0.f;
    unit->PeekParameter(kAudioUnitScope_Global, 0, panel, before);
    unit->HostParameterChanged(index, value);
    AudioUnitParameterValue after = before;
    unit->PeekParameter(kAudioUnitScope_Global, 0, panel, after);
    if (panelIndex && index == *panelIndex && after != before) {
        view->SetParameterInEditor(panel);
    }
}

void EditorHost::SampleRateChanged(double sampleRate) {
    unit->SetHostSampleRate(sampleRate);
}

void EditorHost::ScaleChanged(double newScale) {
    scale = ValidScale(newScale);
    window.SetSize(DeviceWidth(), DeviceHeight());
    window.Repaint(0, 0, static_cast<int>(DeviceWidth()), static_cast<int>(DeviceHeight()));
}

void EditorHost::Idle(double nowSeconds) {
    unit->Pump();
    if (view->TickIfDue(nowSeconds)) {
        unit->Pump();
    }
}

void EditorHost::Draw(cairo_t* cr) {
    if (cr == nullptr || cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
        return;
    }
    const auto width = static_cast<int>(DeviceWidth());
    const auto height = static_cast<int>(DeviceHeight());
    if (width <= 0 || height <= 0) {
        return;
    }
    bool whole = false;
    if (!picture || pictureScale != scale || pictureWidth != width || pictureHeight != height) {
        picture.reset(cairo_surface_create_similar_image(cairo_get_target(cr), CAIRO_FORMAT_ARGB32,
                                                         width, height));
        pictureScale = scale;
        pictureWidth = width;
        pictureHeight = height;
        whole = true;
    }
    if (cairo_surface_status(picture.get()) != CAIRO_STATUS_SUCCESS) {
        picture.reset();
        view->Draw(cr, scale); // no picture to keep: the whole frame, every time
        return;
    }
    cairo_t* own = cairo_create(picture.get());
    if (whole) {
        view->Draw(own, scale);
    } else {
        view->DrawDirty(own, scale);
    }
    cairo_destroy(own);
    cairo_save(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, picture.get(), 0, 0);
    cairo_paint(cr);
    cairo_restore(cr);
}

template <class Call> bool EditorHost::Input(Call&& call) {
    const bool taken = call();
    unit->Pump();
    return taken;
}

bool EditorHost::MouseDown(double x, double y, long buttons, double timeMs) {
    return Input([&] { return view->MouseDown(ToFrame(x, y), buttons, timeMs); });
}

bool EditorHost::MouseMoved(double x, double y, long buttons) {
    return Input([&] { return view->MouseMoved(ToFrame(x, y), buttons); });
}

bool EditorHost::MouseUp(double x, double y, long buttons) {
    return Input([&] { return view->MouseUp(ToFrame(x, y), buttons); });
}

bool EditorHost::Wheel(double x, double y, float distance, long buttons) {
    return Input([&] { return view->Wheel(ToFrame(x, y), distance, buttons); });
}

bool EditorHost::KeyDown(VstKeyCode key) {
    return Input([&] { return view->KeyDown(key); });
}

} // namespace zkplug
