// glm_lines.h - the reader of what today's programs write, which several threads share
//
// The text is cut at ends of lines into chunks, which are read in one go. A thread takes the next chunk, counts what
// is in it and notes its statements of state (groups, objects, smoothing groups, materials, libraries) with their
// names. Then it waits for its turn: one after the other, in the order of the text, the chunks get their places in
// the model's arrays, which grow, and the state that they start with; relative indices count from these places. After
// that the thread fills its part of the arrays while others do the same with theirs, and makes triangles of concave
// polygons, and facet normals. A corner may name a position that a later chunk holds: its chunk is then filled again
// at the end, when it is known what is there.
//
//   glm_source      the text, its lines
//   glm_count.cpp   what is in a chunk
//   glm_join.cpp    its turn, and what is left to do at the end
//   glm_fill.cpp    its part of the arrays
//   glm_lines.cpp   the whole
#pragma once

#include "glm/glm_call.h"
#include "glm/glm_names.h"
#include "glm/glm_source.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

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
    std::uint32_t at;     // triangles of the chunk in front of it
    std::uint32_t line;   // in the chunk, from 0
    GLMkeyword keyword;
};

struct GLMstate {
    std::uint32_t group = 0;
    std::uint32_t object = GLM_NO_INDEX;
    std::uint32_t material = 0, smoothing = 0;
};

// What is told of once, with how often it was met.
enum class GLMnotice : std::uint8_t { curves, unknown, corners, smoothing, texcoords, normals };
constexpr std::size_t GLM_NOTICES = 6;
struct GLMnoted {
    std::uint64_t count = 0, line = 0;  // the first one's, from 0
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

// Why the call fails; empty when it does not.
struct GLMfailure {
    char text[192] = "";
    std::uint64_t line = 0;  // that this is about, from 0
};

// Its lines are counted from its own first one.
struct GLMchunk {
    std::size_t number = 0;
    std::uint64_t begin = 0, end = 0;  // places in the text
    GLMcounts counts = {};             // of what is in it
    GLMcounts before = {};             // of what is in front of it
    GLMstate state = {};               // where it starts
    GLMlist<GLMevent> events = {};
    GLMlist<char*> names = {};  // of states: the keyword as a character, and the name; by first mention
    GLMnames numbers = {};      // theirs
    GLMnoted notices[GLM_NOTICES] = {};
    char unknown[32] = "";  // its first unknown keyword
    bool known = false;     // it has a statement
    bool colored = false;   // some position has a colour
    bool smoothed = false;  // it has a smoothing group
    bool waits = false;     // a corner of it is right or wrong by what follows in the text
    GLMfailure failure = {};
    GLMwindow kept = {};  // its text, if that has to be kept

    GLMchunk() = default;
    GLMchunk(const GLMchunk&) = delete;
    GLMchunk& operator=(const GLMchunk&) = delete;
    ~GLMchunk() { dropNames(); }
    void dropNames();
};

// Triangles in a row of one group.
struct GLMrun {
    std::uint32_t group, count;
};

// Triangles whose polygons are to be cut and whose facet normals are to be made.
struct GLMspan {
    std::uint32_t first, last;
};

// A material that was chosen while no library that had been read held it.
struct GLMwanted {
    char* name;
    std::uint64_t line, count;  // of the first time, from 1; how many times
    std::uint32_t number;       // of the material, at the end
};

// A material that may be a group's, if none in front of it is.
struct GLMchoice {
    std::uint32_t group, material;
};

// Numbers of wanted materials follow those of materials that are there.
constexpr std::uint32_t GLM_WANTED = std::uint32_t{1} << 31;

struct GLMjob {
    GLMcall& call;
    GLMmodel* model;
    GLMextras* extras;  // or null
    GLMsource& source;
    std::size_t chunk;  // bytes
    unsigned threads = 1;
    std::unique_ptr<GLMwindow[]> windows = {};  // one for each thread

