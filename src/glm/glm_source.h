// glm_source.h - a text that several threads read, and the statements' lines in it
//
// A line ends in LF, CR LF or CR. It goes on in the next one when a backslash comes directly before its end, unless a
// "#" stands anywhere in it. Blanks are all other characters up to the space, NUL included.
#pragma once

#include "glm/glm_text.h"

#include <cstddef>
#include <cstdint>

// Bytes in memory, or a part of a file that can be read at any place.
struct GLMsource {
    const char* bytes = nullptr;
    int file = -1;           // its descriptor where `bytes` is null
    std::int64_t start = 0;  // where in it the text begins
    std::uint64_t size = 0;
};

GLMsource __glmSourceOf(const GLMtext& text);

// Reads `size` bytes that are there. False when they cannot be read.
bool __glmReadAt(const GLMsource& source, std::uint64_t place, char* to, std::size_t size);

// The first place from `place` on that follows a line's end which goes on in no next line, whatever stands in front
// of it; or the size. `failed` is set where it cannot be read.
std::uint64_t __glmCut(const GLMsource& source, std::uint64_t place, bool& failed);

// How many lines end between two places, the first of which is a line's start.
std::uint64_t __glmCountLines(const GLMsource& source, std::uint64_t from, std::uint64_t to);

// Whole lines of a part of the text that starts and ends at cuts, one window after the other.
struct GLMwindow {
    const GLMsource* source;
    std::uint64_t next, last;  // the rest of the part, which is to be read: from, to
    std::uint64_t offset;      // of the lines in the text
    char *begin, *end;         // the lines. The last one ends, and a NUL follows.
    GLMstring memory;
    std::size_t capacity;  // of it, without the room in front and behind
    std::size_t held;      // bytes from `begin` on, some of which are behind `end`
    char hidden;           // what the NUL hides
    const char* error;     // null, or why there are no more lines: GLM_CANNOT_READ or GLM_NO_MEMORY
};
constexpr char GLM_CANNOT_READ[] = "can't read file", GLM_NO_MEMORY[] = "out of memory (one line)";

void __glmStartWindow(GLMwindow& window, const GLMsource& source, std::uint64_t from, std::uint64_t to);

// The next lines; false at the end, and where there is an error.
bool __glmNextLines(GLMwindow& window);

// ---- In a window --------------------------------------------------------------------------------------------------

inline bool __glmIsEnd(char c) { return c == '\n' || c == '\r'; }
inline bool __glmIsBlank(char c) { return static_cast<unsigned char>(c) <= ' ' && !__glmIsEnd(c); }

// Whether the "#" at `p` starts a comment; that of "1.#INF" does not.
inline bool __glmIsComment(const char* p) { return p[-1] != '.'; }

// Behind the line's end at `p`.
inline const char* __glmNextLine(const char* p) { return *p == '\r' && p[1] == '\n' ? p + 2 : p + 1; }

// Past blanks, and on into the next line where this one goes on there.
inline const char* __glmSkipBlanks(const char* p) {
    for (;;) {
        while (__glmIsBlank(*p)) ++p;
        if (*p != '\\' || !__glmIsEnd(p[1])) return p;
        p = __glmNextLine(p + 1);
    }
}

// Whether the line's end at `p`, with at least two characters in front of it, goes on.
inline bool __glmGoesOn(const char* p) { return p[-1] == '\\' || (*p == '\n' && p[-1] == '\r' && p[-2] == '\\'); }
