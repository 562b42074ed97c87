#include "plugins/core/UnitDescriptor.h"

#include "units/Zkmorva10AU.h"

namespace zkplug {

// Zkmorva 10 runs one chain over every channel, so the mono and the stereo
// plug-in wrap the same unit with a different bus width.
const UnitDescriptor& Zkmorva10Mono() {
    static const UnitDescriptor d{&OpenZkmorva10, 1, zk::kZkmorva10Parameters,
                                  zk::kZkmorva10ValueTexts};
    return d;
}

const UnitDescriptor& Zkmorva10Stereo() {
    static const UnitDescriptor d{&OpenZkmorva10, 2, zk::kZkmorva10Parameters,
                                  zk::kZkmorva10ValueTexts};
    return d;
}

} // namespace zkplug
