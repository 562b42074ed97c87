// zk_lv2_presets UNIT PLUGIN_URI BUNDLE_DIR
//
// Writes the unit's factory presets into a built LV2 bundle: presets.ttl (every
// control port by symbol and the settings document as the plug-in's state, so a
// host that restores either gets the same sound) and one manifest entry per preset,
// so that hosts list them without loading the plug-in. The manifest's earlier
// entries from this tool are replaced, so it may run after every build.
#include "cli/CliError.h"
#include "cli/OutputPath.h"
#include "cli/Presets.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

constexpr const char* kMarker = "# Factory presets (zk_lv2_presets)";

int Run(const std::string& unitName, const std::string& uri, const std::filesystem::path& bundle) {
    using namespace zkcli;
    const UnitKind* unit = FindUnit(unitName);
    if (unit == nullptr) {
        throw CliError("unknown unit \"" + unitName + "\"");
    }
    if (std::find(unit->lv2Uris.begin(), unit->lv2Uris.end(), uri) == unit->lv2Uris.end()) {
        throw CliError("<" + uri + "> is not one of " + unit->title +
                       "'s plug-ins (cli/UnitCatalog.cpp names them)");
    }
    std::string presets = Lv2Prefixes();
    std::string entries =
        std::string(kMarker) + "\n@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n\n";
    for (const zk::FactoryPreset& p : unit->factoryPresets) {
        const std::string subject = "<" + uri + "#" + PresetSlug(p.name) + ">";
        const Preset preset = FactoryPresetFor(*unit, p);
        presets +=
            "\n" +
            Lv2PresetBody(
                {subject, {uri}, p.name, p.description, PresetValues(preset), preset.document});
        entries += subject + "\n    a pset:Preset ;\n    lv2:appliesTo <" + uri +
                   "> ;\n    rdfs:label " + TurtleString(p.name) +
                   " ;\n    rdfs:seeAlso <presets.ttl> .\n\n";
    }
    std::string manifest = ReadTextFile(bundle / "manifest.ttl", "manifest");
    if (const std::size_t old = manifest.find(kMarker); old != std::string::npos) {
        manifest.erase(old);
    }
    WriteTextFile(bundle / "presets.ttl", presets);
    WriteTextFile(bundle / "manifest.ttl", manifest + "\n" + entries);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: zk_lv2_presets UNIT PLUGIN_URI BUNDLE_DIR\n");
        return 2;
    }
    try {
        return Run(argv[1], argv[2], argv[3]);
    } catch (const zkcli::CliError& e) {
        std::fprintf(stderr, "zk_lv2_presets: %s\n", e.what());
        return 1;
    }
}
