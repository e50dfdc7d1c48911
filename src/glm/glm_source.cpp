#include "glm/glm_source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t PIECE = 4096;

// In front of the window are line ends, for looking back; behind it is room for the text's last line end and for
// looking ahead, 64 characters at a time.
constexpr std::size_t FRONT = 64, BEHIND = 128;

// Whether the character at `i` of a piece ends a line. The next one is in the piece, or there is none.
bool endsLine(const char* piece, std::size_t i, std::size_t count) {
    return piece[i] == '\n' || (piece[i] == '\r' && (i + 1 == count || piece[i + 1] != '\n'));
}

}  // namespace

bool __glmOpenSource(const GLMmodelsource& from, GLMsource& source) {
    source.bytes = static_cast<const char*>(from.bytes);
    source.size = from.size;
    if (source.bytes != nullptr) return true;
    std::FILE* file = from.file;
    if (file == nullptr) {
        source.opened.reset(std::fopen(from.path, "rb"));
        file = source.opened.get();
    }
    if (file == nullptr) return false;
    struct stat status {};
    const bool known = fstat(fileno(file), &status) == 0;
    if (known && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    source.start = ftello(file);
    // A file of no size may have contents, as those have that a system makes when they are read.
    if (known && S_ISREG(status.st_mode) && source.start >= 0 && status.st_size > source.start) {
        source.file = fileno(file);
        source.size = static_cast<std::uint64_t>(status.st_size - source.start);
    } else {
        source.pipe = file;
    }
    return true;
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

std::uint64_t __glmCountLines(const char* from, const char* to) {
    std::uint64_t lines = 0;
    for (; from < to; ++from) lines += *from == '\n' || (*from == '\r' && from[1] != '\n') ? 1 : 0;
    return lines;
}

namespace {

// Makes the memory larger, or makes it; what is held stays.
bool makeRoom(GLMwindow& window, std::size_t capacity) {
    if (capacity <= window.capacity) return true;
    auto* larger = static_cast<char*>(std::realloc(window.memory.get(), FRONT + capacity + BEHIND));
    if (larger == nullptr) return false;
    static_cast<void>(window.memory.release());  // realloc freed it
    window.memory.reset(larger);
    window.capacity = capacity;
    std::memset(larger, '\n', FRONT);
    window.begin = window.end = larger + FRONT;
    return true;
}

// The text's last line may have no end, or one after a backslash.
void endText(GLMwindow& window) {
    for (int i = 0; i < 2; ++i) *window.end++ = '\n';
}

// Where the lines end of which all is in memory; `begin` where none does.
char* endOfLines(const GLMwindow& window) {
    for (std::size_t i = window.held - 1; i-- > 0;)
        if (endsLine(window.begin, i, window.held) && !__glmGoesOn(window.begin + i)) return window.begin + i + 1;
    return window.begin;
}

// Reads on until `size` bytes are held. False when there are no more.
bool readPipe(GLMwindow& window, const GLMsource& source, std::size_t size) {
    window.held += std::fread(window.begin + window.held, 1, size - window.held, source.pipe);
    return window.held == size;
}

}  // namespace

const char* __glmLoadLines(GLMwindow& window, const GLMsource& source, std::uint64_t from, std::uint64_t to) {
    const auto size = static_cast<std::size_t>(to - from);
    if (!makeRoom(window, size)) return GLM_NO_MEMORY;
    if (!__glmReadAt(source, from, window.begin, size)) return GLM_CANNOT_READ;
    window.end = window.begin + size;
    if (to == source.size) endText(window);
    *window.end = '\0';
    return nullptr;
}

const char* __glmLoadNext(GLMwindow& window, const GLMsource& source, std::size_t size) {
    if (!makeRoom(window, std::max(size, std::size_t{2}))) return GLM_NO_MEMORY;
    if (window.begin != window.end) {
        *window.end = window.hidden;
        window.held -= static_cast<std::size_t>(window.end - window.begin);
        std::memmove(window.begin, window.end, window.held);
        window.end = window.begin;
    }
    while (readPipe(window, source, window.capacity)) {
        window.end = endOfLines(window);
        if (window.end != window.begin) {
            window.hidden = *window.end;
            *window.end = '\0';
            return nullptr;
        }
        if (!makeRoom(window, 2 * window.capacity)) return GLM_NO_MEMORY;
    }
    if (std::ferror(source.pipe) != 0) return GLM_CANNOT_READ;
    window.end = window.begin + window.held;
    if (window.held > 0) endText(window);
    window.held = static_cast<std::size_t>(window.end - window.begin);
    *window.end = window.hidden = '\0';
    return nullptr;
}

const char* __glmCopyLines(GLMwindow& window, const GLMwindow& other) {
    const auto size = static_cast<std::size_t>(other.end - other.begin);
    if (!makeRoom(window, size)) return GLM_NO_MEMORY;
    std::memcpy(window.begin, other.begin, size + 1);
    window.end = window.begin + size;
    return nullptr;
}
