// libFuzzer target: any text as typed into the editors' text boxes and as given
// to the renderer for every parameter of both units. Typed numbers are read
// without a crash; the renderer either refuses with a message naming the
// parameter or returns a value inside the parameter's range.
#include "cli/CliError.h"
#include "cli/ValueFormat.h"
#include "editor/ParseStrings.h"
#include "units/Zkmorva10Parameters.h"
#include "units/Zkmorva20Parameters.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

// One parameter per input (chosen by the first byte), so that each run is quick.
void Renderer(const zk::ParameterDef& def, std::span<const zk::ValueTextRule> texts,
              std::string_view text) {
    static const std::vector<std::string> modes(std::begin(zk::kAutoListenModeNames),
                                                std::end(zk::kAutoListenModeNames));
    const bool indexed = def.unit == kAudioUnitParameterUnit_Indexed;
    const zkcli::ValueContext context{
        def, indexed ? std::span<const std::string>(modes) : std::span<const std::string>(), texts};
    try {
        const float v = zkcli::ParseValue(context, text);
        if (!std::isfinite(v) || v < def.minValue || v > def.maxValue) {
            std::abort();
        }
    } catch (const zkcli::CliError& e) {
        if (std::string_view(e.what()).find(def.name) == std::string_view::npos) {
            std::abort(); // the message must name the parameter
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t pick = data[0];
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const double typed = zkeditor::ReadTypedNumber(text);
    for (float (*law)(double) : {zkeditor::TypedDb, zkeditor::TypedDbEq, zkeditor::TypedQuality,
                                 zkeditor::TypedQualityHiLoPass, zkeditor::TypedQualityShelv,
                                 zkeditor::TypedFrequency20_1000, zkeditor::TypedFrequency20_26000,
                                 zkeditor::TypedFrequency400_26000, zkeditor::TypedFrequency40_200,
                                 zkeditor::TypedFrequency8000_20000, zkeditor::TypedPercentStWi}) {
        law(typed);
    }
    zkcli::ParseNumber(text);
    Renderer(zk::kZkmorva10Parameters[pick % zk::kZkmorva10Parameters.size()],
             zk::kZkmorva10ValueTexts, text);
    Renderer(zk::kZkmorva20Parameters[pick % zk::kZkmorva20Parameters.size()],
             zk::kZkmorva20ValueTexts, text);
    return 0;
}
