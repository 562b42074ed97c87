#include "cli/AudioFile.h"

#include "cli/CliError.h"
#include "cli/DeclaredLength.h"
#include "cli/OutputPath.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <mutex>

namespace zkcli {

namespace {

struct Named {
    const char* name;
    int code;
};

const Named kMajorFormats[] = {
    {"wav", SF_FORMAT_WAV},   {"aiff", SF_FORMAT_AIFF}, {"aif", SF_FORMAT_AIFF},
    {"flac", SF_FORMAT_FLAC}, {"ogg", SF_FORMAT_OGG},   {"caf", SF_FORMAT_CAF},
    {"w64", SF_FORMAT_W64},   {"rf64", SF_FORMAT_RF64}, {"au", SF_FORMAT_AU},
};

const Named kSubtypes[] = {
    {"pcm8", SF_FORMAT_PCM_S8},   {"pcmu8", SF_FORMAT_PCM_U8},  {"pcm16", SF_FORMAT_PCM_16},
    {"pcm24", SF_FORMAT_PCM_24},  {"pcm32", SF_FORMAT_PCM_32},  {"float", SF_FORMAT_FLOAT},
    {"double", SF_FORMAT_DOUBLE}, {"vorbis", SF_FORMAT_VORBIS}, {"opus", SF_FORMAT_OPUS},
    {"ulaw", SF_FORMAT_ULAW},     {"alaw", SF_FORMAT_ALAW},
};

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

std::optional<int> Lookup(std::span<const Named> table, std::string_view name) {
    const std::string key = Lower(name);
    for (const Named& n : table) {
        if (key == n.name) {
            return n.code;
        }
    }
    return std::nullopt;
}

std::string NameOf(std::span<const Named> table, int code) {
    for (const Named& n : table) {
        if (n.code == code) {
            return n.name;
        }
    }
    return "format 0x" + std::to_string(code);
}

std::string List(std::span<const Named> table) {
    std::string out;
    for (const Named& n : table) {
        out += (out.empty() ? "" : ", ") + std::string(n.name);
    }
    return out;
}

bool Valid(int format, unsigned channels, int rate) {
    SF_INFO info{};
    info.format = format;
    info.channels = static_cast<int>(channels);
    info.samplerate = rate;
    return sf_format_check(&info) == SF_TRUE;
}

} // namespace

std::optional<int> MajorFormatByName(std::string_view name) {
    return Lookup(kMajorFormats, name);
}
std::optional<int> SubtypeByName(std::string_view name) {
    return Lookup(kSubtypes, name);
}
std::string MajorFormatName(int format) {
    return NameOf(kMajorFormats, format & SF_FORMAT_TYPEMASK);
}
std::string SubtypeName(int format) {
    return NameOf(kSubtypes, format & SF_FORMAT_SUBMASK);
}
std::string KnownMajorFormats() {
    return List(kMajorFormats);
}
std::string KnownSubtypes() {
    return List(kSubtypes);
}
bool IsFloatSubtype(int format) {
    const int sub = format & SF_FORMAT_SUBMASK;
    return sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE || sub == SF_FORMAT_VORBIS ||
           sub == SF_FORMAT_OPUS;
}

namespace {

int NamedMajorFormat(const std::string& name) {
    const auto named = MajorFormatByName(name);
    if (!named) {
        throw CliError("unknown output format \"" + name + "\" (known: " + KnownMajorFormats() +
                       ")");
    }
    return *named;
}

int NamedSubtype(const std::string& name) {
    const auto named = SubtypeByName(name);
    if (!named) {
        throw CliError("unknown sample type \"" + name + "\" (known: " + KnownSubtypes() + ")");
    }
    return *named;
}

// libsndfile keeps the reason an open failed in one place for the whole process:
// files opened on several threads at once take turns, each reading its own reason.
template <typename Open> SNDFILE* OpenSoundFile(Open open, std::string& why) {
    static std::mutex mutex;
    std::lock_guard<std::mutex> lock(mutex);
    SNDFILE* file = open();
    if (file == nullptr) {
        why = sf_strerror(nullptr);
    }
    return file;
}

bool CanHold(int major, int sub) {
    return Valid(major | sub, 2, 48000) || Valid(major | sub, 1, 48000);
}

void CheckCanHold(int major, int sub, const std::string& typeName) {
    if (!CanHold(major, sub)) {
        throw CliError("format " + MajorFormatName(major) + " cannot hold sample type " + typeName);
    }
}

} // namespace

void CheckFormatNames(const std::string& formatName, const std::string& typeName) {
    const int major = formatName.empty() ? 0 : NamedMajorFormat(formatName);
    const int sub = typeName.empty() ? 0 : NamedSubtype(typeName);
    if (major != 0 && sub != 0) {
        CheckCanHold(major, sub, typeName);
    }
}

int ChooseOutputFormat(int inputFormat, const std::filesystem::path& output,
                       const std::string& formatName, const std::string& typeName) {
    int major = inputFormat & SF_FORMAT_TYPEMASK;
    if (!formatName.empty()) {
        major = NamedMajorFormat(formatName);
    } else if (output.has_extension()) {
        if (const auto byExtension = MajorFormatByName(output.extension().string().substr(1))) {
            major = *byExtension;
        }
    }
    if (!typeName.empty()) {
        const int sub = NamedSubtype(typeName);
        CheckCanHold(major, sub, typeName);
        return major | sub;
    }
    const int sub = inputFormat & SF_FORMAT_SUBMASK;
    if (CanHold(major, sub)) {
        return major | sub;
    }
    for (int fallback : {SF_FORMAT_PCM_24, SF_FORMAT_FLOAT, SF_FORMAT_VORBIS, SF_FORMAT_PCM_16}) {
        if (Valid(major | fallback, 2, 48000)) {
            return major | fallback;
        }
    }
    throw CliError("no sample type found for output format " + MajorFormatName(major));
}

// ---------------------------------------------------------------------------

SoundFileReader::SoundFileReader(const std::filesystem::path& path) : path(path) {
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) {
        throw CliError("input file " + path.string() + " does not exist");
    }
    if (std::filesystem::is_directory(path, ec)) {
        throw CliError("input " + path.string() + " is a folder, not a sound file");
    }
    SF_INFO info{};
    std::string why;
    file = OpenSoundFile([&] { return sf_open(path.c_str(), SFM_READ, &info); }, why);
    if (file == nullptr) {
        throw CliError("cannot read input file " + path.string() + ": " + why);
    }
    if (info.channels <= 0 || info.samplerate <= 0) {
        sf_close(file);
        file = nullptr;
        throw CliError("input file " + path.string() + " has no audio channels");
    }
    format = {info.format, static_cast<unsigned>(info.channels), info.samplerate};
    // SF_COUNT_MAX: a stream whose length nothing says.
    frames =
        info.frames > 0 && info.frames < SF_COUNT_MAX ? static_cast<std::uint64_t>(info.frames) : 0;
    announced = std::max(frames, DeclaredFrames(path).value_or(0));
}

