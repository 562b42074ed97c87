#pragma once

// What `zkmorva help` and `zkmorva COMMAND --help` print: per command a synopsis
// for the overview and a page of its own.
#include <ostream>
#include <span>
#include <string_view>

namespace zkcli {

struct CommandHelp {
    const char* name;
    const char* synopsis; // the command's lines in the overview
    const char* page;     // what `zkmorva help NAME` adds below the synopsis
    bool takesSettings;   // the page ends with how NAME=VALUE is written
};

std::span<const CommandHelp> AllCommandHelp();
const CommandHelp* FindCommandHelp(std::string_view name);

void PrintOverview(std::ostream& out);
void PrintCommandHelp(const CommandHelp& help, std::ostream& out);

} // namespace zkcli
