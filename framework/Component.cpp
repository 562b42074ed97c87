#include "framework/Component.h"

namespace {
std::mutex gRegistryMutex;
std::vector<AUComponentRegistry::Entry>& Registry() {
    static std::vector<AUComponentRegistry::Entry> entries;
    return entries;
}
} // namespace

std::recursive_mutex& ComponentGlobalLock() {
    static std::recursive_mutex lock;
    return lock;
}

void AUComponentRegistry::Register(const AudioComponentDescription& desc, std::string name,
                                   OpenFunction open) {
    std::lock_guard<std::mutex> g(gRegistryMutex);
    for (Entry& e : Registry()) {
        if (SameComponent(e.description, desc)) {
            e = Entry{desc, std::move(name), open};
            return;
        }
    }
    Registry().push_back(Entry{desc, std::move(name), open});
}

AudioUnitPtr AUComponentRegistry::Open(const AudioComponentDescription& desc) {
    OpenFunction open = nullptr;
    AudioComponentDescription registered{};
    {
        std::lock_guard<std::mutex> g(gRegistryMutex);
        for (const Entry& e : Registry()) {
            if (SameComponent(e.description, desc)) {
                open = e.open;
                registered = e.description;
                break;
            }
        }
    }
    return open ? open(registered) : AudioUnitPtr();
}

bool AUComponentRegistry::IsRegistered(const AudioComponentDescription& desc) {
    std::lock_guard<std::mutex> g(gRegistryMutex);
    for (const Entry& e : Registry()) {
        if (SameComponent(e.description, desc)) {
            return true;
        }
    }
    return false;
}

std::vector<AUComponentRegistry::Entry> AUComponentRegistry::List() {
    std::lock_guard<std::mutex> g(gRegistryMutex);
    return Registry();
}
