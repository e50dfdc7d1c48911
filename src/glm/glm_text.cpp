#include "glm/glm_text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

// Bytes read at once: few system calls, and the window stays in the processor's second-level cache.
constexpr std::size_t BLOCK = std::size_t{256} * 1024;

// A number may be followed by this much that looks like a part of it ("1e+", "1infinit").
constexpr std::ptrdiff_t NUMBER_TAIL = 16;

// End of the rest of the line, line end included, of at most `limit` characters.
const char* lineEnd(GLMtext& text, std::size_t limit) {
    __glmHas(text, limit);
    const std::size_t length = std::min(limit, static_cast<std::size_t>(text.end - text.at));
    const void* found = std::memchr(text.at, '\n', length);
    return found != nullptr ? static_cast<const char*>(found) + 1 : text.at + length;
}

// Makes room for `capacity` bytes, with what is in the window from `from` on at their start. False when memory is
// short.
bool moveWindow(GLMtext& text, const char* from, std::size_t capacity) {
    const auto moved = from - text.begin;
    const auto rest = static_cast<std::size_t>(text.end - from);
    if (capacity > text.capacity) {
        GLMstring larger(static_cast<char*>(std::malloc(capacity + 1)));
        if (larger == nullptr) {
            __glmFailAtMemory(*text.call, capacity + 1, 1);
            return false;
        }
        std::copy(from, text.end, larger.get());
        text.memory = std::move(larger);
        text.capacity = capacity;
    } else {
        std::memmove(text.memory.get(), from, rest);
    }
    const char* begin = text.memory.get();
    const auto place = [&](const char* pointer) { return begin + (pointer - text.begin - moved); };
    text.at = place(text.at);
    text.end = place(text.end);
    if (text.keep != nullptr) text.keep = place(text.keep);
    text.offset += static_cast<std::uint64_t>(moved);
    text.begin = begin;
    return true;
}

std::uint64_t windowEnd(const GLMtext& text) {
    return text.offset + static_cast<std::uint64_t>(text.end - text.begin);
}

// Reads up to `room` bytes.
std::size_t readSource(const GLMtext& text, char* to, std::size_t room) {
    if (text.from != nullptr) return std::fread(to, 1, room, text.from);
    const std::uint64_t next = windowEnd(text);
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(room, text.size - next));
    std::copy_n(text.bytes + next, count, to);
    return count;
}

// Reads as much as the window has room for. False when the file cannot be read.
bool readOn(GLMtext& text) {
    char* end = text.memory.get() + (text.end - text.begin);
    const std::size_t room = text.capacity - static_cast<std::size_t>(text.end - text.begin);
    const std::size_t got = readSource(text, end, room);
    text.complete = got < room;
    text.end = end + got;
    end[got] = '\0';
    return !text.complete || text.from == nullptr || std::ferror(text.from) == 0;
}

}  // namespace

void __glmTellProgress(const GLMtext& text) {
    if (text.passes == 0 || text.size == 0) return;
    const double read = std::min(1.0, static_cast<double>(windowEnd(text)) / static_cast<double>(text.size));
    __glmTellDone(*text.call, (text.pass + read) / text.passes);
}

namespace {

void requireRead(GLMtext& text) {
    if (!readOn(text))
        __glmFail(*text.call, GLMplace::none, "can't read file \"%s\"", text.path);
    else
        __glmTellProgress(text);
}

// Reads a file that cannot be read twice to its end.
bool readWhole(GLMtext& text) {
    for (std::size_t room = BLOCK;; room *= 2) {
        GLMstring larger(static_cast<char*>(std::realloc(text.whole.get(), room)));
        if (larger == nullptr) {
            __glmFailAtMemory(*text.call, room, 1);
            return false;
        }
        static_cast<void>(text.whole.release());  // realloc freed it
        text.whole = std::move(larger);
        text.size +=
            std::fread(text.whole.get() + text.size, 1, room - static_cast<std::size_t>(text.size), text.from);
        if (text.size < room) break;
    }
    if (std::ferror(text.from) != 0) return false;
    text.from = nullptr;
    text.bytes = text.whole.get();
    return true;
}

// Converts the number that starts at the reading position, with all of it in the window. `convert` returns where the
// number ends, or null when there is none.
template <typename Convert>
bool readNumber(GLMtext& text, Convert convert) {
    __glmSkipWhite(text);
    for (std::size_t enough = 2 * NUMBER_TAIL;; enough *= 2) {
        __glmHas(text, enough);
        const char* end = convert();
        if (!text.complete && text.end - (end != nullptr ? end : text.at) < NUMBER_TAIL) continue;
        if (end != nullptr) text.at = end;
        return end != nullptr;
    }
}

// The forms that the fast conversion does not know: a plus sign, hexadecimal digits, and numbers outside of
// the range, which become infinite or 0.
const char* convertRareFloat(const char* first, float& value) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    char* end = nullptr;
    value = strtof_l(first, &end, plain);
    return end != first ? end : nullptr;
}

