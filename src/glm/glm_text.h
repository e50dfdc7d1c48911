// glm_text.h - the reading rules that the OBJ and the MTL reader share
//
// A file is taken apart from a reading position: tokens, rests of lines, numbers. These follow the C library's
// formatted input (fscanf "%127s", fgets, "%f", "%d"), in the "C" locale whatever the program's is. A window of the
// file is in memory and moves with the reading position: a text is about as large as the arrays that are made of it,
// so reading it whole would double the memory. NUL bytes are ordinary bytes that end a C string early. Where a file
// cannot be read on, or memory is short, the call fails and the text ends.
#pragma once

#include "glm/glm_call.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#pragma GCC visibility push(default)  // see glm_util.h

constexpr std::size_t GLM_TOKEN_SIZE = 128;  // buffer of a token or a rest of a line: 127 characters and the NUL

struct __glmClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// A text and the reading position in it.
struct GLMtext {
    GLMcall* call = nullptr;                           // that reads it; null when it is no more than the window
    const char* path = nullptr;                        // of the file, for messages; the caller's string
    std::unique_ptr<std::FILE, __glmClose> file = {};  // if it is the text's own
    std::FILE* from = nullptr;                         // what is read; null for bytes in memory
    std::int64_t start = 0;                            // where in it the text begins
    const char* bytes = nullptr;                       // in memory
    GLMstring whole = {};                              // these, if they are the text's own
    std::uint64_t size = 0;                            // of the text
    GLMstring memory = {};                             // of the window, if it is the text's own
    std::size_t capacity = 0;     // bytes that the window can hold; one more is there for the NUL
    const char* begin = nullptr;  // the window; a NUL follows its end
    const char* at = nullptr;     // reading position
    const char* end = nullptr;
    const char* keep = nullptr;    // the window's text from here on stays in memory, when it is not null
    std::uint64_t offset = 0;      // of the window in the text
    bool complete = true;          // the text ends where the window ends
    int passes = 0, pass = 0;      // over it, for progress: how many there are, and which it is, from 0
    std::uint64_t statement = 0;   // place of the statement that messages are about
    std::uint64_t lineOffset = 0;  // a place in the text ...
    unsigned long long line = 1;   // ... and its line
};

// Marks that texts of Unicode begin with.
constexpr std::string_view GLM_UTF_8 = "\xef\xbb\xbf";
inline bool __glmIsUtf16(std::string_view text) {
    return text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff");
}

// Opens a file at its start. False when `path` cannot be opened or read, or names a directory: errno says why.
bool __glmOpenText(GLMcall& call, const char* path, GLMtext& text);

// A text of what follows in an open file, and of bytes in memory; both stay the caller's. False when it cannot be
// read.
bool __glmFileText(GLMcall& call, std::FILE* file, const char* path, GLMtext& text);
bool __glmMemoryText(GLMcall& call, const void* bytes, std::size_t size, const char* path, GLMtext& text);

// Ends the text at the reading position, which moves to the window's end.
inline void __glmStop(GLMtext& text) {
    text.at = text.end;
    text.complete = true;
}

// Brings all that follows the reading position into the window.
void __glmLoadAll(GLMtext& text);

// The text of a string, which stays the caller's.
GLMtext __glmTextOf(const char* string);

// Tells the call's handler how far the passes over the text are: called as the window moves, and to be called at the
// end of each pass. A handler that cancels makes the call fail.
void __glmTellProgress(const GLMtext& text);

// Back to the start.
void __glmRewind(GLMtext& text);

// Makes at least `count` characters follow the reading position in the window, unless the file ends before. Moves the
// window: pointers into it are lost. False when nothing follows.
bool __glmFill(GLMtext& text, std::size_t count);
inline bool __glmHas(GLMtext& text, std::size_t count) {
    return static_cast<std::size_t>(text.end - text.at) >= count || __glmFill(text, count);
}

// The next characters up to white space, at most 127; what a longer token leaves is the next token. False at
// the end of the text.
bool __glmReadToken(GLMtext& text, char (&token)[GLM_TOKEN_SIZE]);

// The rest of the line up to and including its end, at most size - 1 characters; empty at the end of the text.
void __glmReadLine(GLMtext& text, char* line, std::size_t size);

// Throws away what __glmReadLine would read into GLM_TOKEN_SIZE characters.
void __glmSkipLine(GLMtext& text);

// The first token of a line that __glmReadLine gave; empty when there is none.
void __glmFirstWord(const char (&line)[GLM_TOKEN_SIZE], char (&word)[GLM_TOKEN_SIZE]);

// The name that `rest`, the rest of a line behind a keyword, holds: all of it, blanks included, but for what is no
// more than a blank around it, and for a comment behind it, whose "#" stands alone: "Material #25 # of a roof" is
// "Material #25".
std::string_view __glmWholeName(std::string_view rest);

void __glmSkipWhite(GLMtext& text);

// Moves past the white space that comes next on the line. True when that is all there is on it.
bool __glmAtLineEnd(GLMtext& text);

// The next number, after white space that may hold line ends. False, with the value unchanged, when the text goes on
// with something else, all of which stays: fscanf would take a sign without digits away. Integers are decimal with an
// optional sign; one that 64 bits cannot hold becomes the nearest that they can.
bool __glmReadFloat(GLMtext& text, float& value);
bool __glmReadInteger(GLMtext& text, std::int64_t& value);

// The number at `first`, without white space in front; the text goes on to `last`, and a NUL follows somewhere.
// Returns where the number ends, or null.
const char* __glmConvertFloat(const char* first, const char* last, float& value);

// Moves past `character` when it comes next.
bool __glmAccept(GLMtext& text, char character);

// Place of the reading position in the file.
inline std::uint64_t __glmOffset(const GLMtext& text) {
    return text.offset + static_cast<std::uint64_t>(text.at - text.begin);
}

// Number of the line that the place `offset` is in, from 1. The reading position stays.
unsigned long long __glmLineNumber(GLMtext& text, std::uint64_t offset);

// isspace of the "C" locale.
inline bool __glmIsWhite(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

#pragma GCC visibility pop