    // The rest, the call and the model are for the thread that has this lock; array elements are the fillers'.
    std::mutex lock = {};
    std::condition_variable changed = {};
    std::uint64_t next = 0;         // place of the next chunk
    std::size_t taken = 0;          // chunks so far
    std::size_t turn = 0;           // number of the chunk that is next to get its places
    unsigned filling = 0;           // chunks that are being filled: arrays must stay where they are
    unsigned unplaced = 0;          // those of them that hold positions
    bool known = false;             // there is a statement
    GLMcounts sum = {}, room = {};  // of what is in the chunks so far, and in the arrays
    GLMstate state = {};            // behind them
    bool colored = false, smoothed = false, inObjects = false;         // the extras have arrays of that, ...
    std::uint32_t colorsFrom = 0, smoothingFrom = 0, objectsFrom = 0;  // ... which are filled from here on
    GLMlist<GLMgroup*> groups = {};                                    // by first mention
    GLMlist<char*> libraries = {};                                     // by first mention
    GLMlist<GLMwanted> wanted = {};                                    // by first mention
    GLMnames groupNumbers = {}, materialNumbers = {}, wantedNumbers = {}, libraryNumbers = {};
    GLMlist<GLMrun> runs = {};
    GLMlist<GLMchoice> choices = {};  // of groups whose first material is a wanted one
    GLMlist<GLMspan> facets = {};     // left for the end
    GLMlist<GLMchunk*> waiting = {};  // to be filled again
    GLMnoted notices[GLM_NOTICES] = {};
    char unknown[sizeof GLMchunk::unknown] = "";
    std::size_t failed = SIZE_MAX;  // the first chunk that has failed so far
    GLMfailure failure = {};        // its own

    ~GLMjob();
};

// Lets the job know of a chunk's failure. The caller has the lock.
void __glmNoteFailure(GLMjob& job, const GLMchunk& chunk);

// Notes why the call fails, for a line of the chunk, unless the chunk has failed before.
[[gnu::format(printf, 3, 4)]] void __glmFailChunk(GLMchunk& chunk, std::uint64_t line, const char* format, ...);

inline void __glmNotice(GLMnoted& noted, std::uint64_t count, std::uint64_t line) {
    if (noted.count == 0 || line < noted.line) noted.line = line;
    noted.count += count;
}
inline GLMnoted& __glmNoted(GLMchunk& chunk, GLMnotice notice) {
    return chunk.notices[static_cast<std::size_t>(notice)];
}

// What is in a chunk. False when it fails.
bool __glmCountChunk(const GLMjob& job, GLMchunk& chunk, const GLMwindow& window);

// A counted chunk's turn: adds up the counts, reads libraries, makes groups, room in the arrays and the chunk's
// state. The caller has the lock. False when the call fails.
bool __glmJoinChunk(GLMjob& job, GLMchunk& chunk, std::unique_lock<std::mutex>& lock);

// After the last chunk: what belongs to the whole model, and arrays of their exact sizes. False when the call fails.
bool __glmJoinEnd(GLMjob& job);

// Of the next of each kind, in the whole text.
struct GLMplaces {
    std::uint32_t positions, normals, texcoords, triangles, elements, corners;
};

struct GLMfiller : GLMplaces {
    GLMchunk& chunk;
    const GLMwindow& window;
    GLMplaces end;    // of the chunk
    GLMplaces known;  // of what the text holds, as far as it is known
    bool whole;       // that is all of it
    GLMstate state;
    bool polygons = false, takesElements = false;
    std::uint32_t event = 0;                                              // the chunk's next one
    std::ptrdiff_t indexLength = 1, wholeLength = 1, fractionLength = 6;  // of the last numbers, in characters
    float *vertices = nullptr, *normalArray = nullptr, *texcoordArray = nullptr, *colors = nullptr;
    GLMtriangle* triangleArray = nullptr;
    std::uint32_t *objects = nullptr, *smoothing = nullptr;
    GLMelement* elementArray = nullptr;
    GLMelementcorner* cornerArray = nullptr;
};

// Fills a chunk's part of the arrays. The caller has the lock when it makes the filler, and keeps the arrays where
// they are. False when the chunk fails.
GLMfiller __glmFillerOf(const GLMjob& job, GLMchunk& chunk, const GLMwindow& window, bool whole);
bool __glmFillChunk(GLMfiller& filler);

// Reads a source into an empty model and empty extras (or null). False when the call fails.
bool __glmReadLines(GLMcall& call, GLMsource& source, GLMmodel* model, GLMextras* extras);
