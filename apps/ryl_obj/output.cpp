// Files that are written: whole, or not at all.
#include "command.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr char PART_ENDING[] = ".part0";  // of what the model library has not written whole
constexpr std::array SIGNALS = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGXCPU, SIGXFSZ};

// What the handler of signals removes: null-ended names in the folder, and the folder.
struct Doomed {
    std::array<char, 4096> folder{};
    std::array<std::array<char, 4096>, 8> files{};
    volatile std::sig_atomic_t count = 0;
};
Doomed doomed;

void removeAll() {
    for (int i = 0; i < doomed.count; ++i) unlink(doomed.files[static_cast<std::size_t>(i)].data());
    if (doomed.folder[0] != '\0') rmdir(doomed.folder.data());
}

void endBySignal(int signal) {
    removeAll();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

// Signals that were ignored when the program started stay ignored.
void watchSignals() {
    for (const int signal : SIGNALS)
        if (std::signal(signal, endBySignal) == SIG_IGN) std::signal(signal, SIG_IGN);
}

void leaveSignals() {
    for (const int signal : SIGNALS)
        if (std::signal(signal, SIG_DFL) == SIG_IGN) std::signal(signal, SIG_IGN);
}

void doom(const std::string& path) {
    const auto index = static_cast<std::size_t>(doomed.count);
    if (index == doomed.files.size() || path.size() >= doomed.files[index].size())
        refuse("the path is too long: %s", path.c_str());
    std::memcpy(doomed.files[index].data(), path.c_str(), path.size() + 1);
    doomed.count = doomed.count + 1;
}

bool isStandardOutput(std::string_view target) { return target == "-"; }

// Devices, pipes and sockets.
bool isStream(const std::string& target) {
    struct stat status {};
    return isStandardOutput(target) ||
           (stat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

// A link's file is replaced, not the link.
std::string resolved(const std::string& target) {
    std::error_code error;
    const fs::path path = fs::canonical(target, error);
    return error ? target : path.string();
}

std::string shownName(std::string_view target) {
    return isStandardOutput(target) ? "standard output" : std::string(target);
}

bool failAt(std::string_view target, int reason) {
    report(shownName(target), 0, std::strerror(reason));
    return false;
}

bool writeAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = write(file, bytes, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool copyTo(int from, int to) {
    std::vector<char> bytes(1 << 16);
    for (;;) {
        const ssize_t count = read(from, bytes.data(), bytes.size());
        if (count == 0) return true;
        if (count < 0 || !writeAll(to, bytes.data(), static_cast<std::size_t>(count))) return false;
    }
}

bool copyToStream(const std::string& path, const std::string& target) {
    const bool standard = isStandardOutput(target);
    const int from = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const int to = standard ? STDOUT_FILENO : open(target.c_str(), O_WRONLY | O_CLOEXEC);
    bool done = from >= 0 && to >= 0 && copyTo(from, to);
    const int reason = errno;
    if (from >= 0) close(from);
    if (to >= 0 && !standard) done = close(to) == 0 && done;
    return done || failAt(target, reason);
}

// False with errno set.
bool moveTo(const std::string& path, const std::string& target, bool replace) {
    struct stat status {};
    if (replace && stat(target.c_str(), &status) == 0) chmod(path.c_str(), status.st_mode & ALLPERMS);
    const unsigned keep = replace ? 0 : RENAME_NOREPLACE;
    if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), keep) == 0) return true;
    // Some file systems cannot do that; none of them replaces with a link.
    return errno == EINVAL && link(path.c_str(), target.c_str()) == 0;
}

}  // namespace

WorkFolder::WorkFolder(const char* target) {
    std::error_code error;
    const fs::path place =
        isStream(target) ? fs::temp_directory_path(error) : fs::path(resolved(target)).parent_path();
    folder = (place / ".ryl-obj-XXXXXX").string();
    if (folder.size() >= doomed.folder.size()) refuse("the path is too long: %s", folder.c_str());
    if (mkdtemp(folder.data()) == nullptr) {
        failAt(isStream(target) ? place.string() : std::string(target), errno);
        std::exit(UNUSABLE);
    }
    std::memcpy(doomed.folder.data(), folder.c_str(), folder.size() + 1);
    watchSignals();
}

WorkFolder::~WorkFolder() {
    removeAll();
    leaveSignals();
    doomed.count = 0;
    doomed.folder[0] = '\0';
}

std::string WorkFolder::pathFor(const std::string& target) {
    const std::string name = fs::path(isStandardOutput(target) ? "output" : target).filename().string();
    std::string path = folder + "/" + name;
    for (const std::string& known : names)
        if (known == path) return path;
    doom(path);
    doom(path + PART_ENDING);
    names.push_back(path);
    return path;
}

bool WorkFolder::publish(const std::string& target, bool replace) {
    const std::string path = pathFor(target);
    if (isStream(target)) return copyToStream(path, target);
    return moveTo(path, resolved(target), replace) || failAt(target, errno);
}

bool mayWrite(const char* target, bool replace) {
    struct stat status {};
    if (isStream(target) || stat(target, &status) != 0) return true;
    if (S_ISDIR(status.st_mode)) return failAt(target, EISDIR);
    if (!replace) report(target, 0, "there already; --force replaces it");
    return replace;
}
