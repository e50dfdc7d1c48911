// watch.h - tells when a file of a folder has changed
#pragma once

#include <string>
#include <vector>

// Watches a folder from here on, instead of the one before.
class FolderWatch {
public:
    FolderWatch() = default;
    ~FolderWatch() { end(); }
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    void watch(const std::string& folder);
    // Whether a file of one of these names, without folders, was written or put there since the last call. Does not
    // wait.
    bool hasChanged(const std::vector<std::string>& names) const;

private:
    void end();

    int file = -1;
};
