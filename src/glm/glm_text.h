// glm_text.h - the reading rules that the OBJ and the MTL reader share
//
// A file is read whole and then taken apart from a reading position: tokens, rests of lines, numbers. These follow
// the C library's formatted input (fscanf "%127s", fgets, "%f", "%d"), in the "C" locale whatever the program's is.
// No function reads past the end of the text; NUL bytes are ordinary bytes that end a C string early.
#pragma once

#include "glm/glm_util.h"

#include <cstddef>
#include <cstdint>

constexpr std::size_t GLM_TOKEN_SIZE = 128;  // buffer of a token or a rest of a line: 127 characters and the NUL

// A file's text and the reading position in it. The text is followed by a NUL.
struct GLMtext {
    GLMstring memory;
    const char* begin;
    const char* at;
    const char* end;
};

// Reads the whole file. False when `path` cannot be opened or read, or names a directory: errno says why.
bool __glmOpenText(const char* path, GLMtext& text);

// The next characters up to white space, at most 127; what a longer token leaves is the next token. False at
// the end of the text.
bool __glmReadToken(GLMtext& text, char (&token)[GLM_TOKEN_SIZE]);

// The rest of the line up to and including its end, at most size - 1 characters; empty at the end of the text.
void __glmReadLine(GLMtext& text, char* line, std::size_t size);

// Throws away what __glmReadLine would read into GLM_TOKEN_SIZE characters.
void __glmSkipLine(GLMtext& text);

// The first token of a line that __glmReadLine gave; empty when there is none.
void __glmFirstWord(const char (&line)[GLM_TOKEN_SIZE], char (&word)[GLM_TOKEN_SIZE]);

void __glmSkipWhite(GLMtext& text);

// The next number, after white space that may hold line ends. False, with the value unchanged, when the text goes on
// with something else. Integers are decimal with an optional sign; those outside of -2^31 .. 2^32 - 1 are refused.
bool __glmReadFloat(GLMtext& text, float& value);
bool __glmReadInteger(GLMtext& text, std::int64_t& value);

// Moves past `character` when it comes next.
bool __glmAccept(GLMtext& text, char character);

// True at the end of the text, at white space and at a comment.
bool __glmAtWordEnd(const GLMtext& text);

// Number of the line that `at`, a place in the text, is in, from 1. Looks at all the text before it.
unsigned __glmLineNumber(const GLMtext& text, const char* at);
