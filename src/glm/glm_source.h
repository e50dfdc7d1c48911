// glm_source.h - a text that several threads read, and the statements' lines in it
//
// A line ends in LF, CR LF or CR. It goes on in the next one when a backslash comes directly before its end, unless a
// "#" stands anywhere in it. Blanks are all other characters up to the space, NUL included.
#pragma once

#include "glm/glm_call.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

// Bytes in memory, a file that can be read at any place, or a pipe, which is read as it comes.
struct GLMsource {
    const char* bytes = nullptr;
    int file = -1;  // a descriptor, where it is a file
    std::FILE* pipe = nullptr;
    std::int64_t start = 0;  // where in the file the text begins
    std::uint64_t size = 0;  // of the text, unless it is a pipe's
    struct Close {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };
    std::unique_ptr<std::FILE, Close> opened = {};  // if it is the source's own
};

// False when it cannot be opened or is a directory: errno says why.
bool __glmOpenSource(const GLMmodelsource& from, GLMsource& source);

// Reads `size` bytes that are there, not of a pipe. False when they cannot be read.
bool __glmReadAt(const GLMsource& source, std::uint64_t place, char* to, std::size_t size);

// The first place from `place` on that follows a line's end which goes on in no next line, whatever stands in front
// of it; or the size. `failed` is set where it cannot be read. Not of a pipe.
std::uint64_t __glmCut(const GLMsource& source, std::uint64_t place, bool& failed);

// Whole lines of a text.
struct GLMwindow {
    char *begin = nullptr, *end = nullptr;  // the lines. The last one ends, and a NUL follows.
    GLMstring memory = {};
    std::size_t capacity = 0;  // of it, without the room in front and behind
    std::size_t held = 0;      // of a pipe: bytes from `begin` on, some of which are behind `end`
    char hidden = '\0';        // what the NUL hides
};

// These say null, or why the lines cannot be had: GLM_CANNOT_READ or GLM_NO_MEMORY.
constexpr char GLM_CANNOT_READ[] = "can't read file", GLM_NO_MEMORY[] = "out of memory (one line)";

// The lines from one cut to another, not of a pipe.
const char* __glmLoadLines(GLMwindow& window, const GLMsource& source, std::uint64_t from, std::uint64_t to);

// The next lines of a pipe, about `size` bytes of them; none at its end.
const char* __glmLoadNext(GLMwindow& window, const GLMsource& source, std::size_t size);

// A copy of another window's lines.
const char* __glmCopyLines(GLMwindow& window, const GLMwindow& other);

// How many lines end from `from` up to `to`, both in one window.
std::uint64_t __glmCountLines(const char* from, const char* to);

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
