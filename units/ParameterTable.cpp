#include "units/ParameterTable.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace zk {

const ParameterDef* FindParameter(std::span<const ParameterDef> table, AudioUnitParameterID id) {
    for (const ParameterDef& p : table) {
        if (p.id == id) {
            return &p;
        }
    }
    return nullptr;
}

const ParameterDef* FindParameter(std::span<const ParameterDef> table,
                                  std::string_view nameOrSymbol) {
    for (const ParameterDef& p : table) {
        if (nameOrSymbol == p.name && !nameOrSymbol.empty()) {
            return &p;
        }
    }
    auto sameIgnoringCase = [](std::string_view a, std::string_view b) {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
                   return std::tolower(static_cast<unsigned char>(x)) ==
                          std::tolower(static_cast<unsigned char>(y));
               });
    };
    for (const ParameterDef& p : table) {
        if (sameIgnoringCase(nameOrSymbol, p.symbol)) {
            return &p;
        }
    }
    return nullptr;
}

void FillParameterInfo(const ParameterDef& p, AudioUnitParameterInfo& info) {
    info = AudioUnitParameterInfo{};
    info.cfNameString = p.name;
    std::strncpy(info.name, p.name, sizeof(info.name) - 1);
    info.unit = p.unit;
    info.minValue = p.minValue;
    info.maxValue = p.maxValue;
    info.defaultValue = p.defaultValue;
    info.flags = p.flags;
}

} // namespace zk
