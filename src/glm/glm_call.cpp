#include "glm/glm_call.h"

#include "glm/glm_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char *WARNING = "GLM: Warning: ", *FATAL = "GLM: Fatal Error: ";

unsigned long long lineOf(const GLMcall& call) {
    return call.text != nullptr ? __glmLineNumber(*call.text, call.text->statement) : call.line;
}

void print(GLMcall& call, const char* prefix, GLMplace place, const char* format, std::va_list values) {
    std::fputs(prefix, stderr);
    std::vfprintf(stderr, format, values);
    if (place != GLMplace::none) std::fprintf(stderr, " in file \"%s\"", call.file);
    if (place == GLMplace::line) std::fprintf(stderr, ", line %llu", lineOf(call));
    std::fputc('\n', stderr);
}

// Some messages end in a line end.
std::size_t withoutLineEnd(char* text, std::size_t length) {
    while (length > 0 && text[length - 1] == '\n') text[--length] = '\0';
    return length;
}

void note(GLMcall& call, const char* format, std::va_list values) {
    call.failed = true;
    if (call.error != nullptr) {
        GLMerror& error = *call.error;
        std::snprintf(error.file, sizeof error.file, "%s", call.file);
        std::vsnprintf(error.text, sizeof error.text, format, values);
        withoutLineEnd(error.text, std::strlen(error.text));
        error.line = lineOf(call);
    }
    if (call.text != nullptr) __glmStop(*call.text);
}

void collect(GLMcall& call, const char* format, std::va_list values) {
    if (call.failed || call.options.warn == nullptr) return;
    std::va_list again;
    va_copy(again, values);
    const std::size_t fileSize = std::strlen(call.file) + 1;
    const auto textSize = static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)) + 1;
    va_end(again);
    GLMstring names(__glmTryArray<char>(call, fileSize + textSize));
    if (names == nullptr) return;
    std::memcpy(names.get(), call.file, fileSize);
    char* text = names.get() + fileSize;
    std::vsnprintf(text, textSize, format, values);
    const std::string_view key(names.get(), fileSize + withoutLineEnd(text, textSize - 1));
    if (const std::uint32_t* known = __glmFindName(call.metNames, key)) {
        call.met[*known].count += call.times;
        return;
    }
    if (!__glmTryGrow(call, call.met, call.metCount)) return;
    if (!__glmAddName(call.metNames, key, call.metCount)) return __glmFailAtMemory(call, key.size(), 1);
    call.met[call.metCount++] = {.names = names.release(), .text = text, .line = lineOf(call), .count = call.times};
}

}  // namespace

GLMcall::~GLMcall() {
    for (std::uint32_t i = 0; i < metCount; ++i) std::free(met[i].names);
    std::free(met);
}

void __glmLetReturn(GLMcall& call, GLMerror* error, const GLMoptions& options) {
    call.returns = true;
    call.error = error;
    std::memcpy(static_cast<void*>(&call.options), &options, std::min(options.size, sizeof(GLMoptions)));
}

bool __glmEnd(GLMcall& call) {
    for (std::uint32_t i = 0; i < call.metCount; ++i) {
        const GLMmet& met = call.met[i];
        call.options.warn(call.options.data,
                          {.file = met.names, .line = met.line, .text = met.text, .count = met.count});
    }
    return !call.failed;
}

void __glmTellDone(GLMcall& call, double done) {
    if (call.options.progress == nullptr || call.failed) return;
    const int percent = static_cast<int>(100 * done);
    if (percent <= call.percent) return;
    call.percent = percent;
    if (!call.options.progress(call.options.data, static_cast<float>(done)))
        __glmFail(call, GLMplace::none, "cancelled");
}

void __glmWarn(GLMcall& call, GLMplace place, const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    if (call.returns)
        collect(call, format, values);
    else
        print(call, WARNING, place, format, values);
    va_end(values);
}

void __glmFail(GLMcall& call, GLMplace place, const char* format, ...) {
    if (call.failed) return;
    std::va_list values;
    va_start(values, format);
    if (call.returns) {
        note(call, format, values);
    } else {
        print(call, FATAL, place, format, values);
        std::exit(1);
    }
    va_end(values);
}

void __glmFailAtMemory(GLMcall& call, std::size_t count, std::size_t size) {
    if (size == 1)
        __glmFail(call, GLMplace::none, "out of memory (%zu bytes)", count);
    else
        __glmFail(call, GLMplace::none, "out of memory (%zu x %zu bytes)", count, size);
}

float* __glmTryEntries(GLMcall& call, std::uint32_t count, std::size_t size) {
    void* memory = __glmZeroed(count + std::size_t{1}, size * sizeof(float));
    if (memory == nullptr) __glmFailAtMemory(call, count + std::size_t{1}, size * sizeof(float));
    return static_cast<float*>(memory);
}

char* __glmTryCopy(GLMcall& call, std::string_view string) {
    auto* copy = static_cast<char*>(std::malloc(string.size() + 1));
    if (copy == nullptr) {
        __glmFailAtMemory(call, string.size() + 1, 1);
        return nullptr;
    }
    *std::copy(string.begin(), string.end(), copy) = '\0';
    return copy;
}

GLMstring __glmTryBeside(GLMcall& call, const char* path, const char* name) {
    const std::size_t directory = __glmDirectoryLength(path), length = std::strlen(name);
    GLMstring result(__glmTryArray<char>(call, directory + length + 1));
    if (result == nullptr) return result;
    std::copy_n(name, length, std::copy_n(path, directory, result.get()));
    return result;
}

int __glmCorrectMode(GLMcall& call, const char* caller, int mode, std::span<const GLMcorrection> corrections) {
    for (const GLMcorrection& correction : corrections) {
        if ((mode & correction.bits) != correction.bits || !correction.applies) continue;
        __glmWarn(call, GLMplace::none, "%s() warning: %s", caller, correction.warning);
        mode &= ~correction.drop;
    }
    return mode;
}
