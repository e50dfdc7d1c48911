#include "watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

void FolderWatch::watch(const std::string& folder) {
    end();
    file = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (file >= 0) inotify_add_watch(file, folder.empty() ? "." : folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
}

bool FolderWatch::hasChanged(const std::vector<std::string>& names) const {
    alignas(inotify_event) char events[4096];
    bool changed = false;
    for (;;) {
        const ssize_t size = file >= 0 ? read(file, events, sizeof events) : -1;
        if (size <= 0) return changed;
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            inotify_event event;
            std::memcpy(&event, events + at, sizeof event);
            if (event.len > 0 && std::find(names.begin(), names.end(), events + at + sizeof event) != names.end())
                changed = true;
            at += sizeof event + event.len;
        }
    }
}

void FolderWatch::end() {
    if (file >= 0) close(file);
    file = -1;
}
