// The end of what files hold beyond the model's records, and what a material has without a file.
#include "glm/glm_extras.h"

#include "glm/glm_library.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

void freeStrings(char** strings, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) std::free(strings[i]);
    std::free(strings);
}

void freeMaterial(const GLMmaterialextras& material) {
    for (std::uint32_t i = 0; i < material.nummaps; ++i) {
        const GLMmap& map = material.maps[i];
        for (char* text : {map.keyword, map.options, map.path}) std::free(text);
    }
    std::free(material.maps);
    freeStrings(material.others, material.numothers);
}

bool isSame(float a, float b) { return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b); }

bool isUnset(const GLMmaterialextras& extras) {
    const auto unset = [](float number) { return std::isnan(number); };
    const auto colorUnset = [&](const GLMextracolor& entry) { return unset((extras.*entry.color)[0]); };
    const auto numberUnset = [&](const GLMextranumber& entry) { return unset(extras.*entry.number); };
    return extras.nummaps == 0 && extras.numothers == 0 && unset(extras.exponent) &&
           std::all_of(std::begin(GLM_EXTRA_COLORS), std::end(GLM_EXTRA_COLORS), colorUnset) &&
           std::all_of(std::begin(GLM_EXTRA_NUMBERS), std::end(GLM_EXTRA_NUMBERS), numberUnset);
}

}  // namespace

bool __glmIsKeyword(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

GLMmaterialextras __glmNoMaterialExtras() {
    constexpr float UNSET = std::numeric_limits<float>::quiet_NaN();
    GLMmaterialextras extras{};
    for (const GLMextracolor& entry : GLM_EXTRA_COLORS) std::fill_n(extras.*entry.color, 3, UNSET);
    for (const GLMextranumber& entry : GLM_EXTRA_NUMBERS) extras.*entry.number = UNSET;
    extras.exponent = UNSET;
    return extras;
}

bool __glmIsPlainMaterial(const GLMmaterial& material, const GLMmaterialextras* extras) {
    const GLMmaterial& plain = GLM_DEFAULT_MATERIAL;
    const auto isPlain = [&](const GLMmaterialcolor& entry) {
        return std::equal(material.*entry.color, material.*entry.color + 4, plain.*entry.color, isSame);
    };
    return std::all_of(std::begin(GLM_MATERIAL_COLORS), std::end(GLM_MATERIAL_COLORS), isPlain) &&
           isSame(material.shininess, plain.shininess) && material.map_diffuse == plain.map_diffuse &&
           (extras == nullptr || isUnset(*extras));
}

void __glmTurnSlashes(char* name) { std::replace(name, name + std::strlen(name), '\\', '/'); }

void __glmFreeMaterialExtras(GLMextras& extras) {
    for (std::uint32_t i = 0; i < extras.nummaterials; ++i) freeMaterial(extras.materials[i]);
    std::free(extras.materials);
    extras.materials = nullptr;
    extras.nummaterials = 0;
}

void glmFreeExtras(GLMextras* extras) {
    if (extras == nullptr) return;
    __glmFreeMaterialExtras(*extras);
    freeStrings(extras->groupnames, extras->numgroups);
    freeStrings(extras->objectnames, extras->numobjects);
    freeStrings(extras->libraries, extras->numlibraries);
    std::free(extras->colors);
    std::free(extras->objects);
    std::free(extras->smoothing);
    std::free(extras->corners);
    std::free(extras->elements);
    std::free(extras);
}
