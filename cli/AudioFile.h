#pragma once

// Sound files through libsndfile: a reader that is a block source, and a writer that
// writes to a temporary file beside the target and renames it into place on Commit
// (a writer destroyed uncommitted removes its temporary: no partial output).
#include "cli/RenderDriver.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

typedef struct sf_private_tag SNDFILE;

namespace zkcli {

struct FileFormat {
    int format = 0; // libsndfile major format | subtype
    unsigned channels = 0;
    int sampleRate = 0;
};

// "wav", "flac", ... <-> libsndfile major formats; "pcm16", "float", ... <-> subtypes.
std::optional<int> MajorFormatByName(std::string_view name);
std::optional<int> SubtypeByName(std::string_view name);
std::string MajorFormatName(int format);
std::string SubtypeName(int format);
std::string KnownMajorFormats();
std::string KnownSubtypes();
bool IsFloatSubtype(int format);

// Throws CliError for a format or sample type name that is not known, or a pair of
// them that cannot go together.
void CheckFormatNames(const std::string& formatName, const std::string& typeName);

// The output format: the major format named, else the output's extension if it is a
// known one, else the input's; the sample type named, else the input's when the
// output format can hold it, else that format's usual one. Throws CliError.
int ChooseOutputFormat(int inputFormat, const std::filesystem::path& output,
                       const std::string& formatName, const std::string& typeName);

class SoundFileReader : public BlockSource {
public:
    explicit SoundFileReader(const std::filesystem::path& path); // throws CliError
    ~SoundFileReader() override;
    SoundFileReader(const SoundFileReader&) = delete;
    SoundFileReader& operator=(const SoundFileReader&) = delete;

    const FileFormat& Format() const { return format; }
    unsigned Channels() const override { return format.channels; }
    double SampleRate() const override { return format.sampleRate; }
    // The frames libsndfile finds, which it trims to the data that is there.
    std::uint64_t TotalFrames() const override { return frames; }
    // The frames the header declares, where it says more than libsndfile finds.
    std::uint64_t AnnouncedFrames() const override { return announced; }
    unsigned Read(float* const* channels, unsigned count) override;

private:
    std::filesystem::path path;
    SNDFILE* file = nullptr;
    FileFormat format;
    std::uint64_t frames = 0;
    std::uint64_t announced = 0;
    std::vector<float> interleaved;
};

class SoundFileWriter : public BlockSink {
public:
    // Opens a temporary file in the target's folder; throws CliError naming the target.
    SoundFileWriter(const std::filesystem::path& target, const FileFormat& format);
    ~SoundFileWriter() override; // removes the temporary unless committed
    SoundFileWriter(const SoundFileWriter&) = delete;
    SoundFileWriter& operator=(const SoundFileWriter&) = delete;

    void Write(const float* const* channels, unsigned frames) override;
    // Closes and renames into place; throws CliError (temporary removed).
    void Commit();
    // Samples beyond full scale written to an integer format (clipped there).
    std::uint64_t ClippedSamples() const { return clipped; }

private:
    void Close();
    std::filesystem::path target;
    std::filesystem::path temporary;
    SNDFILE* file = nullptr;
    FileFormat format;
    bool clips = false;
    bool committed = false;
    std::uint64_t clipped = 0;
    std::vector<float> interleaved;
};

// Writes a whole file of planar channels through a SoundFileWriter.
void WriteSoundFile(const std::filesystem::path& target, const FileFormat& format,
                    const std::vector<std::vector<float>>& channels);

} // namespace zkcli
