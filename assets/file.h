// file.h - a file that the generators write, closed when its owner goes
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;
