// Drawing in immediate mode and into display lists.
#include "glm/glm.h"

#include "glm/glm_call.h"

#include <GL/gl.h>

#include <algorithm>
#include <cassert>

namespace {

constexpr int USES_MATERIAL = GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL;

// What is current in a pass.
struct Pass {
    const GLMmodel& model;
    int mode;
    bool translucentPass;  // this pass draws the translucent triangles, not the opaque ones
    std::uint32_t materialIndex = GLM_NO_INDEX;
    const GLMmaterial* material = nullptr;
    std::int32_t texture = -1;
    bool translucent = false;
    bool materialChanged = false;
    bool textureChanged = false;
    bool metTranslucent = false;
};

int correctedMode(const GLMmodel& model, int mode) {
    const GLMcorrection corrections[] = {
        {GLM_FLAT, model.numfacetnorms == 0, GLM_FLAT, "flat render mode requested with no facet normals defined."},
        {GLM_SMOOTH, model.numnormals == 0, GLM_SMOOTH, "smooth render mode requested with no normals defined."},
        {GLM_TEXTURE, model.numtexcoords == 0, GLM_TEXTURE,
         "texture render mode requested with no texture coordinates defined."},
        {GLM_TEXTURE, model.nummaterials == 0, GLM_TEXTURE,
         "texture render mode requested with no materials defined."},
        {GLM_FLAT | GLM_SMOOTH, true, GLM_FLAT,
         "flat render mode requested and smooth render mode requested (using smooth)."},
        {GLM_COLOR, model.nummaterials == 0, GLM_COLOR, "color render mode requested with no materials defined."},
        {GLM_MATERIAL, model.nummaterials == 0, GLM_MATERIAL,
         "material render mode requested with no materials defined."},
        {GLM_COLOR | GLM_MATERIAL, true, GLM_COLOR,
         "color and material render mode requested using only material mode."},
    };
    GLMcall call;
    return __glmCorrectMode(call, "glmDraw", mode, corrections);
}

void setFixedState(int mode) {
    if ((mode & GLM_COLOR) != 0)
        glEnable(GL_COLOR_MATERIAL);
    else if ((mode & GLM_MATERIAL) != 0)
        glDisable(GL_COLOR_MATERIAL);
    if ((mode & GLM_TEXTURE) != 0) {
        glEnable(_glmTextureTarget);
        glTexEnvf(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    }
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, (mode & GLM_TWO_SIDED) != 0 ? 1 : 0);
}

void selectMaterial(Pass& pass, std::uint32_t index) {
    assert(index < pass.model.nummaterials);
    pass.materialIndex = index;
    pass.material = &pass.model.materials[index];
    pass.translucent = pass.material->diffuse[3] < 1.0f;
    if (pass.translucent) pass.metTranslucent = true;
    pass.materialChanged = true;
    if (pass.material->map_diffuse == pass.texture) return;
    pass.texture = pass.material->map_diffuse;
    pass.textureChanged = true;
}

const GLMtexture* currentTexture(const Pass& pass) {
    if (pass.texture == -1) return nullptr;
    assert(static_cast<std::uint32_t>(pass.texture) < pass.model.numtextures);
    return &pass.model.textures[pass.texture];
}

// A texture cannot be bound between glBegin and glEnd.
void bindTexture(const Pass& pass) {
    const GLMtexture* texture = currentTexture(pass);
    glEnd();
    glBindTexture(_glmTextureTarget, texture != nullptr ? texture->id : 0);
    glBegin(GL_TRIANGLES);
}

// The GL refuses any other value and would keep that of the material before.
float shininessOf(const GLMmaterial& material) {
    return glmMax(0.0f, std::min(material.shininess, GLM_GL_SHININESS));
}

void applyMaterial(Pass& pass) {
    pass.materialChanged = false;
    if ((pass.mode & GLM_TEXTURE) != 0 && pass.textureChanged) {
        pass.textureChanged = false;
        bindTexture(pass);
    }
    if ((pass.mode & GLM_MATERIAL) != 0) {
        glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, pass.material->ambient);
        glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, pass.material->diffuse);
        glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, pass.material->specular);
        glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, shininessOf(*pass.material));
    }
    if ((pass.mode & GLM_COLOR) != 0) glColor3fv(pass.material->diffuse);
}

// Entry `index`, 1 to `count`, of an array of vectors of `size` floats.
const float* entry(const float* array, int size, std::uint32_t index, std::uint32_t count) {
    assert(index >= 1 && index <= count);
    return array + static_cast<std::size_t>(size) * index;
}

void drawCorner(const Pass& pass, const GLMtriangle& triangle, int corner) {
    const GLMmodel& model = pass.model;
    const std::uint32_t normal = triangle.nindices[corner];
    if ((pass.mode & GLM_SMOOTH) != 0 && normal != GLM_NO_INDEX)
        glNormal3fv(entry(model.normals, 3, normal, model.numnormals));

    const std::uint32_t texcoord = triangle.tindices[corner];
    if ((pass.mode & GLM_TEXTURE) != 0 && texcoord != GLM_NO_INDEX) {
        if (const GLMtexture* texture = currentTexture(pass)) {
            const float* uv = entry(model.texcoords, 2, texcoord, model.numtexcoords);
            glTexCoord2f(uv[0] * texture->width, uv[1] * texture->height);
        }
    }
    glVertex3fv(entry(model.vertices, 3, triangle.vindices[corner], model.numvertices));
}

void drawTriangle(Pass& pass, const GLMtriangle& triangle) {
    // Material 0 means that none was chosen: the triangle is drawn with what is current.
    if ((pass.mode & USES_MATERIAL) != 0 && triangle.material != 0 && triangle.material != pass.materialIndex)
        selectMaterial(pass, triangle.material);
    if (pass.translucent != pass.translucentPass) return;
    if (pass.materialChanged) applyMaterial(pass);
    if ((pass.mode & GLM_FLAT) != 0)
        glNormal3fv(entry(pass.model.facetnorms, 3, triangle.findex, pass.model.numfacetnorms));
    for (int corner = 0; corner < 3; ++corner) drawCorner(pass, triangle, corner);
}

void drawPass(Pass& pass) {
    for (const GLMgroup* group = pass.model.groups; group != nullptr; group = group->next) {
        if ((pass.mode & USES_MATERIAL) != 0) selectMaterial(pass, group->material);
        glBegin(GL_TRIANGLES);
        for (std::uint32_t i = 0; i < group->numtriangles; ++i)
            drawTriangle(pass, pass.model.triangles[group->triangles[i]]);
        glEnd();
    }
}

}  // namespace

void glmDraw(const GLMmodel* model, int mode) {
    assert(model != nullptr);
    assert(model->vertices != nullptr);
    mode = correctedMode(*model, mode);
    setFixedState(mode);

    Pass opaque{.model = *model, .mode = mode, .translucentPass = false};
    drawPass(opaque);
    if (!opaque.metTranslucent) return;

    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    glDepthMask(GL_FALSE);
    Pass translucent{.model = *model, .mode = mode, .translucentPass = true};
    drawPass(translucent);
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
}

std::uint32_t glmList(const GLMmodel* model, int mode) {
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glmDraw(model, mode);
    glEndList();
    return list;
}