SoundFileReader::~SoundFileReader() {
    if (file != nullptr) {
        sf_close(file);
    }
}

unsigned SoundFileReader::Read(float* const* channels, unsigned count) {
    interleaved.resize(static_cast<std::size_t>(count) * format.channels);
    const sf_count_t got = sf_readf_float(file, interleaved.data(), count);
    if (got < 0 || (got == 0 && sf_error(file) != SF_ERR_NO_ERROR)) {
        throw CliError("cannot read input file " + path.string() + ": " + sf_strerror(file));
    }
    const unsigned n = static_cast<unsigned>(got);
    for (unsigned i = 0; i < n; ++i) {
        for (unsigned c = 0; c < format.channels; ++c) {
            channels[c][i] = interleaved[static_cast<std::size_t>(i) * format.channels + c];
        }
    }
    return n;
}

// ---------------------------------------------------------------------------

SoundFileWriter::SoundFileWriter(const std::filesystem::path& target, const FileFormat& format)
    : target(target), format(format) {
    if (!Valid(format.format, format.channels, format.sampleRate)) {
        throw CliError("output " + target.string() + ": format " + MajorFormatName(format.format) +
                       " cannot hold " + std::to_string(format.channels) + " channels of " +
                       SubtypeName(format.format) + " at " + std::to_string(format.sampleRate) +
                       " Hz");
    }
    TemporaryFile temp = CreateTemporaryBeside(target);
    SF_INFO info{};
    info.format = format.format;
    info.channels = static_cast<int>(format.channels);
    info.samplerate = format.sampleRate;
    // The descriptor belongs to libsndfile from here on (closed by sf_close).
    std::string why;
    file = OpenSoundFile([&] { return sf_open_fd(temp.fd, SFM_WRITE, &info, SF_TRUE); }, why);
    temporary = temp.path;
    if (file == nullptr) {
        std::error_code ec;
        std::filesystem::remove(temporary, ec);
        throw CliError("cannot write output file " + target.string() + ": " + why);
    }
    // The PEAK chunk carries a time stamp: without it the same render gives the same file.
    sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    clips = !IsFloatSubtype(format.format);
    if (clips) {
        // Integer formats clip at full scale instead of wrapping round.
        sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    }
}

SoundFileWriter::~SoundFileWriter() {
    Close();
    if (!committed && !temporary.empty()) {
        std::error_code ec;
        std::filesystem::remove(temporary, ec);
    }
}

void SoundFileWriter::Close() {
    if (file != nullptr) {
        sf_close(file);
        file = nullptr;
    }
}

void SoundFileWriter::Write(const float* const* channels, unsigned frames) {
    interleaved.resize(static_cast<std::size_t>(frames) * format.channels);
    for (unsigned i = 0; i < frames; ++i) {
        for (unsigned c = 0; c < format.channels; ++c) {
            const float v = channels[c][i];
            if (clips && std::fabs(v) > 1.0f) {
                ++clipped;
            }
            interleaved[static_cast<std::size_t>(i) * format.channels + c] = v;
        }
    }
    if (sf_writef_float(file, interleaved.data(), frames) != static_cast<sf_count_t>(frames)) {
        throw CliError("cannot write output file " + target.string() + ": " + sf_strerror(file));
    }
}

void SoundFileWriter::Commit() {
    const int closeError = file != nullptr ? sf_close(file) : 0;
    file = nullptr;
    if (closeError != 0) {
        throw CliError("cannot write output file " + target.string() + ": " +
                       sf_error_number(closeError));
    }
    RenameIntoPlace(temporary, target);
    committed = true;
}

void WriteSoundFile(const std::filesystem::path& target, const FileFormat& format,
                    const std::vector<std::vector<float>>& channels) {
    SoundFileWriter writer(target, format);
    std::vector<const float*> ptrs;
    for (const auto& c : channels) {
        ptrs.push_back(c.data());
    }
    writer.Write(ptrs.data(), static_cast<unsigned>(channels.empty() ? 0 : channels[0].size()));
    writer.Commit();
}

} // namespace zkcli
