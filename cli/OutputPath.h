#pragma once

// Output files appear whole or not at all: each is written under a temporary name in
// its own folder and renamed into place at the end. An input is never a target.
#include <filesystem>
#include <string>
#include <string_view>

namespace zkcli {

struct TemporaryFile {
    int fd = -1;
    std::filesystem::path path;
};

// Throws CliError naming `target` when it is a folder or its folder does not exist
// or cannot take a new file (tried by making one): checked before work whose result
// could not be written.
void CheckOutputTarget(const std::filesystem::path& target);
// The same for a folder that outputs go into; the error names `folder`.
void CheckOutputFolder(const std::filesystem::path& folder);
// Creates ".<name>.zkmorva-XXXXXX" beside `target`; throws CliError naming the target
// (missing folder, no permission, target is a folder).
TemporaryFile CreateTemporaryBeside(const std::filesystem::path& target);
// Renames; on failure removes the temporary and throws CliError naming the target.
void RenameIntoPlace(const std::filesystem::path& temporary, const std::filesystem::path& target);

// Throws CliError when `output` is `input` (same file after resolving links and
// relative parts) or an existing folder.
void CheckNotInput(const std::filesystem::path& output, const std::filesystem::path& input);

// Writes a whole text file through a temporary.
void WriteTextFile(const std::filesystem::path& target, std::string_view content);
// Reads a whole text file; throws CliError naming it (`what` says which role it has).
std::string ReadTextFile(const std::filesystem::path& path, std::string_view what);

} // namespace zkcli
