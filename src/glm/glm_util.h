// glm_util.h - what the files of the model library share: diagnostics, strings, memory, records
//
// Standard error only. The functions never return an error: what cannot go on ends the process. glm_call.h has those
// that return.
//
// The leading underscores of these names are part of the library's interface, though C++ reserves them to the
// implementation; no C or C++ library in use has names of this prefix.
#pragma once

#include "glm/glm.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

// The second library calls what is declared here in the first, of the same version. It is no part of the interface.
#pragma GCC visibility push(default)

// Writes "GLM: Warning: ", the text and a line end.
[[gnu::format(printf, 1, 2)]] void __glmWarning(const char* format, ...);
// Writes "GLM: Fatal Error: ", the text and a line end; ends the process with status 1.
[[noreturn, gnu::format(printf, 1, 2)]] void __glmFatalError(const char* format, ...);
// Writes "GLM: Fatal API Usage: ", the text and a line end; aborts the process.
[[noreturn, gnu::format(printf, 1, 2)]] void __glmFatalUsage(const char* format, ...);
// Warns of each pending GL error. Needs a GL context; in the library that draws.
void __glmReportErrors();

// New strings, which the caller frees. Only __glmStrdup says that memory is short, with null; for the others that is
// a fatal error.
char* __glmStrdup(const char* string);
char* __glmStrStrip(const char* string);  // without surrounding blanks and line ends; null when nothing remains
char* __glmDirName(const char* path);     // up to and including the last "/", or empty

// Floats in an entry of the arrays of positions and normals, and of texture coordinates.
constexpr std::size_t GLM_VECTOR_SIZE = 3, GLM_TEXCOORD_SIZE = 2;

// The position or normal that `index` names.
template <typename Float>
Float* __glmVector(Float* vectors, std::uint32_t index) {
    return vectors + GLM_VECTOR_SIZE * index;
}

// "Ns" of a material counts to 100, the GL's exponent to 128.
constexpr float GLM_MTL_SHININESS = 100.0f, GLM_GL_SHININESS = 128.0f;

// What a material is like that its library says nothing of.
constexpr GLMmaterial GLM_DEFAULT_MATERIAL = {
    .name = nullptr,
    .diffuse = {0.8f, 0.8f, 0.8f, 1.0f},
    .ambient = {0.2f, 0.2f, 0.2f, 1.0f},
    .specular = {0.0f, 0.0f, 0.0f, 1.0f},
    .shininess = 65.0f,
    .map_diffuse = -1,
};

// Deleter of what malloc gave, for owners inside a function.
struct __glmFree {
    void operator()(void* memory) const { std::free(memory); }
};
using GLMstring = std::unique_ptr<char, __glmFree>;

// `count` elements of `size` bytes, zeroed; null when memory is short.
void* __glmZeroed(std::size_t count, std::size_t size);

// `array`, which may be null, with room for `count` elements. Null when memory is short; `array` stays then.
void* __glmRegrow(void* array, std::size_t count, std::size_t size);

// As __glmZeroed, never null; a failed allocation is a fatal error.
void* __glmAllocate(std::size_t count, std::size_t size);
template <typename T>
T* __glmArray(std::size_t count) {
    return static_cast<T*>(
        __glmAllocate(count, sizeof(T)));  // NOLINT(bugprone-sizeof-expression): T may be a pointer
}

// `array`, which may be null, with room for `count` elements; a failed allocation is a fatal error.
void* __glmReallocate(void* array, std::size_t count, std::size_t size);

// Entries 0 to `count` of `size` floats each: zeroed ones, and those of `entries` with room for as many.
float* __glmEntries(std::uint32_t count, std::size_t size);
float* __glmResizeEntries(float* entries, std::uint32_t count, std::size_t size);

// Adds `more` to a count of the model's, of `what`. More than an index can tell apart is a fatal error.
inline void __glmCount(const GLMmodel& model, std::uint32_t& count, std::uint32_t more, const char* what) {
    constexpr std::uint32_t MOST = GLM_NO_INDEX - 1;
    if (more > MOST - count) __glmFatalError("more than %u %s in model \"%s\"", MOST, what, model.pathname);
    count += more;
}

// A copy, never null; a failed allocation is a fatal error.
char* __glmCopy(const char* string);

// Length of what __glmDirName copies. Here and for the names beside it, null is a path without a directory.
std::size_t __glmDirectoryLength(const char* path);

// What __glmStrStrip copies.
std::string_view __glmStripped(const char* string);

// The directory of `path` followed by `name`.
GLMstring __glmBeside(const char* path, const char* name);

// Owners of a model inside a function: of one with textures in the GL, and of one without.
template <void (*release)(GLMmodel*)>
struct __glmRelease {
    void operator()(GLMmodel* model) const { release(model); }
};
using GLMowned = std::unique_ptr<GLMmodel, __glmRelease<glmDelete>>;
using GLMfreed = std::unique_ptr<GLMmodel, __glmRelease<glmFree>>;

void __glmFreeMaterials(GLMmodel* model);

#pragma GCC visibility pop
