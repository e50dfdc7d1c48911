// glm_call.h - one call of the reader or the writer: what it was given, and how it says what goes wrong
//
// There are two ways. The entries of glm.h print each warning, and print and end the process at the first failure; a
// GLMcall as it is made does that. Those of glm_try.h collect warnings, and note the first failure: __glmFail then
// returns, the text that is being read stands at its end, and each function on the way back returns what it has.
#pragma once

#include "glm/glm_names.h"
#include "glm/glm_try.h"
#include "glm/glm_util.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#pragma GCC visibility push(default)  // see glm_util.h

struct GLMtext;

// How images get into a model: fills in all of a texture but its name from the image file `path`. Where the loader is
// null, no file is opened and textures have names only.
using GLMimageLoader = void (*)(const char* path, GLMtexture& texture);

// A warning that was met, once or more: the file's name with its NUL, then the text with its own.
struct GLMmet {
    char* names;
    const char* text;
    unsigned long long line, count;
};

struct GLMcall {
    GLMcall() = default;
    GLMcall(const GLMcall&) = delete;
    GLMcall& operator=(const GLMcall&) = delete;
    ~GLMcall();

    GLMimageLoader load = nullptr;
    bool returns = false;  // failures return, warnings are collected
    bool failed = false;
    GLMoptions options = {};
    GLMerror* error = nullptr;     // where a failure that returns is noted, or null
    const char* file = "";         // that the call is busy with
    GLMtext* text = nullptr;       // of it, when it is read
    unsigned long long line = 0;   // that messages are about, where there is no such text
    unsigned long long times = 1;  // that the next warning was met
    std::size_t chunk = 0;         // bytes of a text that one thread takes at a time; 0 leaves it to the reader
    bool baseline = false;         // without instructions that not every processor has, for tests
    int percent = 0;               // that progress was told of
    GLMmet* met = nullptr;         // warnings
    std::uint32_t metCount = 0;    // room is there for the next power of two
    GLMnames metNames = {};        // their numbers in `met`
};

// Makes it a call whose failures return.
void __glmLetReturn(GLMcall& call, GLMerror* error, const GLMoptions& options);

// Hands the warnings to the handler. True when the call has not failed.
bool __glmEnd(GLMcall& call);

// What a message says at its end about the place, where it is printed: nothing, " in file ..." or " in file ..., line
// ...".
enum class GLMplace { none, file, line };

// Tells the handler of progress, if there is one, which part of the whole is done. It fails the call when it cancels.
void __glmTellDone(GLMcall& call, double done);

[[gnu::format(printf, 3, 4)]] void __glmWarn(GLMcall& call, GLMplace place, const char* format, ...);
[[gnu::format(printf, 3, 4)]] void __glmFail(GLMcall& call, GLMplace place, const char* format, ...);

// Fails with "out of memory" for that many elements of that size.
void __glmFailAtMemory(GLMcall& call, std::size_t count, std::size_t size);

// `count` elements, zeroed. Null when memory is short, which is a failure of the call; so with all that follows.
template <typename T>
T* __glmTryArray(GLMcall& call, std::size_t count) {
    void* memory = __glmZeroed(count, sizeof(T));  // NOLINT(bugprone-sizeof-expression): T may be a pointer
    if (memory == nullptr) __glmFailAtMemory(call, count, sizeof(T));  // NOLINT(bugprone-sizeof-expression)
    return static_cast<T*>(memory);
}
float* __glmTryEntries(GLMcall& call, std::uint32_t count, std::size_t size);

// Room for `count` elements in the array, which may be null. False leaves it as it is.
template <typename T>
bool __glmTryResize(GLMcall& call, T*& array, std::size_t count) {
    void* memory = reallocarray(array, count, sizeof(T));
    if (memory == nullptr) {
        __glmFailAtMemory(call, count, sizeof(T));
        return false;
    }
    array = static_cast<T*>(memory);
    return true;
}

// Room for one element more than `count`, in an array that grows in no other way: to powers of two.
template <typename T>
bool __glmTryGrow(GLMcall& call, T*& array, std::uint32_t count) {
    return (count & (count - 1)) != 0 || __glmTryResize(call, array, count == 0 ? 1 : std::size_t{2} * count);
}

char* __glmTryCopy(GLMcall& call, std::string_view string);

// The directory of `path` followed by `name`.
GLMstring __glmTryBeside(GLMcall& call, const char* path, const char* name);

// Adds `more` to a count of the model's, of `what`. False, and a failure, when an index cannot tell as many apart.
inline bool __glmTryCount(GLMcall& call, const GLMmodel& model, std::uint32_t& count, std::uint32_t more,
                          const char* what) {
    constexpr std::uint32_t MOST = GLM_NO_INDEX - 1;
    if (more > MOST - count) {
        __glmFail(call, GLMplace::none, "more than %u %s in model \"%s\"", MOST, what, model.pathname);
        return false;
    }
    count += more;
    return true;
}

// Of a name that glmFindMaterial does not find.
constexpr char GLM_NO_SUCH_MATERIAL[] = "glmFindMaterial():  can't find material \"%s\".";

// A new group without triangles at the head of the model's list, which holds no group of that name yet; or null.
GLMgroup* __glmNewGroup(GLMcall& call, GLMmodel* model, const char* name);

// What is read: the file of a path, an open file, or bytes in memory.
struct GLMmodelsource {
    const char* path;
    std::FILE* file;
    const void* bytes;
    std::size_t size;
};

// What glmTryReadOBJ and the like do, the end of the call included.
GLMmodel* __glmTryRead(GLMcall& call, const GLMmodelsource& source);

// What glmReadOBJ, glmReadMTL, glmFindOrAddTexture and glmFacetNormals do. Null or false when the call fails.
GLMmodel* __glmReadOBJ(GLMcall& call, const char* path);
bool __glmReadMTL(GLMcall& call, GLMmodel* model, const char* name);
std::uint32_t __glmFindOrAddTexture(GLMcall& call, GLMmodel* model, const char* name);
std::uint32_t __glmAddTexture(GLMcall& call, GLMmodel* model, const char* name);  // one that is not there yet
bool __glmFacetNormals(GLMcall& call, GLMmodel* model);

// The facet normals of the triangles from `first` up to `last`, in an array that is there.
void __glmMakeFacets(const GLMmodel& model, std::uint32_t first, std::uint32_t last);

// Adds the materials of the library `name` behind those of the model, which has entry 0, "default", from then on,
// and, if they are not null, to those of the extras, which are as many. A library that cannot be opened is a warning.
// The default mode's "mtllib"; a name that was added before is for the caller to leave out. False when the call
// fails.
bool __glmAddLibrary(GLMcall& call, GLMmodel* model, GLMextras* extras, const char* name);

// What a mode word cannot have together, or not with a model.
struct GLMcorrection {
    int bits;      // when all of these are asked for ...
    bool applies;  // ... and this holds ...
    int drop;      // ... these are dropped, with the warning.
    const char* warning;
};

// Applies the corrections in order, each with its warning "caller() warning: text".
int __glmCorrectMode(GLMcall& call, const char* caller, int mode, std::span<const GLMcorrection> corrections);

#pragma GCC visibility pop
