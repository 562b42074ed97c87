#include "cli/DeclaredLength.h"

#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

namespace zkcli {

namespace {

// Enough for the chunks that come before the audio in every file seen so far
// (format, fact, broadcast extension, lists); a data chunk further in is missed.
constexpr std::size_t kHeadBytes = 1 << 16;

class Reader {
public:
    Reader(std::span<const unsigned char> bytes, bool bigEndian)
        : bytes(bytes), bigEndian(bigEndian) {}
    bool Has(std::size_t at, std::size_t n) const {
        return at <= bytes.size() && n <= bytes.size() - at;
    }
    bool Tag(std::size_t at, std::string_view tag) const {
        return Has(at, tag.size()) && std::memcmp(bytes.data() + at, tag.data(), tag.size()) == 0;
    }
    // Little- or big-endian unsigned of n bytes; the caller checked Has(at, n).
    std::uint64_t Number(std::size_t at, std::size_t n) const {
        std::uint64_t v = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t k = bigEndian ? i : n - 1 - i;
            v = (v << 8) | bytes[at + k];
        }
        return v;
    }

private:
    std::span<const unsigned char> bytes;
    bool bigEndian;
};

// WAVE: frames = data bytes / block size, for the formats whose blocks are frames.
std::optional<std::uint64_t> WaveFrames(std::span<const unsigned char> head) {
    const Reader be(head, true);
    const bool rifx = be.Tag(0, "RIFX");
    const bool rf64 = be.Tag(0, "RF64") || be.Tag(0, "BW64");
    if (!(be.Tag(0, "RIFF") || rifx || rf64) || !be.Tag(8, "WAVE")) {
        return std::nullopt;
    }
    const Reader r(head, rifx);
    std::uint64_t blockAlign = 0, dataBytes = 0, ds64DataBytes = 0;
    bool framesAreBlocks = false, haveData = false;
    for (std::size_t at = 12; r.Has(at, 8) && !haveData;) {
        const std::uint64_t size = r.Number(at + 4, 4);
        if (r.Tag(at, "ds64") && r.Has(at + 8, 16)) {
            ds64DataBytes = r.Number(at + 16, 8);
        } else if (r.Tag(at, "fmt ") && r.Has(at + 8, 14)) {
            const std::uint64_t tag = r.Number(at + 8, 2);
            // PCM, IEEE float, A-law, mu-law, extensible: one block per frame.
            framesAreBlocks = tag == 1 || tag == 3 || tag == 6 || tag == 7 || tag == 0xFFFE;
            blockAlign = r.Number(at + 20, 2);
        } else if (r.Tag(at, "data")) {
            dataBytes = rf64 && size == 0xFFFFFFFF ? ds64DataBytes : size;
            haveData = true;
        }
        at += 8 + size + (size & 1);
    }
    // A data size of 0 or all ones is what streaming writers leave: length open.
    if (!haveData || !framesAreBlocks || blockAlign == 0 || dataBytes == 0 ||
        (!rf64 && dataBytes == 0xFFFFFFFF)) {
        return std::nullopt;
    }
    return dataBytes / blockAlign;
}

// AIFF and AIFF-C: the common chunk counts the frames itself.
std::optional<std::uint64_t> AiffFrames(std::span<const unsigned char> head) {
    const Reader r(head, true);
    if (!r.Tag(0, "FORM") || !(r.Tag(8, "AIFF") || r.Tag(8, "AIFC"))) {
        return std::nullopt;
    }
    for (std::size_t at = 12; r.Has(at, 8);) {
        const std::uint64_t size = r.Number(at + 4, 4);
        if (r.Tag(at, "COMM") && r.Has(at + 8, 6)) {
            return r.Number(at + 10, 4);
        }
        at += 8 + size + (size & 1);
    }
    return std::nullopt;
}

// AU: data bytes / (bytes per sample x channels), for the fixed-size encodings.
std::optional<std::uint64_t> AuFrames(std::span<const unsigned char> head) {
    const Reader r(head, true);
    if (!r.Tag(0, ".snd") || !r.Has(0, 24)) {
        return std::nullopt;
    }
    const std::uint64_t dataBytes = r.Number(8, 4);
    const std::uint64_t encoding = r.Number(12, 4);
    const std::uint64_t channels = r.Number(20, 4);
    // Bytes per sample of encodings 1 (mu-law) to 7 (double), and 27 (A-law).
    constexpr unsigned kBytes[] = {0, 1, 1, 2, 3, 4, 4, 8};
    const std::uint64_t bytes = encoding < 8 ? kBytes[encoding] : encoding == 27 ? 1 : 0;
    if (dataBytes == 0xFFFFFFFF || bytes == 0 || channels == 0) {
        return std::nullopt;
    }
    return dataBytes / (bytes * channels);
}

} // namespace

std::optional<std::uint64_t> DeclaredFrames(std::span<const unsigned char> head) {
    for (auto frames : {WaveFrames, AiffFrames, AuFrames}) {
        if (const auto n = frames(head)) {
            return n;
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> DeclaredFrames(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> head(kHeadBytes);
    in.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    return DeclaredFrames(head);
}

} // namespace zkcli
