#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/Json.h"

#include <algorithm>
#include <iomanip>

namespace zkcli {

namespace {

const char* Role(const UnitKind& kind, const zk::ParameterDef& p) {
    if (IsMeter(kind, p)) {
        return "meter";
    }
    return zk::IsAutomatable(p) ? "control" : "state";
}

void PrintText(const ParameterCatalog& catalog, std::ostream& out) {
    std::size_t nameWidth = 4, symbolWidth = 6;
    for (const zk::ParameterDef& p : catalog.Parameters()) {
        nameWidth = std::max(nameWidth, std::string_view(p.name).size());
        symbolWidth = std::max(symbolWidth, std::string_view(p.symbol).size());
    }
    out << catalog.Kind().title << " parameters\n";
    out << std::left << std::setw(5) << "id" << std::setw(static_cast<int>(nameWidth) + 2) << "name"
        << std::setw(static_cast<int>(symbolWidth) + 2) << "symbol" << std::setw(8) << "unit"
        << std::setw(8) << "role" << std::setw(24) << "range"
        << "default\n";
    for (const zk::ParameterDef& p : catalog.Parameters()) {
        const ValueContext context = catalog.Context(p);
        const std::string range = context.valueStrings.empty()
                                      ? DescribeRange(context)
                                      : "0 .. " + std::to_string(context.valueStrings.size() - 1);
        out << std::left << std::setw(5) << p.id << std::setw(static_cast<int>(nameWidth) + 2)
            << p.name << std::setw(static_cast<int>(symbolWidth) + 2) << p.symbol << std::setw(8)
            << zk::LabelOf(p.unit).name << std::setw(8) << Role(catalog.Kind(), p) << std::setw(24)
            << range << FormatValue(context, p.defaultValue) << "\n";
    }
    bool header = false;
    for (const zk::ParameterDef& p : catalog.Parameters()) {
        const auto& strings = catalog.ValueStrings(p);
        if (strings.empty()) {
            continue;
        }
        if (!header) {
            out << "\nValue strings\n";
            header = true;
        }
        out << p.name << ":";
        for (std::size_t i = 0; i < strings.size(); ++i) {
            out << (i == 0 ? " " : ", ") << i << " \"" << strings[i] << "\"";
        }
        out << "\n";
    }
}

void PrintJson(const ParameterCatalog& catalog, std::ostream& out) {
    out << "{\n  \"unit\": " << JsonString(catalog.Kind().title) << ",\n  \"parameters\": [\n";
    bool first = true;
    for (const zk::ParameterDef& p : catalog.Parameters()) {
        out << (first ? "" : ",\n") << "    {\"id\": " << p.id
            << ", \"name\": " << JsonString(p.name) << ", \"symbol\": " << JsonString(p.symbol)
            << ", \"unit\": " << JsonString(zk::LabelOf(p.unit).name)
            << ", \"role\": " << JsonString(Role(catalog.Kind(), p))
            << ", \"min\": " << JsonNumber(p.minValue) << ", \"max\": " << JsonNumber(p.maxValue)
            << ", \"default\": " << JsonNumber(p.defaultValue);
        const auto& strings = catalog.ValueStrings(p);
        if (!strings.empty()) {
            out << ", \"valueStrings\": [";
            for (std::size_t i = 0; i < strings.size(); ++i) {
                out << (i == 0 ? "" : ", ") << JsonString(strings[i]);
            }
            out << "]";
        }
        out << "}";
        first = false;
    }
    out << "\n  ]\n}\n";
}

} // namespace

int ParamsCommand(std::span<const std::string> args, Console console) {
    static const OptionSpec specs[] = {{"json", 0, false}, {"unit", 'u', true}};
    const Arguments a = ParseArguments(args, specs);
    if (a.positional.size() > 1) {
        throw CliError("params takes at most one unit name");
    }
    Arguments unitArgs = a;
    if (!a.positional.empty()) {
        unitArgs.options.emplace_back("unit", a.positional[0]);
    }
    const UnitKind& kind = ResolveUnit(unitArgs, nullptr);
    AudioUnitPtr unit = kind.open();
    const ParameterCatalog catalog(kind, *unit);
    if (a.Has("json")) {
        PrintJson(catalog, console.out);
    } else {
        PrintText(catalog, console.out);
    }
    return 0;
}

} // namespace zkcli
