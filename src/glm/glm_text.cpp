#include "glm/glm_text.h"

#include <sys/stat.h>

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

// Makes room for `capacity` bytes, with what is in the window from `from` on at their start.
void moveWindow(GLMtext& text, const char* from, std::size_t capacity) {
    const auto moved = from - text.begin;
    const auto rest = static_cast<std::size_t>(text.end - from);
    if (capacity > text.capacity) {
        GLMstring larger(static_cast<char*>(__glmReallocate(nullptr, capacity + 1, 1)));
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
}

// Reads as much as the window has room for. False when the file cannot be read.
bool readOn(GLMtext& text) {
    char* end = text.memory.get() + (text.end - text.begin);
    const std::size_t room = text.capacity - static_cast<std::size_t>(text.end - text.begin);
    const std::size_t got = std::fread(end, 1, room, text.file.get());
    text.complete = got < room;
    text.end = end + got;
    end[got] = '\0';
    return !text.complete || std::ferror(text.file.get()) == 0;
}

void requireRead(GLMtext& text) {
    if (!readOn(text)) __glmFatalError("can't read file \"%s\"", text.path);
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

// Whether the number from `first` to `end` breaks off inside of its exponent, like "1e" or "0x1p+". ISO C's fscanf
// refuses such numbers.
bool breaksOff(const char* first, const char* end) {
    const bool hexadecimal = std::find(first, end, 'x') != end || std::find(first, end, 'X') != end;
    const std::string_view marks = hexadecimal ? "pP" : "eE", number(first, static_cast<std::size_t>(end - first));
    const bool infinite = number.find_first_of("nN") != std::string_view::npos;
    return !infinite && marks.find(*end) != std::string_view::npos &&
           number.find_first_of(marks) == std::string_view::npos;
}

const char* convertFloat(const GLMtext& text, float& value) {
    const auto [fast, error] = std::from_chars(text.at, text.end, value);
    // "0x..." stops the fast conversion after the 0.
    const bool rare = error != std::errc() || *fast == 'x' || *fast == 'X';
    const char* end = rare ? convertRareFloat(text.at, value) : fast;
    return end != nullptr && breaksOff(text.at, end) ? nullptr : end;
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

bool __glmOpenText(const char* path, GLMtext& text) {
    text = {};
    text.path = path;
    text.file.reset(std::fopen(path, "rb"));
    if (text.file == nullptr) return false;
    struct stat status {};
    if (fstat(fileno(text.file.get()), &status) != 0) return false;
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    moveWindow(text, text.begin, BLOCK);
    if (!readOn(text)) return false;
    // What cannot be read twice is read whole.
    if (!S_ISREG(status.st_mode)) __glmLoadAll(text);
    return true;
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
    std::rewind(text.file.get());
    text.end = text.begin;
    text.offset = 0;
    requireRead(text);
}

bool __glmFill(GLMtext& text, std::size_t count) {
    while (!text.complete && static_cast<std::size_t>(text.end - text.at) < count) {
        const char* from = text.keep != nullptr ? text.keep : text.at;
        const std::size_t needed = static_cast<std::size_t>(text.at - from) + count;
        moveWindow(text, from, std::max(needed, text.capacity));
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

void __glmSkipWhite(GLMtext& text) {
    while (__glmHas(text, 1) && __glmIsWhite(*text.at)) ++text.at;
}

bool __glmAtLineEnd(GLMtext& text) {
    while (__glmHas(text, 1) && *text.at != '\n' && __glmIsWhite(*text.at)) ++text.at;
    return !__glmHas(text, 1) || *text.at == '\n';
}

bool __glmReadFloat(GLMtext& text, float& value) {
    float number = 0.0f;
    if (!readNumber(text, [&] { return convertFloat(text, number); })) return false;
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
    text.keep = nullptr;
    unsigned long long lines = 1;
    for (__glmRewind(text); __glmOffset(text) < offset && __glmHas(text, 1); ++text.at)
        if (*text.at == '\n') ++lines;
    return lines;
}
