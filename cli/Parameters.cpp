#include "cli/Parameters.h"

#include "cli/CliError.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace zkcli {

ParameterCatalog::ParameterCatalog(const UnitKind& kind, AUBase& unit) : kind(kind) {
    valueStrings.resize(kind.parameters.size());
    for (std::size_t i = 0; i < kind.parameters.size(); ++i) {
        std::vector<std::string> strings;
        if (unit.GetParameterValueStrings(kAudioUnitScope_Global, kind.parameters[i].id,
                                          &strings) == noErr) {
            valueStrings[i] = std::move(strings);
        }
    }
}

const std::vector<std::string>& ParameterCatalog::ValueStrings(const zk::ParameterDef& def) const {
    return valueStrings[static_cast<std::size_t>(&def - kind.parameters.data())];
}

ValueContext ParameterCatalog::Context(const zk::ParameterDef& def) const {
    return {def, ValueStrings(def), kind.valueTexts};
}

const zk::ParameterDef& ParameterCatalog::Find(std::string_view key) const {
    if (const zk::ParameterDef* p = zk::FindParameter(kind.parameters, key)) {
        return *p;
    }
    auto same = [](std::string_view a, std::string_view b) {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
                   return std::tolower(static_cast<unsigned char>(x)) ==
                          std::tolower(static_cast<unsigned char>(y));
               });
    };
    for (const zk::ParameterDef& p : kind.parameters) {
        if (!key.empty() && same(key, p.name)) {
            return p;
        }
    }
    AudioUnitParameterID id = 0;
    const auto [end, ec] = std::from_chars(key.data(), key.data() + key.size(), id);
    if (ec == std::errc() && end == key.data() + key.size()) {
        if (const zk::ParameterDef* p = zk::FindParameter(kind.parameters, id)) {
            return *p;
        }
    }
    throw CliError("unknown parameter \"" + std::string(key) + "\" for " + kind.title +
                   " (zkmorva params " + kind.name + " lists them)");
}

const zk::ParameterDef& ParameterCatalog::FindSettable(std::string_view key) const {
    const zk::ParameterDef& p = Find(key);
    if (IsMeter(kind, p)) {
        throw CliError("parameter \"" + std::string(p.name) + "\" is a meter and cannot be set");
    }
    if (!zk::IsAutomatable(p)) {
        throw CliError("parameter \"" + std::string(p.name) + "\" is not settable");
    }
    return p;
}

Setting ParameterCatalog::ParseSetting(std::string_view assignment) const {
    const std::size_t eq = assignment.rfind('=');
    if (eq == std::string_view::npos || eq == 0) {
        throw CliError("setting \"" + std::string(assignment) + "\" is not NAME=VALUE");
    }
    std::string_view name = assignment.substr(0, eq);
    while (!name.empty() && name.back() == ' ') {
        name.remove_suffix(1);
    }
    const zk::ParameterDef& p = FindSettable(name);
    return {p.id, ParseValue(Context(p), assignment.substr(eq + 1))};
}

std::vector<Setting>
ParameterCatalog::ParseSettings(std::span<const std::string> assignments) const {
    std::vector<Setting> out;
    out.reserve(assignments.size());
    for (const std::string& a : assignments) {
        out.push_back(ParseSetting(a));
    }
    return out;
}

} // namespace zkcli
