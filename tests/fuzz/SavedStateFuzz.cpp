// libFuzzer target: any bytes as a saved-state document, restored into both
// units. A refused document leaves the unit exactly as it was; an accepted one
// leaves every parameter finite and within its range.
#include "framework/PropertyList.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva20AU.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void Check(AUBase& unit, std::span<const zk::ParameterDef> table, std::string_view doc) {
    const std::string before = unit.SaveState();
    std::string error;
    if (unit.RestoreState(doc, &error) != noErr) {
        if (error.empty() || unit.SaveState() != before) {
            std::abort(); // refused without a reason, or half applied
        }
        return;
    }
    for (const zk::ParameterDef& p : table) {
        AudioUnitParameterValue v = 0.0f;
        unit.PeekParameter(kAudioUnitScope_Global, 0, p.id, v);
        if (!std::isfinite(v) || v < p.minValue || v > p.maxValue) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static AudioUnitPtr z10 = OpenZkmorva10();
    static AudioUnitPtr z20 = OpenZkmorva20();
    const std::string_view doc(reinterpret_cast<const char*>(data), size);
    zkfw::plist::Value value;
    std::string error;
    zkfw::plist::Parse(doc, value, &error);
    Check(*z10, zk::kZkmorva10Parameters, doc);
    Check(*z20, zk::kZkmorva20Parameters, doc);
    return 0;
}
