#include "plugins/core/UnitDescriptor.h"

#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"

namespace zkplug {

// Zkmorva 10 runs one chain over every channel, so the mono and the stereo
// plug-in wrap the same unit with a different bus width.
const UnitDescriptor& Zkmorva10Mono() {
    static const UnitDescriptor d{&OpenZkmorva10,           1,       zk::kZkmorva10Parameters,
                                  zk::kZkmorva10ValueTexts, nullptr, zk::kZ10HidePanel};
    return d;
}

const UnitDescriptor& Zkmorva10Stereo() {
    static const UnitDescriptor d{&OpenZkmorva10,           2,       zk::kZkmorva10Parameters,
                                  zk::kZkmorva10ValueTexts, nullptr, zk::kZ10HidePanel};
    return d;
}

// Zkmorva 20's table marks every parameter writable, meters included.
const UnitDescriptor& Zkmorva20() {
    static const UnitDescriptor d{&OpenZkmorva20,
                                  2,
                                  zk::kZkmorva20Parameters,
                                  zk::kZkmorva20ValueTexts,
                                  [](AudioUnitParameterID id) { return zk::IsZkmorva20Meter(id); },
                                  zk::kZ20HidePanel};
    return d;
}

} // namespace zkplug
