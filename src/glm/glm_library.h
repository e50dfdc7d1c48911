// glm_library.h - what the reader and the writer of material libraries share: the keywords of numbers and colours,
// and which material is as it was made
#pragma once

#include "glm/glm_call.h"

#include <string_view>

// Colours that GLMmaterial has room for, and those of the extras: three numbers, or one that stands for all.
struct GLMmaterialcolor {
    const char* keyword;
    float (GLMmaterial::*color)[4];
};
constexpr GLMmaterialcolor GLM_MATERIAL_COLORS[] = {
    {"Ka", &GLMmaterial::ambient},
    {"Kd", &GLMmaterial::diffuse},
    {"Ks", &GLMmaterial::specular},
};
struct GLMextracolor {
    const char* keyword;
    float (GLMmaterialextras::*color)[3];
};
constexpr GLMextracolor GLM_EXTRA_COLORS[] = {
    {"Ke", &GLMmaterialextras::emission},
    {"Tf", &GLMmaterialextras::transmission},
};
struct GLMextranumber {
    const char* keyword;
    float GLMmaterialextras::*number;
};
constexpr GLMextranumber GLM_EXTRA_NUMBERS[] = {
    {"Ni", &GLMmaterialextras::refraction},
    {"illum", &GLMmaterialextras::illum},
    {"Pr", &GLMmaterialextras::roughness},
    {"Pm", &GLMmaterialextras::metalness},
    {"Ps", &GLMmaterialextras::sheen},
    {"Pc", &GLMmaterialextras::clearcoat},
    {"Pcr", &GLMmaterialextras::clearcoatroughness},
    {"aniso", &GLMmaterialextras::anisotropy},
    {"anisor", &GLMmaterialextras::anisotropyrotation},
};

// "d -halo 0.5": a material keeps the line among its others, as well as the number.
constexpr char GLM_HALO[] = "-halo";

// Makes the library `name` the materials of a model that has none, and those of the call's extras. The default mode's
// glmTryReadMTL.
void __glmReadLibrary(GLMcall& call, GLMmodel* model, const char* name);

// Whether two keywords are the same but for the case of their letters.
bool __glmIsKeyword(std::string_view a, std::string_view b);

// The extras of a material without any, and the end of those of all materials.
GLMmaterialextras __glmNoMaterialExtras();
void __glmFreeMaterialExtras(GLMextras& extras);

// Whether a material is as a "newmtl" alone makes it. `extras` may be null.
bool __glmIsPlainMaterial(const GLMmaterial& material, const GLMmaterialextras* extras);

// "Ns" as the record's shininess, a float at each step.
inline float __glmShininess(float exponent) {
    const float part = exponent / GLM_MTL_SHININESS;
    return part * GLM_GL_SHININESS;
}

// Makes slashes of backslashes, which separate directories here.
void __glmTurnSlashes(char* name);
