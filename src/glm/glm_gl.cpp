// Models with textures in the GL: the entries that load them, and their end.
#include "glm/glm.h"

#include "glm/glm_util.h"

#include <GL/gl.h>

#include <cassert>

namespace {

void loadImage(const char* path, GLMtexture& texture) {
    texture.id = glmLoadTexture(path, true, true, true, true, &texture.width, &texture.height);
}

}  // namespace

GLMmodel* glmReadOBJ(const char* path) { return __glmReadOBJ(path, loadImage); }

void glmReadMTL(GLMmodel* model, const char* name) { __glmReadMTL(model, name, loadImage); }

std::uint32_t glmFindOrAddTexture(GLMmodel* model, const char* name) {
    return __glmFindOrAddTexture(model, name, loadImage);
}

void glmDelete(GLMmodel* model) {
    assert(model != nullptr);
    for (std::uint32_t i = 0; i < model->numtextures; ++i) glDeleteTextures(1, &model->textures[i].id);
    glmFree(model);
}