// The other forms, fast; null for a rare one. To a C++ library that knows std::from_chars for integers alone all are.
const char* convertUsualFloat([[maybe_unused]] const char* first, [[maybe_unused]] const char* last,
                              [[maybe_unused]] float& value) {
#ifdef __cpp_lib_to_chars
    const auto [end, error] = std::from_chars(first, last, value);
    // "0x..." stops it after the 0.
    if (error == std::errc() && *end != 'x' && *end != 'X') return end;
#endif
    return nullptr;
}

// Whether the number from `first` to `end` breaks off inside of its exponent, like "1e" or "0x1p+". ISO C's fscanf
// refuses such numbers.
bool breaksOff(const char* first, const char* end) {
    const bool hexadecimal = std::find(first, end, 'x') != end || std::find(first, end, 'X') != end;
    const std::string_view marks = hexadecimal ? "pP" : "eE", number(first, static_cast<std::size_t>(end - first));
    const bool infinite = number.find_first_of("nN") != std::string_view::npos;
    return !infinite && marks.find(*end) != std::string_view::npos &&
           number.find_first_of(marks) == std::string_view::npos;
}

const char* convertInteger(const GLMtext& text, std::int64_t& value) {
    const char* first = text.at;
    if (first < text.end && *first == '+') ++first;
    if (first > text.at && first < text.end && *first == '-') return nullptr;
    const auto [end, error] = std::from_chars(first, text.end, value);
    if (error == std::errc::result_out_of_range)
        value = *first == '-' ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    return error != std::errc::invalid_argument ? end : nullptr;
}

}  // namespace

const char* __glmConvertFloat(const char* first, const char* last, float& value) {
    const char* const fast = convertUsualFloat(first, last, value);
    const char* const end = fast != nullptr ? fast : convertRareFloat(first, value);
    return end != nullptr && breaksOff(first, end) ? nullptr : end;
}

bool __glmOpenText(GLMcall& call, const char* path, GLMtext& text) {
    std::unique_ptr<std::FILE, __glmClose> file(std::fopen(path, "rb"));
    if (file == nullptr || !__glmFileText(call, file.get(), path, text)) return false;
    text.file = std::move(file);
    return true;
}

