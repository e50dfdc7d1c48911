// temp_dir.h - a folder that is gone when the test is over, and the bytes of a file
#pragma once

#include <filesystem>
#include <string>

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return folder; }
    // Writes `bytes` to the file `name` in the folder and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const;

private:
    std::filesystem::path folder;
};

// The bytes of a file; none where it cannot be read.
std::string readFile(const std::filesystem::path& path);
