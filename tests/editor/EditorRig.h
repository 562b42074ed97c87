#pragma once

// An editor as a host shows it: a unit driven by UnitHost, its view component
// with the UI created, input through the frame's dispatchers and pictures of
// the frame in off-screen images.
#include "support/UnitHost.h"

#include "editor/CVuMeterEX.h"
#include "editor/CZkmorva10AUView.h"
#include "editor/CZkmorva10Editor.h"
#include "editor/CZkmorva20AUView.h"
#include "editor/CZkmorva20Editor.h"
#include "editor/UrlOpener.h"
#include "framework/AUBase.h"
#include "resources/SkinIds.h"
#include "resources/SkinTable.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"
#include "widgets/CDrawContext.h"
#include "widgets/CFrame.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace zktest {

template <class View, class Editor> struct EditorRig {
    explicit EditorRig(AudioUnitPtr unit, double rate = 44100.0)
        : host(std::move(unit), rate, 2), view(std::make_unique<View>(&host.Unit())) {
        view->SetResizeCallback([this](CCoord w, CCoord h) { resizes.push_back({w, h}); });
        view->CreateUI();
        editor = static_cast<Editor*>(view->GetEditor());
        frame = view->GetFrame();
    }
    ~EditorRig() { view.reset(); } // before the unit goes

    float Param(AudioUnitParameterID id) { return host.Get(id); }
    std::vector<float> AllParams(AudioUnitParameterID count) {
        std::vector<float> values;
        for (AudioUnitParameterID id = 0; id < count; ++id) {
            values.push_back(Param(id));
        }
        return values;
    }

    static CPoint Centre(const CRect& r) {
        return {(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    }
    void Click(CPoint where, long buttons = kLButton) {
        frame->dispatchMouseDown(where, buttons, clock += 1000.0);
        frame->dispatchMouseUp(where, buttons & ~kLButton);
    }
    // Press, move by (dx, dy) in steps, release.
    void Drag(CPoint from, CCoord dx, CCoord dy, long buttons = kLButton) {
        frame->dispatchMouseDown(from, buttons, clock += 1000.0);
        for (int i = 1; i <= 4; ++i) {
            frame->dispatchMouseMoved(CPoint(from.h + dx * i / 4, from.v + dy * i / 4), buttons);
        }
        frame->dispatchMouseUp(CPoint(from.h + dx, from.v + dy), 0);
    }
    // Opens a text box with a click and types text, then Return.
    void Type(const CRect& box, const std::string& text) {
        Click(Centre(box));
        for (unsigned char c : text) {
            VstKeyCode key;
            key.character = c;
            frame->dispatchKeyDown(key);
        }
        VstKeyCode enter;
        enter.virt = VKEY_RETURN;
        frame->dispatchKeyDown(enter);
    }

    // The frame as drawn now, at a device scale.
    std::unique_ptr<COffscreenContext> Picture(double scale = 1.0) { return view->Picture(scale); }

    UnitHost host;
    std::unique_ptr<View> view;
    Editor* editor = nullptr;
    CFrame* frame = nullptr;
    std::vector<std::pair<CCoord, CCoord>> resizes;
    double clock = 0.0;
};

using Rig10 = EditorRig<CZkmorva10AUView, CZkmorva10Editor>;
using Rig20 = EditorRig<CZkmorva20AUView, CZkmorva20Editor>;

inline std::unique_ptr<Rig10> MakeRig10(double rate = 44100.0) {
    skin::installSkin();
    return std::make_unique<Rig10>(OpenZkmorva10(), rate);
}
inline std::unique_ptr<Rig20> MakeRig20(double rate = 44100.0) {
    skin::installSkin();
    return std::make_unique<Rig20>(OpenZkmorva20(), rate);
}

// Enough differing pixels in rect to say something of its own is drawn there.
inline int DrawnThreshold(const CRect& rect) {
    return std::max(8, rect.width() * rect.height() / 40);
}

// Pixels of rect that differ (any channel by more than 24) between two images.
inline int DifferentPixels(const COffscreenContext& a, const COffscreenContext& b,
                           const CRect& rect) {
    int count = 0;
    for (int y = rect.top; y < rect.bottom; ++y) {
        for (int x = rect.left; x < rect.right; ++x) {
            const CColor p = a.getPixel(x, y);
            const CColor q = b.getPixel(x, y);
            if (std::abs(p.red - q.red) > 24 || std::abs(p.green - q.green) > 24 ||
                std::abs(p.blue - q.blue) > 24) {
                ++count;
            }
        }
    }
    return count;
}

// The bare background bitmap at the frame's size.
inline std::unique_ptr<COffscreenContext> Background(int bitmapId, CCoord width, CCoord height) {
    auto image = std::make_unique<COffscreenContext>(width, height);
    CBitmap bitmap(bitmapId);
    bitmap.draw(image.get(), CRect(0, 0, bitmap.getWidth(), bitmap.getHeight()));
    return image;
}

// Captures the addresses the help pages open, for the life of the object.
struct CapturedUrls {
    CapturedUrls() {
        zkeditor::SetUrlOpener([this](const std::string& url) { urls.push_back(url); });
    }
    ~CapturedUrls() { zkeditor::SetUrlOpener({}); }
    std::vector<std::string> urls;
};

// Gesture events of a unit, as "begin 11" / "end 11".
struct GestureRecorder {
    explicit GestureRecorder(AudioUnit unit, AudioUnitParameterID last) {
        AUEventListenerCreate(&GestureRecorder::Record, this, loop.get(), kCFRunLoopDefaultMode,
                              0.05f, 0.05f, &listener);
        for (AudioUnitParameterID id = 0; id <= last; ++id) {
            for (AudioUnitEventType type : {kAudioUnitEvent_BeginParameterChangeGesture,
                                            kAudioUnitEvent_EndParameterChangeGesture}) {
                AudioUnitEvent e;
                e.mEventType = type;
                e.mArgument.mParameter = {unit, id, kAudioUnitScope_Global, 0};
                AUEventListenerAddEventType(listener, nullptr, &e);
            }
        }
    }
    ~GestureRecorder() { AUListenerDispose(listener); }
    static void Record(void* self, void*, const AudioUnitEvent* e, UInt64, float) {
        const bool begin = e->mEventType == kAudioUnitEvent_BeginParameterChangeGesture;
        static_cast<GestureRecorder*>(self)->events.push_back(
            (begin ? "begin " : "end ") + std::to_string(e->mArgument.mParameter.mParameterID));
    }
    std::vector<std::string> Take() {
        loop->Pump();
        return std::exchange(events, {});
    }
    std::shared_ptr<CFRunLoop> loop = CFRunLoop::CreatePumped();
    AUEventListenerRef listener = nullptr;
    std::vector<std::string> events;
};

} // namespace zktest
