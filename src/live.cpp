#include "live.h"

#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

enum class State { unknown, off, on };

// A file by inotify's number of the directory that is watched for it, and its name there. A file behind a symbolic
// link has two places.
using Place = std::pair<int, std::string>;

struct Loaded {
    std::vector<std::string> paths;
    LoadAgain load;
    std::vector<Place> places = {};
    std::string error = {};  // of the last time
};

State state = State::unknown;
int inotify = -1;
int reloads = 0;
std::deque<Loaded> loads;  // which stay in place while one of them registers another

// ---- Watching -----------------------------------------------------------------------------------------------------

void watch(Loaded& loaded, const fs::path& file) {
    const fs::path folder = file.parent_path();
    const int directory =
        inotify_add_watch(inotify, folder.empty() ? "." : folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
    if (directory >= 0)
        loaded.places.push_back({directory, file.filename()});
    else
        std::printf("[/] --live: %s is not watched: %s\n", file.c_str(), std::strerror(errno));
}

void watchFiles(Loaded& loaded) {
    for (const std::string& path : loaded.paths) {
        watch(loaded, path);
        std::error_code missing;
        const fs::path target = fs::canonical(path, missing);
        if (!missing) watch(loaded, target);
    }
}

// What has been saved since the last call. Directory -1: more than the system could tell.
std::set<Place> savedPlaces() {
    std::set<Place> saved;
    alignas(inotify_event) std::array<char, 65536> events;
    for (ssize_t bytes = 0; (bytes = read(inotify, events.data(), events.size())) > 0;) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(bytes);) {
            inotify_event event = {};
            std::memcpy(&event, &events[at], sizeof event);
            saved.insert({event.wd, event.len > 0 ? &events[at + sizeof event] : ""});
            at += sizeof event + event.len;
        }
    }
    return saved;
}

// The sound library never closes a tune, so each save of one leaves an open file.
void allowManyFiles() {
    rlimit files = {};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
}

// ---- Loading again ------------------------------------------------------------------------------------------------

bool isAnyEmpty(const std::vector<std::string>& paths) {
    return std::any_of(paths.begin(), paths.end(), [](const std::string& path) {
        std::error_code unknown;
        return fs::file_size(path, unknown) == 0;
    });
}

void loadAgain(Loaded& loaded) {
    if (isAnyEmpty(loaded.paths)) return;
    loaded.error = loaded.load();
    if (!loaded.error.empty()) {
        std::puts(loaded.error.c_str());
        return;
    }
    ++reloads;
    std::printf("[*] loaded again: %s\n", loaded.paths.front().c_str());
}

}  // namespace

void ryl_reloadOnSave(const std::vector<std::string>& paths, LoadAgain load, const std::string& wrong) {
    if (state == State::off) return;
    loads.push_back({paths, std::move(load), {}, wrong});
    if (state == State::on) watchFiles(loads.back());
}

void ryl_startLive(bool live) {
    state = live ? State::on : State::off;
    if (!live) {
        loads.clear();
        return;
    }
    allowManyFiles();
    inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    for (Loaded& loaded : loads) watchFiles(loaded);
}

bool ryl_isLive() { return state == State::on; }

void ryl_reloadSaved() {
    if (state != State::on) return;
    const std::set<Place> saved = savedPlaces();
    if (saved.empty()) return;
    const bool isOverflow = saved.begin()->first == -1;
    for (std::size_t i = 0; i < loads.size(); ++i) {
        const std::vector<Place>& places = loads[i].places;
        const bool isSaved =
            std::any_of(places.begin(), places.end(), [&](const Place& place) { return saved.contains(place); });
        if (isSaved || isOverflow) loadAgain(loads[i]);
    }
}

int ryl_reloadCount() { return reloads; }

std::string ryl_liveErrors() {
    std::string errors;
    for (const Loaded& loaded : loads)
        if (!loaded.error.empty()) errors += loaded.error + "\n";
    return errors;
}
