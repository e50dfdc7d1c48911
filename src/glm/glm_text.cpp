#include "glm/glm_text.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t FIRST_BUFFER = 65536;  // for files that do not tell their size

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// isspace of the "C" locale.
bool isWhite(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// End of the rest of the line, line end included, of at most `limit` characters.
const char* lineEnd(const GLMtext& text, std::size_t limit) {
    const std::size_t length = std::min(limit, static_cast<std::size_t>(text.end - text.at));
    const void* found = std::memchr(text.at, '\n', length);
    return found != nullptr ? static_cast<const char*>(found) + 1 : text.at + length;
}

// The forms that the fast conversion does not know: a plus sign, hexadecimal digits, and numbers outside of
// the range, which become infinite or 0.
bool readRareFloat(GLMtext& text, float& value) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    char* end = nullptr;
    const float number = strtof_l(text.at, &end, plain);
    if (end == text.at) return false;
    value = number;
    text.at = end;
    return true;
}

}  // namespace

bool __glmOpenText(const char* path, GLMtext& text) {
    const File file(std::fopen(path, "rb"));
    if (file == nullptr) return false;
    struct stat status {};
    if (fstat(fileno(file.get()), &status) != 0) return false;
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    // One byte more than the file holds, so that reading it all meets its end, and one for the NUL.
    std::size_t capacity = std::max(FIRST_BUFFER, static_cast<std::size_t>(status.st_size) + 1);
    GLMstring memory(__glmArray<char>(capacity + 1));
    std::size_t length = 0;
    for (std::size_t got = 1; got > 0; length += got) {
        if (length == capacity) {
            GLMstring larger(__glmArray<char>(2 * capacity + 1));
            std::memcpy(larger.get(), memory.get(), length);
            memory = std::move(larger);
            capacity *= 2;
        }
        got = std::fread(memory.get() + length, 1, capacity - length, file.get());
    }
    if (std::ferror(file.get()) != 0) return false;
    memory.get()[length] = '\0';
    const char* begin = memory.get();
    text = {std::move(memory), begin, begin, begin + length};
    return true;
}

bool __glmReadToken(GLMtext& text, char (&token)[GLM_TOKEN_SIZE]) {
    __glmSkipWhite(text);
    std::size_t length = 0;
    while (length < GLM_TOKEN_SIZE - 1 && text.at < text.end && !isWhite(*text.at)) token[length++] = *text.at++;
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
    GLMtext text{nullptr, line, line, line + std::strlen(line)};
    __glmReadToken(text, word);
}

void __glmSkipWhite(GLMtext& text) {
    while (text.at < text.end && isWhite(*text.at)) ++text.at;
}

bool __glmReadFloat(GLMtext& text, float& value) {
    __glmSkipWhite(text);
    float number = 0.0f;
    const auto [end, error] = std::from_chars(text.at, text.end, number);
    // "0x..." stops the fast conversion after the 0.
    if (error != std::errc() || *end == 'x' || *end == 'X') return readRareFloat(text, value);
    value = number;
    text.at = end;
    return true;
}

bool __glmReadInteger(GLMtext& text, std::int64_t& value) {
    __glmSkipWhite(text);
    const char* first = text.at;
    if (first < text.end && *first == '+') ++first;
    if (first > text.at && first < text.end && *first == '-') return false;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(first, text.end, number);
    if (error != std::errc()) return false;
    if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::uint32_t>::max())
        return false;
    value = number;
    text.at = end;
    return true;
}

bool __glmAccept(GLMtext& text, char character) {
    if (text.at == text.end || *text.at != character) return false;
    ++text.at;
    return true;
}

bool __glmAtWordEnd(const GLMtext& text) { return text.at == text.end || isWhite(*text.at) || *text.at == '#'; }

unsigned __glmLineNumber(const GLMtext& text, const char* at) {
    return 1 + static_cast<unsigned>(std::count(text.begin, at, '\n'));
}
