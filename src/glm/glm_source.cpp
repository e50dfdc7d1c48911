#include "glm/glm_source.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t PIECE = 4096;

// Of the lines in memory: few system calls, and it stays in the processor's cache.
constexpr std::size_t WINDOW = std::size_t{128} * 1024;

// In front of the window are line ends, for looking back; behind it is room for the text's last line end and for
// looking ahead, 64 characters at a time.
constexpr std::size_t FRONT = 64, BEHIND = 128;

// Whether the character at `i` of a piece ends a line. The next one is in the piece, or there is none.
bool endsLine(const char* piece, std::size_t i, std::size_t count) {
    return piece[i] == '\n' || (piece[i] == '\r' && (i + 1 == count || piece[i + 1] != '\n'));
}

}  // namespace

GLMsource __glmSourceOf(const GLMtext& text) {
    GLMsource source{.bytes = text.bytes, .file = -1, .start = text.start, .size = text.size};
    if (text.from != nullptr) source.file = fileno(text.from);
    return source;
}

bool __glmReadAt(const GLMsource& source, std::uint64_t place, char* to, std::size_t size) {
    if (source.bytes != nullptr) {
        std::memcpy(to, source.bytes + place, size);
        return true;
    }
    while (size > 0) {
        const ssize_t got = pread(source.file, to, size, source.start + static_cast<std::int64_t>(place));
        if (got <= 0) return false;
        place += static_cast<std::uint64_t>(got);
        to += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

std::uint64_t __glmCut(const GLMsource& source, std::uint64_t place, bool& failed) {
    constexpr std::size_t BEFORE = 3;  // characters that decide about a line's end, with itself
    char piece[PIECE];
    for (place = std::max<std::uint64_t>(place, BEFORE); place < source.size; place += PIECE - BEFORE - 1) {
        const std::uint64_t first = place - BEFORE;
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(PIECE, source.size - first));
        if (!__glmReadAt(source, first, piece, count)) {
            failed = true;
            break;
        }
        const bool last = first + count == source.size;
        for (std::size_t i = BEFORE - 1; i + (last ? 0 : 1) < count; ++i)
            if (endsLine(piece, i, count) && !__glmGoesOn(piece + i)) return first + i + 1;
    }
    return source.size;
}

std::uint64_t __glmCountLines(const GLMsource& source, std::uint64_t from, std::uint64_t to) {
    std::uint64_t lines = 0;
    char piece[PIECE];
    to = std::min(to, source.size);  // an error may be behind the last line
    while (from < to) {
        // One character more than is counted, which decides about a CR.
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(PIECE, source.size - from));
        if (!__glmReadAt(source, from, piece, count)) break;  // somebody else changes the file
        const auto counted = static_cast<std::size_t>(
            std::min<std::uint64_t>(to - from, from + count == source.size ? count : count - 1));
        for (std::size_t i = 0; i < counted; ++i) lines += endsLine(piece, i, count);
        from += counted;
    }
    return lines;
}

void __glmStartWindow(GLMwindow& window, const GLMsource& source, std::uint64_t from, std::uint64_t to) {
    window.source = &source;
    window.next = window.offset = from;
    window.last = to;
    window.begin = window.end = window.memory != nullptr ? window.memory.get() + FRONT : nullptr;
    window.held = 0;
    window.hidden = '\0';
    window.error = nullptr;
}

namespace {

bool makeRoom(GLMwindow& window) {
    if (window.memory != nullptr && window.held < window.capacity) return true;
    const std::size_t capacity = window.memory != nullptr ? 2 * window.capacity : WINDOW;
    auto* larger = static_cast<char*>(std::realloc(window.memory.get(), FRONT + capacity + BEHIND));
    if (larger == nullptr) {
        window.error = GLM_NO_MEMORY;
        return false;
    }
    static_cast<void>(window.memory.release());  // realloc freed it
    window.memory.reset(larger);
    window.capacity = capacity;
    std::memset(larger, '\n', FRONT);
    window.begin = window.end = larger + FRONT;
    return true;
}

// Where the lines end of which all is in memory; `begin` where none does.
char* endOfLines(const GLMwindow& window) {
    for (std::size_t i = window.held - 1; i-- > 0;)
        if (endsLine(window.begin, i, window.held) && !__glmGoesOn(window.begin + i)) return window.begin + i + 1;
    return window.begin;
}

// A comment that is larger than the window takes no more memory: its first character stands for what is thrown away.
void shortenComment(GLMwindow& window) {
    const auto has = [&](char c) { return std::memchr(window.begin, c, window.held - 1) != nullptr; };
    if (*window.begin != '#' || window.held < window.capacity || has('\n') || has('\r')) return;
    window.begin[1] = window.begin[window.held - 1];
    window.offset += window.held - 2;
    window.held = 2;
}

}  // namespace

bool __glmNextLines(GLMwindow& window) {
    if (window.begin != window.end) {
        const auto consumed = static_cast<std::size_t>(window.end - window.begin);
        *window.end = window.hidden;
        window.held -= consumed;
        window.offset += consumed;
        std::memmove(window.begin, window.end, window.held);
        window.end = window.begin;
    }
    while (window.next < window.last) {
        if (!makeRoom(window)) return false;
        const auto count = static_cast<std::size_t>(
            std::min<std::uint64_t>(window.capacity - window.held, window.last - window.next));
        if (!__glmReadAt(*window.source, window.next, window.begin + window.held, count)) {
            window.error = GLM_CANNOT_READ;
            return false;
        }
        window.held += count;
        window.next += count;
        if (window.next == window.last) {
            // The text's last line may have no end, or one after a backslash.
            if (window.last == window.source->size)
                for (int i = 0; i < 2; ++i) window.begin[window.held++] = '\n';
            window.end = window.begin + window.held;
        } else {
            window.end = endOfLines(window);
        }
        window.hidden = *window.end;
        if (window.end != window.begin) {
            *window.end = '\0';
            return true;
        }
        shortenComment(window);
    }
    return false;
}
