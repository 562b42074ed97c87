#include "units/ValueTexts.h"

#include <algorithm>

namespace zk {

const char* FindValueText(std::span<const ValueTextRule> rules, AudioUnitParameterID id,
                          float value) {
    for (const ValueTextRule& rule : rules) {
        if (NamesParameter(rule, id) && rule.range.Contains(value)) {
            return rule.text;
        }
    }
    return nullptr;
}

bool HasValueTexts(std::span<const ValueTextRule> rules, AudioUnitParameterID id) {
    return std::any_of(rules.begin(), rules.end(),
                       [id](const ValueTextRule& r) { return NamesParameter(r, id); });
}

} // namespace zk
