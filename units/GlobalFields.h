#pragma once

#include "framework/Types.h"

#include <span>

// The global parameters both units pass to a plain field of their processor: a
// switch (on when the value is not 0) or a level gain (dB to factor).
namespace zk {

template <class Processor, class Field> struct GlobalField {
    AudioUnitParameterID id;
    Field Processor::*field;
};

// Sets the field a row names for this id, a gain through the unit's own dB
// conversion; false when no row names it.
template <class Processor, class ToFactor>
bool SetGlobalField(Processor& processor, std::span<const GlobalField<Processor, bool>> switches,
                    std::span<const GlobalField<Processor, double>> gains, AudioUnitParameterID id,
                    double value, ToFactor&& toFactor) {
    for (const auto& s : switches) {
        if (s.id == id) {
            processor.*s.field = value != 0.0;
            return true;
        }
    }
    for (const auto& g : gains) {
        if (g.id == id) {
            processor.*g.field = toFactor(value);
            return true;
        }
    }
    return false;
}

} // namespace zk
