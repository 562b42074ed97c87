#include "plugins/core/HostParameters.h"

#include <algorithm>
#include <cmath>

namespace zkplug {

namespace {

void AddScalePoint(std::vector<ScalePoint>& points, float value, std::string label) {
    // The first text found for a value wins, as when the unit formats it.
    const bool known = std::any_of(points.begin(), points.end(),
                                   [&](const ScalePoint& s) { return s.value == value; });
    if (!known) {
        points.push_back({value, std::move(label)});
    }
}

} // namespace

bool IsValidSymbol(const std::string& s) {
    if (s.empty() || std::isdigit(static_cast<unsigned char>(s[0]))) {
        return false;
    }
    return std::all_of(s.begin(), s.end(), [](char c) {
        return c == '_' || std::isalnum(static_cast<unsigned char>(c));
    });
}

std::vector<HostParameter> DescribeParameters(AUBase& unit, const UnitDescriptor& descriptor) {
    const std::span<const zk::ParameterDef> table = descriptor.parameters;
    const std::span<const zk::ValueTextRule> texts = descriptor.valueTexts;
    std::vector<HostParameter> out;
    out.reserve(table.size());
    for (const zk::ParameterDef& p : table) {
        HostParameter h;
        h.id = p.id;
        h.symbol = p.symbol;
        h.name = (p.name != nullptr && p.name[0] != '\0') ? p.name : p.symbol;
        h.unitLabel = zk::LabelOf(p.unit).suffix;
        h.minValue = p.minValue;
        h.maxValue = p.maxValue;
        h.defaultValue = p.defaultValue;
        h.output = zk::IsMeter(p) || (descriptor.isMeter != nullptr && descriptor.isMeter(p.id));
        h.automatable = zk::IsAutomatable(p) && !h.output && p.id != descriptor.panelState;
        h.boolean = p.unit == kAudioUnitParameterUnit_Boolean;
        h.integer = h.boolean || p.unit == kAudioUnitParameterUnit_Indexed;
        // A logarithmic scale needs a positive range.
        h.logarithmic =
            (p.flags & kAudioUnitParameterFlag_DisplayLogarithmic) != 0 && p.minValue > 0.0f;

        if (p.unit == kAudioUnitParameterUnit_Indexed) {
            std::vector<std::string> strings;
            if (unit.GetParameterValueStrings(kAudioUnitScope_Global, p.id, &strings) == noErr &&
                !strings.empty()) {
                for (std::size_t i = 0; i < strings.size(); ++i) {
                    const float v = p.minValue + static_cast<float>(i);
                    if (v <= p.maxValue) {
                        AddScalePoint(h.scalePoints, v, strings[i]);
                    }
                }
                h.enumeration = h.scalePoints.size() >= 2;
            }
        }
        for (const zk::ValueTextRule& rule : texts) {
            if (!zk::NamesParameter(rule, p.id)) {
                continue;
            }
            AddScalePoint(h.scalePoints, rule.value, rule.text);
        }
        std::sort(h.scalePoints.begin(), h.scalePoints.end(),
                  [](const ScalePoint& a, const ScalePoint& b) { return a.value < b.value; });
        out.push_back(std::move(h));
    }
    return out;
}

} // namespace zkplug