bool __glmFileText(GLMcall& call, std::FILE* file, const char* path, GLMtext& text) {
    text = {};
    text.call = &call;
    text.path = path;
    text.from = file;
    struct stat status {};
    const bool known = fstat(fileno(file), &status) == 0;
    if (known && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    text.start = ftello(file);
    // A file of no size may have contents, as those have that a system makes when they are read.
    const bool again = known && S_ISREG(status.st_mode) && text.start >= 0 && status.st_size > text.start;
    if (again) text.size = static_cast<std::uint64_t>(status.st_size - text.start);
    if (!again && !readWhole(text)) return false;
    return moveWindow(text, text.begin, BLOCK) && readOn(text);
}

bool __glmMemoryText(GLMcall& call, const void* bytes, std::size_t size, const char* path, GLMtext& text) {
    text = {};
    text.call = &call;
    text.path = path;
    text.bytes = static_cast<const char*>(bytes);
    text.size = size;
    return moveWindow(text, text.begin, BLOCK) && readOn(text);
}

void __glmLoadAll(GLMtext& text) {
    while (!text.complete) __glmFill(text, 2 * text.capacity);
}

GLMtext __glmTextOf(const char* string) {
    GLMtext text;
    text.begin = text.at = string;
    text.end = string + std::strlen(string);
    return text;
}

void __glmRewind(GLMtext& text) {
    text.at = text.begin;
    if (text.offset == 0) return;
    if (text.from != nullptr && fseeko(text.from, text.start, SEEK_SET) != 0)
        return __glmFail(*text.call, GLMplace::none, "can't read file \"%s\"", text.path);
    text.end = text.begin;
    text.offset = 0;
    requireRead(text);
}

bool __glmFill(GLMtext& text, std::size_t count) {
    while (!text.complete && static_cast<std::size_t>(text.end - text.at) < count) {
        const char* from = text.keep != nullptr ? text.keep : text.at;
        const std::size_t needed = static_cast<std::size_t>(text.at - from) + count;
        if (!moveWindow(text, from, std::max(needed, text.capacity))) {
            __glmStop(text);
            break;
        }
        requireRead(text);
    }
    return text.at < text.end;
}

bool __glmReadToken(GLMtext& text, char (&token)[GLM_TOKEN_SIZE]) {
    __glmSkipWhite(text);
    __glmHas(text, GLM_TOKEN_SIZE - 1);
    std::size_t length = 0;
    while (length < GLM_TOKEN_SIZE - 1 && text.at < text.end && !__glmIsWhite(*text.at)) token[length++] = *text.at++;
    token[length] = '\0';
    return length > 0;
}

void __glmReadLine(GLMtext& text, char* line, std::size_t size) {
    const char* end = lineEnd(text, size - 1);
    *std::copy(text.at, end, line) = '\0';
    text.at = end;
}

void __glmSkipLine(GLMtext& text) { text.at = lineEnd(text, GLM_TOKEN_SIZE - 1); }

void __glmFirstWord(const char (&line)[GLM_TOKEN_SIZE], char (&word)[GLM_TOKEN_SIZE]) {
    GLMtext text = __glmTextOf(line);
    __glmReadToken(text, word);
}

std::string_view __glmWholeName(std::string_view rest) {
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    for (std::size_t at = rest.find('#'); at != std::string_view::npos; at = rest.find('#', at + 1)) {
        const bool first = at == 0 || isBlank(rest[at - 1]);
        if (first && (at + 1 == rest.size() || isBlank(rest[at + 1]))) rest = rest.substr(0, at);
    }
    while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
    while (!rest.empty() && isBlank(rest.back())) rest.remove_suffix(1);
    return rest;
}

void __glmSkipWhite(GLMtext& text) {
    while (__glmHas(text, 1) && __glmIsWhite(*text.at)) ++text.at;
}

bool __glmAtLineEnd(GLMtext& text) {
    while (__glmHas(text, 1) && *text.at != '\n' && __glmIsWhite(*text.at)) ++text.at;
    return !__glmHas(text, 1) || *text.at == '\n';
}

bool __glmReadFloat(GLMtext& text, float& value) {
    float number = 0.0f;
    if (!readNumber(text, [&] { return __glmConvertFloat(text.at, text.end, number); })) return false;
    value = number;
    return true;
}

bool __glmReadInteger(GLMtext& text, std::int64_t& value) {
    std::int64_t number = 0;
    if (!readNumber(text, [&] { return convertInteger(text, number); })) return false;
    value = number;
    return true;
}

bool __glmAccept(GLMtext& text, char character) {
    if (!__glmHas(text, 1) || *text.at != character) return false;
    ++text.at;
    return true;
}

unsigned long long __glmLineNumber(GLMtext& text, std::uint64_t offset) {
    if (offset < text.lineOffset) {
        text.lineOffset = 0;
        text.line = 1;
    }
    while (text.lineOffset < offset) {
        char piece[4096];
        auto count = static_cast<std::size_t>(std::min<std::uint64_t>(sizeof piece, offset - text.lineOffset));
        if (text.from == nullptr) {
            std::copy_n(text.bytes + text.lineOffset, count, piece);
        } else {
            const ssize_t got =
                pread(fileno(text.from), piece, count, text.start + static_cast<std::int64_t>(text.lineOffset));
            if (got <= 0) break;  // somebody else changes the file
            count = static_cast<std::size_t>(got);
        }
        text.line += static_cast<unsigned long long>(std::count(piece, piece + count, '\n'));
        text.lineOffset += count;
    }
    return text.line;
}
