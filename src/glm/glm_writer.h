// glm_writer.h - the text that the default mode writes
//
// Whatever a file says comes back from what is written of it: numbers to the bit, names whole, statements in their
// order. A second writing gives the bytes of the first. Records that a program made or changed are written as far as
// text can say them; where an index leads nowhere the call fails.
#pragma once

#include "glm/glm_output.h"

// False, and a failure, unless the extras are of as many entries of that kind as the model has.
inline bool __glmRequireAsMany(GLMcall& call, const char* caller, const char* what, std::uint32_t own,
                               std::uint32_t models) {
    if (own != models)
        __glmFail(call, GLMplace::none, "%s() failed: the extras are of %u %s, the model has %u.", caller, own, what,
                  models);
    return own == models;
}

// What the mode word -1 stands for: what the model has of normals, texture coordinates and materials.
int __glmModeOfAll(const GLMmodel& model);

// Whether the library would say anything: not of the default material alone, as it is where nothing is said.
bool __glmNeedsLibrary(const GLMmodel& model, const GLMextras* extras);

// The materials, each name once; the default one only if it is not as it is where nothing is said, or if `named`: a
// "usemtl" names it. False when the call fails.
bool __glmPutLibrary(GLMcall& call, GLMsink& sink, const GLMmodel& model, const GLMextras* extras, bool named);

// The model; `library` (or null) is named in front of it. `named` becomes true when a "usemtl" names the default
// material.
bool __glmPutModel(GLMcall& call, GLMsink& sink, const GLMmodel& model, int mode, const char* library, bool& named);
