#pragma once

// The length a sound file's header declares. libsndfile trims the length it reports
// to the data that is there, so a file cut short (a recording that stopped, a copy
// that broke off) reads without complaint; only the header still tells.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace zkcli {

// Frames declared by the header of a WAV (RIFF, RIFX, RF64, BW64), AIFF, AIFF-C or
// AU file; nullopt for other formats, for a length left open (streamed files) and
// for a header this does not understand.
std::optional<std::uint64_t> DeclaredFrames(std::span<const unsigned char> head);
// The same from the file's first bytes.
std::optional<std::uint64_t> DeclaredFrames(const std::filesystem::path& path);

} // namespace zkcli
