#include "plugins/ui/AudioModuleRing.h"

#include "plugins/core/SpectrumTap.h"

#include <dlfcn.h>

namespace zkplug {

namespace {

constexpr std::string_view kUiSuffix = "_ui.so";
constexpr std::string_view kAudioSuffix = "_dsp.so";

std::string ThisModule() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&FindRingInProcess), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    return info.dli_fname;
}

} // namespace

std::string AudioModuleBeside(std::string_view uiModule) {
    const auto slash = uiModule.rfind('/');
    const std::string_view file = uiModule.substr(slash == std::string_view::npos ? 0 : slash + 1);
    if (file.size() <= kUiSuffix.size() || !file.ends_with(kUiSuffix)) {
        return {};
    }
    std::string path(uiModule.substr(0, uiModule.size() - kUiSuffix.size()));
    path += kAudioSuffix;
    return path;
}

SampleRing* FindRingInProcess(std::uint64_t token) {
    if (SampleRing* ring = SpectrumTap::FindRing(token)) {
        return ring;
    }
    static const std::string audioModule = AudioModuleBeside(ThisModule());
    if (audioModule.empty()) {
        return nullptr;
    }
    // RTLD_NOLOAD: only a module the host has loaded already; the reference
    // taken here is given back at once (the host's own keeps it loaded).
    void* module = dlopen(audioModule.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (module == nullptr) {
        return nullptr;
    }
    SampleRing* ring = nullptr;
    if (auto find = reinterpret_cast<FindRingFunction>(dlsym(module, kFindRingSymbol))) {
        ring = find(token);
    }
    dlclose(module);
    return ring;
}

} // namespace zkplug
