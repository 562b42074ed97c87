#include "cli/OutputPath.h"

#include "cli/CliError.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zkcli {

namespace fs = std::filesystem;

namespace {
mode_t CurrentUmask() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

// Why a new file cannot be made in `folder`, or empty when it can: the only sure
// test (permissions, read-only mounts, quotas...) is to make one.
std::string WhyNotWritable(const fs::path& folder) {
    std::error_code ec;
    if (!fs::exists(folder, ec)) {
        return "does not exist";
    }
    if (!fs::is_directory(folder, ec)) {
        return "is not a folder";
    }
    std::string pattern = (folder / ".zkmorva-probe-XXXXXX").string();
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0) {
        return std::string("is not writable (") + std::strerror(errno) + ")";
    }
    ::close(fd);
    ::unlink(pattern.c_str());
    return {};
}

fs::path FolderOf(const fs::path& target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

} // namespace

void CheckOutputTarget(const fs::path& target) {
    std::error_code ec;
    if (fs::is_directory(target, ec)) {
        throw CliError("output " + target.string() + " is a folder");
    }
    const fs::path folder = FolderOf(target);
    if (const std::string why = WhyNotWritable(folder); !why.empty()) {
        throw CliError("cannot write output " + target.string() + ": folder " + folder.string() +
                       " " + why);
    }
}

void CheckOutputFolder(const fs::path& folder) {
    if (const std::string why = WhyNotWritable(folder); !why.empty()) {
        throw CliError("output folder " + folder.string() + " " + why);
    }
}

TemporaryFile CreateTemporaryBeside(const fs::path& target) {
    std::error_code ec;
    if (fs::is_directory(target, ec)) {
        throw CliError("output " + target.string() + " is a folder");
    }
    const fs::path folder = FolderOf(target);
    if (!fs::is_directory(folder, ec)) {
        throw CliError("cannot write output " + target.string() + ": folder " + folder.string() +
                       " does not exist");
    }
    std::string pattern =
        (folder / ("." + target.filename().string() + ".zkmorva-XXXXXX")).string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    const int fd = ::mkstemp(buffer.data());
    if (fd < 0) {
        throw CliError("cannot write output " + target.string() + ": " + std::strerror(errno));
    }
    // mkstemp makes the file private; outputs get the usual permissions.
    ::fchmod(fd, 0666 & ~CurrentUmask());
    return {fd, fs::path(buffer.data())};
}

void RenameIntoPlace(const fs::path& temporary, const fs::path& target) {
    std::error_code ec;
    fs::rename(temporary, target, ec);
    if (ec) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        throw CliError("cannot write output " + target.string() + ": " + ec.message());
    }
}

void CheckNotInput(const fs::path& output, const fs::path& input) {
    std::error_code ec;
    if (fs::exists(output, ec) && fs::exists(input, ec) && fs::equivalent(output, input, ec)) {
        throw CliError("output " + output.string() + " is the input file " + input.string() +
                       "; an input is never overwritten");
    }
    const fs::path a = fs::weakly_canonical(fs::absolute(output), ec);
    const fs::path b = fs::weakly_canonical(fs::absolute(input), ec);
    if (!ec && a == b) {
        throw CliError("output " + output.string() + " is the input file " + input.string() +
                       "; an input is never overwritten");
    }
}

void WriteTextFile(const fs::path& target, std::string_view content) {
    const TemporaryFile temp = CreateTemporaryBeside(target);
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t n = ::write(temp.fd, content.data() + done, content.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            const std::string why = std::strerror(errno);
            ::close(temp.fd);
            std::error_code ec;
            fs::remove(temp.path, ec);
            throw CliError("cannot write output " + target.string() + ": " + why);
        }
        done += static_cast<std::size_t>(n);
    }
    if (::close(temp.fd) != 0) {
        const std::string why = std::strerror(errno);
        std::error_code ec;
        fs::remove(temp.path, ec);
        throw CliError("cannot write output " + target.string() + ": " + why);
    }
    RenameIntoPlace(temp.path, target);
}

std::string ReadTextFile(const fs::path& path, std::string_view what) {
    std::error_code ec;
    if (!fs::exists(path, ec)) {
        throw CliError(std::string(what) + " " + path.string() + " does not exist");
    }
    if (fs::is_directory(path, ec)) {
        throw CliError(std::string(what) + " " + path.string() + " is a folder");
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw CliError("cannot read " + std::string(what) + " " + path.string() + ": " +
                       std::strerror(errno));
    }
    std::ostringstream s;
    s << in.rdbuf();
    if (in.bad()) {
        throw CliError("cannot read " + std::string(what) + " " + path.string());
    }
    return s.str();
}

} // namespace zkcli
