// glm_lines.h - the reader of what today's programs write, which several threads share
//
// The text is cut at ends of lines into chunks. A first pass counts what is in each chunk and notes its statements of
// state (groups, objects, smoothing groups, materials, libraries) with their names. Sums over the chunks in front of
// it then give each its places in the model's arrays, from which relative indices count, and the state that it starts
// with. A second pass fills the arrays, chunk by chunk; a third makes triangles of concave polygons, and facet
// normals.
//
//   glm_source      the text, its lines
//   glm_count.cpp   the first pass
//   glm_join.cpp    what is between the passes
//   glm_fill.cpp    the second pass
//   glm_lines.cpp   the third, and the whole
#pragma once

#include "glm/glm_call.h"
#include "glm/glm_names.h"
#include "glm/glm_source.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

enum class GLMkeyword : std::uint8_t {
    position,
    normal,
    texcoord,
    face,
    line,
    point,  // what arrays are filled with
    group,
    object,
    smoothing,
    material,
    library,  // state
    curve,
    attribute,
    unknown,
    none  // skipped
};

// The keyword of the statement at `p`, which blanks or the line's end follow. `none` where the line is empty or a
// comment.
GLMkeyword __glmKeyword(const char* p);

// Behind the keyword at `p`.
inline const char* __glmWordEnd(const char* p) {
    while (static_cast<unsigned char>(*p) > ' ' && !(*p == '\\' && __glmIsEnd(p[1]))) ++p;
    return p;
}

// A statement of state.
struct GLMevent {
    std::uint32_t value;  // counting: the chunk's number of the name, or the smoothing group; then: what it selects
    std::uint32_t at;     // triangles in front of it: counting, in the chunk; then, of a group, in that
    std::uint32_t line;   // in the chunk, from 0
    GLMkeyword keyword;
};

struct GLMstate {
    std::uint32_t group = 0, groupAt = 0;  // the group, and how many of its triangles are in front
    std::uint32_t object = GLM_NO_INDEX;
    std::uint32_t material = 0, smoothing = 0;
};

// What is told of once, with how often it was met.
enum class GLMnotice : std::uint8_t { curves, unknown, corners, smoothing, texcoords, normals };
constexpr std::size_t GLM_NOTICES = 6;
struct GLMnoted {
    std::uint64_t count = 0, first = 0;  // the first one's place in the text
};

struct GLMcounts {
    std::uint64_t positions = 0, normals = 0, texcoords = 0, triangles = 0, elements = 0, corners = 0, lines = 0;
};

inline void __glmAdd(GLMcounts& sum, const GLMcounts& counts) {
    for (std::uint64_t GLMcounts::*count :
         {&GLMcounts::positions, &GLMcounts::normals, &GLMcounts::texcoords, &GLMcounts::triangles,
          &GLMcounts::elements, &GLMcounts::corners, &GLMcounts::lines})
        sum.*count += counts.*count;
}

// An array that grows. False when memory is short.
template <typename T>
struct GLMlist {
    std::unique_ptr<T[], __glmFree> items;
    std::uint32_t count = 0;

    bool add(const T& item) {
        constexpr std::uint32_t FIRST = 8;
        const bool full = count == 0 || (count >= FIRST && (count & (count - 1)) == 0);
        if (full) {
            // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
            void* larger = reallocarray(items.get(), count == 0 ? FIRST : std::size_t{2} * count, sizeof(T));
            if (larger == nullptr) return false;
            static_cast<void>(items.release());  // it was reallocated
            items.reset(static_cast<T*>(larger));
        }
        items[count] = item;
        return ++count != 0;
    }
};

struct GLMchunk {
    std::uint64_t begin = 0, end = 0;  // places in the text
    GLMcounts counts = {};             // of what is in it
    GLMcounts before = {};             // of what is in front of it
    GLMstate state = {};               // where it starts
    GLMlist<GLMevent> events = {};
    GLMlist<char*> names = {};  // of states: the keyword as a character, and the name; by first mention
    GLMnames numbers = {};      // theirs
    GLMnoted notices[GLM_NOTICES] = {};
    char unknown[32] = "";      // its first unknown keyword
    bool known = false;         // it has a statement
    bool colored = false;       // some position has a colour
    bool smoothed = false;      // it has a smoothing group
    char error[192] = "";       // why the call fails; empty when it does not
    std::uint64_t errorAt = 0;  // place in the text that this is about

    GLMchunk() = default;
    GLMchunk(const GLMchunk&) = delete;
    GLMchunk& operator=(const GLMchunk&) = delete;
    ~GLMchunk() { dropNames(); }
    void dropNames();
};

struct GLMjob {
    GLMcall& call;
    GLMmodel* model;
    GLMextras* extras = nullptr;  // or null
    GLMsource source = {};
    unsigned threads = 1;
    std::unique_ptr<GLMchunk[]> chunks = {};
    std::size_t count = 0;                      // of the chunks
    std::unique_ptr<GLMwindow[]> windows = {};  // one for each thread
    GLMlist<GLMgroup*> groups = {};             // by first mention
    GLMlist<char*> libraries = {};              // by first mention
    std::atomic<std::size_t> failed{SIZE_MAX};  // the first chunk that has failed, as far as known
    std::atomic<std::uint64_t> done{0};         // bytes read, in both passes

    ~GLMjob();
};

// Notes why the call fails, for a place of the text, unless the chunk has failed before.
[[gnu::format(printf, 3, 4)]] void __glmFailChunk(GLMchunk& chunk, std::uint64_t place, const char* format, ...);

inline void __glmNotice(GLMchunk& chunk, GLMnotice notice, std::uint64_t place) {
    GLMnoted& noted = chunk.notices[static_cast<std::size_t>(notice)];
    if (noted.count++ == 0) noted.first = place;
}

// The first and the second pass over lines of a chunk, one window after the other. They return false when the chunk
// fails.
struct GLMcounter {
    const GLMjob& job;
    GLMchunk& chunk;
    std::uint64_t offset = 0;  // of the window in the text
    const char* window = nullptr;
};
GLMcounter __glmCounterOf(const GLMjob& job, GLMchunk& chunk);
bool __glmCountWindow(GLMcounter& counter, const GLMwindow& window);

// Of the next of each kind, in the whole text.
struct GLMplaces {
    std::uint32_t positions, normals, texcoords, triangles, elements, corners;
};

struct GLMfiller : GLMplaces {
    const GLMjob& job;
    GLMchunk& chunk;
    GLMplaces end;  // of the chunk
    GLMstate state;
    std::uint32_t event = 0;           // the chunk's next one
    std::uint32_t* members = nullptr;  // of the state's group, ...
    std::uint32_t room = 0;            // ... and how many they are
    std::uint64_t offset = 0;          // of the window in the text
    const char* window = nullptr;
};
GLMfiller __glmFillerOf(const GLMjob& job, GLMchunk& chunk);
bool __glmFillWindow(GLMfiller& filler, const GLMwindow& window);

// Between the passes: adds up the counts, reads the libraries, and makes the groups, the arrays and the chunks'
// states. False when the call fails.
bool __glmJoin(GLMjob& job);

// The line of a place in a chunk, from 1.
std::uint64_t __glmLineOf(const GLMjob& job, const GLMchunk& chunk, std::uint64_t place);

// Reads a text whose file is read at any place, or whose bytes are all in memory, into an empty model and empty
// extras (or null). False when the call fails.
bool __glmReadLines(GLMcall& call, const GLMtext& text, GLMmodel* model, GLMextras* extras);
