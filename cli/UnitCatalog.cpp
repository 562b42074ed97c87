#include "cli/UnitCatalog.h"

#include "cli/CliError.h"
#include "units/Zkmorva10AU.h"
#include "units/Zkmorva10Presets.h"
#include "units/Zkmorva20AU.h"
#include "units/Zkmorva20Presets.h"

#include <cctype>

namespace zkcli {

namespace {

bool IsZkmorva10Meter(AudioUnitParameterID id) {
    const zk::ParameterDef* p = zk::FindParameter(zk::kZkmorva10Parameters, id);
    return p != nullptr && zk::IsMeter(*p);
}

constexpr const char* kZkmorva10Uris[] = {"urn:zkmorva:zkmorva10-mono",
                                          "urn:zkmorva:zkmorva10-stereo"};
constexpr const char* kZkmorva20Uris[] = {"urn:zkmorva:zkmorva20"};

const UnitKind kUnits[] = {
    {"10", "Zkmorva 10", &OpenZkmorva10, kZkmorva10Description, zk::kZkmorva10Parameters,
     zk::kZkmorva10ValueTexts, 0, -1, -1, &IsZkmorva10Meter, zk::kZkmorva10Presets, kZkmorva10Uris},
    {"20", "Zkmorva 20", &OpenZkmorva20, kZkmorva20Description, zk::kZkmorva20Parameters,
     zk::kZkmorva20ValueTexts, 2, zk::kZ20BalanceMeter, zk::kZ20CorrelationMeter,
     &zk::IsZkmorva20Meter, zk::kZkmorva20Presets, kZkmorva20Uris},
};

} // namespace

std::string SqueezeName(std::string_view s) {
    std::string out;
    for (char c : s) {
        if (std::isalnum(static_cast<unsigned char>(c))) {
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return out;
}

bool IsMeter(const UnitKind& unit, const zk::ParameterDef& def) {
    return zk::IsMeter(def) || unit.isMeter(def.id);
}

std::span<const UnitKind> AllUnits() {
    return kUnits;
}

const UnitKind* FindUnit(std::string_view name) {
    const std::string key = SqueezeName(name);
    for (const UnitKind& u : kUnits) {
        if (key == u.name || key == std::string("zkmorva") + u.name) {
            return &u;
        }
    }
    return nullptr;
}

const UnitKind* FindUnit(const AudioComponentDescription& description) {
    for (const UnitKind& u : kUnits) {
        if (SameComponent(u.description, description)) {
            return &u;
        }
    }
    return nullptr;
}

std::string UnitNames() {
    std::string out;
    for (const UnitKind& u : kUnits) {
        out += out.empty() ? "" : ", ";
        out += u.name;
    }
    return out;
}

unsigned UnitChannels(const UnitKind& unit, unsigned fileChannels) {
    if (fileChannels == 0) {
        throw CliError("the input has no channels");
    }
    if (unit.fixedChannels == 0) {
        if (fileChannels > AUBase::kMaxChannels) {
            throw CliError(std::string(unit.title) + " takes at most " +
                           std::to_string(AUBase::kMaxChannels) + " channels, the input has " +
                           std::to_string(fileChannels));
        }
        return fileChannels;
    }
    if (fileChannels != 1 && fileChannels != unit.fixedChannels) {
        throw CliError(std::string(unit.title) + " takes mono or " +
                       std::to_string(unit.fixedChannels) + "-channel input, the input has " +
                       std::to_string(fileChannels) + " channels");
    }
    return unit.fixedChannels;
}

} // namespace zkcli
