#pragma once

// Component registry and entries.
//
//   using CZkmorva10AUEntry = AUComponentEntry<CZkmorva10AU>;
//   CZkmorva10AUEntry::Register({MakeFourCC("aufx"), MakeFourCC("Zk10"), MakeFourCC("Vnqe")},
//                               "Zkmorva 10");
//   AudioUnitPtr unit = AUComponentRegistry::Open(desc);   // null when not registered
//   unit->SetSampleRateAndChannels(48000, 2, 2); unit->DoInitialize(); ...
//   unit.reset();                                          // PreDestructor, then delete
//
// Opening constructs the unit under the framework's global lock (T(nullptr)), sets its
// component description, then calls PostConstructor outside the lock. Closing calls
// PreDestructor (which uninitialises) and destroys the unit.

#include "framework/AUBase.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

// The framework's global lock (held while a unit is constructed).
std::recursive_mutex& ComponentGlobalLock();

struct AUCloser {
    void operator()(AUBase* unit) const {
        if (unit) {
            unit->PreDestructor();
            delete unit;
        }
    }
};
using AudioUnitPtr = std::unique_ptr<AUBase, AUCloser>;

class AUComponentRegistry {
public:
    using OpenFunction = AudioUnitPtr (*)(const AudioComponentDescription&);
    struct Entry {
        AudioComponentDescription description;
        std::string name;
        OpenFunction open;
    };
    // Registers (or replaces) the factory for a type/subtype/manufacturer triple.
    static void Register(const AudioComponentDescription& desc, std::string name,
                         OpenFunction open);
    // Opens a unit; null when no component matches.
    static AudioUnitPtr Open(const AudioComponentDescription& desc);
    static bool IsRegistered(const AudioComponentDescription& desc);
    static std::vector<Entry> List();
};

template <class T> struct AUComponentEntry {
    static AudioUnitPtr Open(const AudioComponentDescription& desc) {
        T* unit = nullptr;
        {
            std::lock_guard<std::recursive_mutex> g(ComponentGlobalLock());
            unit = new T(nullptr);
        }
        unit->SetComponentDescription(desc);
        unit->PostConstructor();
        return AudioUnitPtr(unit);
    }
    static void Close(AUBase* unit) { AUCloser{}(unit); }
    static void Register(const AudioComponentDescription& desc, std::string name) {
        AUComponentRegistry::Register(desc, std::move(name), &AUComponentEntry::Open);
    }
};
