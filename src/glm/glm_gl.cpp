// Models with textures in the GL: the entries that load them, and their end.
#include "glm/glm.h"

#include "glm/glm_call.h"

#include <GL/gl.h>

#include <cassert>

namespace {

void loadImage(const char* path, GLMtexture& texture) {
    texture.id = glmLoadTexture(path, true, true, true, true, &texture.width, &texture.height);
}

}  // namespace

GLMmodel* glmReadOBJ(const char* path) {
    assert(path != nullptr);
    GLMcall call;
    call.load = loadImage;
    return __glmReadOBJ(call, path);
}

void glmReadMTL(GLMmodel* model, const char* name) {
    GLMcall call;
    call.load = loadImage;
    __glmReadMTL(call, model, name);
}

std::uint32_t glmFindOrAddTexture(GLMmodel* model, const char* name) {
    GLMcall call;
    call.load = loadImage;
    return __glmFindOrAddTexture(call, model, name);
}

void glmDelete(GLMmodel* model) {
    assert(model != nullptr);
    for (std::uint32_t i = 0; i < model->numtextures; ++i) glDeleteTextures(1, &model->textures[i].id);
    glmFree(model);
}
