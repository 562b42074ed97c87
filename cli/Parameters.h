#pragma once

// A unit's parameters as the command line sees them: lookup by name, symbol or id,
// value contexts for parsing and formatting, and NAME=VALUE settings.
#include "cli/UnitCatalog.h"
#include "cli/ValueFormat.h"
#include "framework/AUBase.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zkcli {

struct Setting {
    AudioUnitParameterID id;
    float value;
};

class ParameterCatalog {
public:
    // Reads the value strings from an opened unit of this kind.
    ParameterCatalog(const UnitKind& kind, AUBase& unit);

    const UnitKind& Kind() const { return kind; }
    std::span<const zk::ParameterDef> Parameters() const { return kind.parameters; }
    ValueContext Context(const zk::ParameterDef& def) const;
    const std::vector<std::string>& ValueStrings(const zk::ParameterDef& def) const;

    // By name (exact, then ignoring case), symbol or decimal id; throws CliError.
    const zk::ParameterDef& Find(std::string_view key) const;
    // A parameter a user may set: not a meter, writable. Throws CliError otherwise.
    const zk::ParameterDef& FindSettable(std::string_view key) const;
    // "NAME=VALUE" (the last '=' splits, so names may not hold one; none do).
    Setting ParseSetting(std::string_view assignment) const;
    std::vector<Setting> ParseSettings(std::span<const std::string> assignments) const;

private:
    const UnitKind& kind;
    std::vector<std::vector<std::string>> valueStrings; // by table row
};

} // namespace zkcli
