// fuzz.h - what the fuzz targets share. A target feeds an input to the product, in files of the working directory, and
// aborts when the product does wrong; an input that the product refuses is none of that.
#pragma once

#include "exit_hook.h"
#include "glm/glm.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

struct DeleteModel {
    void operator()(GLMmodel* model) const { glmDelete(model); }
};
using Model = std::unique_ptr<GLMmodel, DeleteModel>;

inline void writeFile(const char* name, const std::string& bytes) { std::ofstream(name, std::ios::binary) << bytes; }

inline void require(bool condition) {
    if (!condition) std::abort();
}

// False when the product ends the process.
template <typename Function>
bool goesOn(Function function) {
    try {
        function();
        return true;
    } catch (const Ended&) {
        return false;
    }
}
