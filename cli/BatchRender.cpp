#include "cli/BatchRender.h"

#include "cli/AudioFile.h"
#include "cli/CliError.h"
#include "cli/OutputPath.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace zkcli {

namespace fs = std::filesystem;

namespace {

bool IsSoundFileName(const fs::path& p) {
    const std::string name = p.filename().string();
    return !name.empty() && name[0] != '.' && p.has_extension() &&
           MajorFormatByName(p.extension().string().substr(1)).has_value();
}

std::vector<fs::path> SoundFilesIn(const fs::path& folder) {
    std::vector<fs::path> out;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        if (entry.is_regular_file(ec) && IsSoundFileName(entry.path())) {
            out.push_back(entry.path());
        }
    }
    if (ec) {
        throw CliError("cannot read input folder " + folder.string() + ": " + ec.message());
    }
    if (out.empty()) {
        throw CliError("input folder " + folder.string() + " holds no sound files");
    }
    std::sort(out.begin(), out.end());
    return out;
}

// What makes two names one file: the resolved path, and for files that exist their
// device and inode (hard links).
struct FileKey {
    fs::path resolved;
    std::optional<std::pair<dev_t, ino_t>> identity;
};

FileKey KeyOf(const fs::path& p) {
    std::error_code ec;
    FileKey key{fs::weakly_canonical(fs::absolute(p), ec), std::nullopt};
    struct stat st {};
    if (::stat(p.c_str(), &st) == 0) {
        key.identity = std::make_pair(st.st_dev, st.st_ino);
    }
    return key;
}

} // namespace

std::vector<RenderJob> PlanBatch(std::span<const fs::path> inputs, const fs::path& folder,
                                 const std::string& formatName, const fs::path& protectedFile) {
    CheckOutputFolder(folder);
    std::vector<fs::path> files;
    for (const fs::path& in : inputs) {
        std::error_code ec;
        if (fs::is_directory(in, ec)) {
            const std::vector<fs::path> found = SoundFilesIn(in);
            files.insert(files.end(), found.begin(), found.end());
        } else {
            files.push_back(in); // a missing or unreadable file fails on its own
        }
    }
    std::string extension;
    if (!formatName.empty()) {
        const auto format = MajorFormatByName(formatName);
        if (!format) {
            throw CliError("unknown output format \"" + formatName +
                           "\" (known: " + KnownMajorFormats() + ")");
        }
        extension = "." + MajorFormatName(*format);
    }

    std::map<fs::path, fs::path> inputsByPath; // resolved input -> as given
    std::map<std::pair<dev_t, ino_t>, fs::path> inputsByIdentity;
    for (const fs::path& f : files) {
        const FileKey key = KeyOf(f);
        inputsByPath.emplace(key.resolved, f);
        if (key.identity) {
            inputsByIdentity.emplace(*key.identity, f);
        }
    }
    const std::optional<FileKey> protectedKey =
        protectedFile.empty() ? std::nullopt : std::optional<FileKey>(KeyOf(protectedFile));

    std::vector<RenderJob> jobs;
    std::map<fs::path, fs::path> inputByOutput;
    for (const fs::path& f : files) {
        fs::path name = f.filename();
        if (!extension.empty()) {
            name.replace_extension(extension);
        }
        RenderJob job{f, folder / name};
        std::error_code ec;
        if (fs::is_directory(job.output, ec)) {
            throw CliError("output " + job.output.string() + " is a folder");
        }
        const FileKey key = KeyOf(job.output);
        const auto samePath = inputsByPath.find(key.resolved);
        const auto sameFile =
            key.identity ? inputsByIdentity.find(*key.identity) : inputsByIdentity.end();
        if (samePath != inputsByPath.end() || sameFile != inputsByIdentity.end()) {
            const fs::path& input =
                samePath != inputsByPath.end() ? samePath->second : sameFile->second;
            throw CliError("output " + job.output.string() + " is the input file " +
                           input.string() + "; an input is never overwritten");
        }
        if (protectedKey && (key.resolved == protectedKey->resolved ||
                             (key.identity && key.identity == protectedKey->identity))) {
            throw CliError("output " + job.output.string() + " is the preset " +
                           protectedFile.string() + "; an input is never overwritten");
        }
        const auto [other, fresh] = inputByOutput.emplace(key.resolved, f);
        if (!fresh) {
            throw CliError("inputs " + other->second.string() + " and " + f.string() +
                           " would both be written to " + job.output.string());
        }
        jobs.push_back(std::move(job));
    }
    return jobs;
}

BatchOutcome RenderBatch(const RenderRequest& common, std::span<const RenderJob> jobs,
                         unsigned threads, const ProgressFunction& progress) {
    BatchOutcome outcome;
    outcome.reports.resize(jobs.size());
    outcome.errors.resize(jobs.size());
    if (jobs.empty()) {
        return outcome;
    }
    // The total for the progress bar, from the headers; a file that cannot be
    // opened counts 0 here and fails when its turn comes.
    std::uint64_t total = 0;
    for (const RenderJob& job : jobs) {
        try {
            total += SoundFileReader(job.input).TotalFrames();
        } catch (const CliError&) {
        }
    }

    std::atomic<std::size_t> next{0};
    std::atomic<std::uint64_t> framesDone{0};
    std::mutex mutex;
    std::condition_variable finished;
    std::size_t running = 0;

    // Each job writes only its own slots of `outcome`; joining the threads hands
    // them to this thread.
    auto work = [&] {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            RenderRequest request = common;
            request.input = jobs[i].input;
            request.output = jobs[i].output;
            std::uint64_t counted = 0;
            auto count = [&](std::uint64_t done, std::uint64_t) {
                framesDone += done - counted;
                counted = done;
            };
            try {
                outcome.reports[i] = RenderFile(request, count);
            } catch (const std::bad_alloc&) {
                outcome.errors[i] = "out of memory";
            } catch (const std::exception& e) {
                outcome.errors[i] = e.what();
            }
        }
        std::lock_guard<std::mutex> lock(mutex);
        --running;
        finished.notify_one();
    };

    const std::size_t wanted = std::min<std::size_t>(std::max(threads, 1u), jobs.size());
    std::vector<std::thread> pool;
    for (std::size_t t = 0; t < wanted; ++t) {
        std::lock_guard<std::mutex> lock(mutex);
        try {
            pool.emplace_back(work);
            ++running;
        } catch (const std::system_error&) {
            break; // fewer threads than asked for
        }
    }
    if (pool.empty()) {
        ++running;
        work();
    }
    for (bool done = false; !done;) {
        {
            std::unique_lock<std::mutex> lock(mutex);
            finished.wait_for(lock, std::chrono::milliseconds(100), [&] { return running == 0; });
            done = running == 0;
        }
        if (progress) {
            progress(framesDone.load(), total);
        }
    }
    for (std::thread& t : pool) {
        t.join();
    }
    return outcome;
}

} // namespace zkcli
