// glm_output.h - files that the writer makes, whole, and the text that goes into them
#pragma once

#include "glm/glm_call.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

// A file that is written. Where failures return, it has another name beside its own until the call is done, so that
// there is never half a file; else it is written in place.
struct GLMoutput {
    GLMoutput(const char* function, const char* ending) : function(function), ending(ending) {}
    ~GLMoutput();
    GLMoutput(const GLMoutput&) = delete;
    GLMoutput& operator=(const GLMoutput&) = delete;

    const char *function, *ending;  // for messages; the second one's end, where it cannot be opened
    GLMstring path = {};
    GLMstring part = {};  // the other name, while it has it
    std::FILE* file = nullptr;
};

// Opens the file `name` beside `path`, and makes it the call's. False when the call fails; so with all that follows.
bool __glmOpenOutput(GLMcall& call, const char* path, const char* name, GLMoutput& output);

// Closes the file. Write errors stay with it until then.
void __glmCloseOutput(GLMcall& call, GLMoutput& output);

// Gives files that are written whole their own names, unless the call has failed: both, or none.
void __glmPublish(GLMcall& call, GLMoutput& output);
void __glmPublish(GLMcall& call, GLMoutput& first, GLMoutput& second);

// ---- Text ---------------------------------------------------------------------------------------------------------

// Text on its way into a file. Numbers have the shortest form that reads back as the same float.
struct GLMsink {
    std::FILE* file;
    GLMstring buffer = {};
    char *at = nullptr, *end = nullptr;
};

constexpr std::size_t GLM_SINK_SIZE = std::size_t{64} * 1024;
constexpr std::size_t GLM_NUMBER_SIZE = 16;  // "-1.17549435e-38", and a character in front of it

bool __glmOpenSink(GLMcall& call, std::FILE* file, GLMsink& sink);
void __glmFlush(GLMsink& sink);

// Makes room for `size` characters, which is little.
inline void __glmRoom(GLMsink& sink, std::size_t size) {
    if (static_cast<std::size_t>(sink.end - sink.at) < size) __glmFlush(sink);
}

// The functions without a sink write where there is room, and return where they stopped.
inline char* __glmPut(char* at, std::string_view text) {
    for (const char c : text) *at++ = c;
    return at;
}
inline char* __glmPutFloat(char* at, float number) { return std::to_chars(at, at + GLM_NUMBER_SIZE, number).ptr; }
inline char* __glmPutIndex(char* at, std::uint32_t index) {
    return std::to_chars(at, at + GLM_NUMBER_SIZE, index).ptr;
}

// Text of any length.
void __glmPutText(GLMsink& sink, std::string_view text);

// A line: the keyword and `count` numbers.
void __glmPutNumbers(GLMsink& sink, std::string_view keyword, const float* numbers, int count);

// A name or a rest of a line, as it reads back: on one line, without blanks around it; a name without what follows a
// "#" that stands alone. Null is an empty one.
void __glmPutName(GLMsink& sink, const char* name);
void __glmPutRest(GLMsink& sink, const char* rest);

// Whether text ends a line there.
inline bool __glmIsLineEnd(char c) { return c == '\n' || c == '\r'; }
