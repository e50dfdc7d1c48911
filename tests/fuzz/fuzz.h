// fuzz.h - for the fuzz targets, which feed inputs to the product, in files of the working directory, and assert that
// the product does right; to refuse an input is right.
#pragma once

#include "exit_hook.h"

#include <cassert>
#include <cstdint>
#include <fstream>
#include <string>

void feed(const std::string& input);  // the target

extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    feed(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}

inline void writeFile(const char* name, const std::string& bytes) { std::ofstream(name, std::ios::binary) << bytes; }

// False if the product ends the process.
template <typename Function>
bool goesOn(Function function) try {
    function();
    return true;
} catch (const Ended&) {
    return false;
}
