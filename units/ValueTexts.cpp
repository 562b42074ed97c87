#include "units/ValueTexts.h"

#include <algorithm>

namespace zk {

namespace {
bool Names(const ValueTextRule& rule, AudioUnitParameterID id) {
    return std::find(rule.ids.begin(), rule.ids.end(), id) != rule.ids.end();
}
} // namespace

const char* FindValueText(std::span<const ValueTextRule> rules, AudioUnitParameterID id,
                          float value) {
    for (const ValueTextRule& rule : rules) {
        if (Names(rule, id) && rule.range.Contains(value)) {
            return rule.text;
        }
    }
    return nullptr;
}

bool HasValueTexts(std::span<const ValueTextRule> rules, AudioUnitParameterID id) {
    return std::any_of(rules.begin(), rules.end(),
                       [id](const ValueTextRule& r) { return Names(r, id); });
}

} // namespace zk
