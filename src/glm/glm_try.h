// glm_try.h - reading and writing models with errors that return
//
//   GLMerror error;
//   GLMmodel* model = glmTryReadOBJ("chair.obj", &error);
//   if (model == nullptr) std::fprintf(stderr, "%s:%llu: %s\n", error.file, error.line, error.text);
//
// The functions of glm.h print and end the process instead. These read models of today's programs more freely, and
//
// Never    print, end the process, throw, open an image, touch the GL, or leave anything allocated when they fail.
// Threads  any thread, as many at once as there are models. Reading starts threads of its own for large texts, and
//          ends them; handlers are called on the caller's.
// Fails    with null or false: *error (null: of no interest) says why, and is untouched otherwise. Preconditions
//          ("not null", index ranges) are assertions.
#pragma once

#include "glm/glm_extras.h"

#include <cstddef>
#include <cstdio>

#pragma GCC visibility push(default)

struct GLMerror {
    char file[1024];          // the file that it is about, or empty; cut when it is longer, as is the text
    unsigned long long line;  // the line that it is about, from 1, or 0
    char text[1024];          // what is wrong, without a line end
};

struct GLMwarning {
    const char* file;         // as in GLMerror; these strings last as long as the call of the handler
    unsigned long long line;  // of the first time
    const char* text;
    unsigned long long count;  // how many times
};

// Its defaults are those of a call without options.
struct GLMoptions {
    std::size_t size = sizeof(GLMoptions);  // lets later versions add fields at the end
    void* data = nullptr;                   // handed to the functions below, which must not throw
    // Takes the warnings at the end of the call, in the order of their first time. Equal ones are one.
    void (*warn)(void* data, const GLMwarning& warning) = nullptr;
    // Called at most 100 times while a model is read, or written without `strict`, with growing parts of the whole up
    // to 1, which are guesses while a pipe is read; false cancels the call.
    bool (*progress)(void* data, float done) = nullptr;
    // false: "mtllib" only sets the model's mtllibname (the first name, or with `strict` the last), and no second
    // file is opened; all materials are then the first.
    bool libraries = true;
    // Reading: false takes what today's programs write: names with blanks, relative indices, lines that go on after
    // "\\", lines of any length, several libraries, missing ones as warnings; polygons become triangles that cover
    // them, concave ones too. true reads by the rules of glmReadOBJ, fans of triangles included, on one thread.
    // Writing: true writes as glmWriteOBJ.
    bool strict = false;
    // Reading: takes what the model's records have no room for, which the caller releases with glmFreeExtras; null
    // where the reading fails, and with `strict`. Null here: it is skipped. Writing: what is written with the model,
    // *extras, which stays the caller's.
    GLMextras** extras = nullptr;
    // Reading: true makes no triangles; faces are kept as they are among the elements of the extras.
    bool polygons = false;
    // Reading: how many threads may take part, at most; 0 is as many as there are processors. The result does not
    // depend on it.
    unsigned threads = 0;
    // Writing: true replaces regular files that are there, whole and with their permissions; a link becomes a file.
    bool replace = false;
};

// Each reads a new model, as glmReadOBJ does, but with the names of texture images only; the caller releases it with
// glmFree. Memory stays the caller's; a file is read from where it stands, and left somewhere, open. `path` (not
// null) is then the model's pathname, for messages, and in whose directory material libraries are found; "" is the
// working directory.
GLMmodel* glmTryReadOBJ(const char* path, GLMerror* error = nullptr, const GLMoptions& options = {});
GLMmodel* glmTryReadMemory(const void* bytes, std::size_t size, const char* path, GLMerror* error = nullptr,
                           const GLMoptions& options = {});
GLMmodel* glmTryReadFile(std::FILE* file, const char* path, GLMerror* error = nullptr,
                         const GLMoptions& options = {});

// Makes triangles of the faces of a model that was read with GLMoptions::polygons (neither null): they become the
// model's triangles, with facet normals, and the triangles of its groups, which are then those of the extras; the
// extras' objects and smoothing are those of the triangles. The faces stay. A polygon that its first corner sees all
// of, as in a convex one, becomes the fan around that corner; others are covered exactly. Nothing is changed when it
// fails.
bool glmTryTriangulate(GLMmodel* model, GLMextras* extras, GLMerror* error = nullptr);

// As glmReadMTL, with the names of texture images only. The model is unchanged when it fails. Where options.extras
// asks for them, the materials of *extras are replaced as well; null there becomes extras that hold nothing but
// materials.
bool glmTryReadMTL(GLMmodel* model, const char* name, GLMerror* error = nullptr, const GLMoptions& options = {});

// The mode for all that the model has of vertex normals, texture coordinates and materials, without a warning of the
// rest.
constexpr int GLM_ALL = -1;

// Write the model (not null) to `path`, and its materials to the file `name` in the directory of `path`. By default
//   - what is written reads back the same, numbers to the bit, triangles and groups in their order; a second writing
//     gives the bytes of the first. With the extras that the model was read with, all that they hold goes out too; if
//     they hold faces, these are written instead of the triangles, without facet normals;
//   - extras stay as they were read when the model changes. If they refer to its positions, normals, texture
//     coordinates, triangles or materials, and it has another number of these by now, as after glmWeld or
//     glmVertexNormals, that is an error. Another model's, or changed ones, are not noticed where they are as many:
//     after glmTryReadMTL without extras, a material gets what the extras hold of the one that had its number;
//     glmReverseWinding turns the normals, but not the faces of the extras;
//   - the mode says what is written, as that of glmWriteOBJ, or GLM_ALL; without GLM_MATERIAL nothing is said of
//     materials. With it the library goes into the directory of `path`, under the last part of mtllibname; where that
//     is null, or the name of a file that must stay, under that of `path`, ending in ".mtl". The default material is
//     in it only if it is not as one without a library, or if a triangle goes back to it; without such materials
//     there is no library. glmTryWriteMTL always writes it;
//   - a name is written as it reads back: in place of line ends it has blanks, none are around it, and what follows a
//     "#" that stands alone is lost. Materials of one name become one, as do groups of one name when they are read;
//   - an index that leads nowhere is an error. glmReadOBJ reads what is written only if the corners of each face are
//     alike: all with a normal or none, all with a texture coordinate or none.
// With options.strict they write the bytes of glmWriteOBJ and glmWriteMTL.
//
// They touch no file that is there, unless options.replace says so: they fail then, as they do where one is there
// that is no regular file. A file appears under its name, with ".part0" or another number behind it until then, when
// all files of the call are written whole; if the call fails, what it wrote is gone.
bool glmTryWriteOBJ(const GLMmodel* model, const char* path, int mode, GLMerror* error = nullptr,
                    const GLMoptions& options = {});
bool glmTryWriteMTL(const GLMmodel* model, const char* path, const char* name, GLMerror* error = nullptr,
                    const GLMoptions& options = {});

#pragma GCC visibility pop
