// Material libraries as the default mode writes them.
#include "glm/glm_library.h"
#include "glm/glm_names.h"
#include "glm/glm_text.h"
#include "glm/glm_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

struct LibraryWriter {
    GLMcall& call;
    GLMsink& sink;
    const GLMmodel& model;
};

// What "Ns" is to say for that shininess, as short as it can be said; the nearest, where no float gives just that.
float exponentOf(float shininess) {
    const auto first = static_cast<float>(double{shininess} / GLM_GL_SHININESS * GLM_MTL_SHININESS);
    const auto length = [](float number) {
        char digits[GLM_NUMBER_SIZE];
        return __glmPutFloat(digits, number) - digits;
    };
    float best = first;
    for (const float end : {-std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity()}) {
        float number = first;
        for (int i = 0; i < 3; ++i, number = std::nextafter(number, end)) {
            const bool right = __glmShininess(number) == shininess, wrong = __glmShininess(best) != shininess;
            if (right && (wrong || length(number) < length(best))) best = number;
        }
    }
    return best;
}

// What the file said, unless the shininess has been changed since; nothing, where it said nothing.
void putExponent(LibraryWriter& writer, const GLMmaterial& material, const GLMmaterialextras* extras) {
    float exponent = extras != nullptr ? extras->exponent : std::numeric_limits<float>::quiet_NaN();
    const bool unsaid = extras != nullptr && std::isnan(exponent);
    if (unsaid && material.shininess == GLM_DEFAULT_MATERIAL.shininess) return;
    if (__glmShininess(exponent) != material.shininess) exponent = exponentOf(material.shininess);
    __glmPutNumbers(writer.sink, "Ns", &exponent, 1);
}

void putExtraNumbers(LibraryWriter& writer, const GLMmaterialextras& extras) {
    for (const GLMextracolor& entry : GLM_EXTRA_COLORS) {
        const float* color = extras.*entry.color;
        if (!std::isnan(color[0])) __glmPutNumbers(writer.sink, entry.keyword, color, 3);
    }
    for (const GLMextranumber& entry : GLM_EXTRA_NUMBERS)
        if (!std::isnan(extras.*entry.number))
            __glmPutNumbers(writer.sink, entry.keyword, &(extras.*entry.number), 1);
}

// ---- Maps ---------------------------------------------------------------------------------------------------------

bool isDiffuse(const GLMmap& map) { return map.keyword != nullptr && __glmIsKeyword(map.keyword, "map_Kd"); }

// Whether two paths are the same but for the kind of their slashes.
bool isSamePath(const char* a, const char* b) {
    const auto same = [](char x, char y) { return x == y || (x == '\\' && y == '/') || (x == '/' && y == '\\'); };
    const std::string_view first = a, second = b;
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), same);
}

void putMap(GLMsink& sink, const char* keyword, const char* options, const char* path) {
    __glmPutName(sink, keyword);
    if (options != nullptr && *options != '\0') {
        __glmPutText(sink, " ");
        __glmPutRest(sink, options);
    }
    __glmPutText(sink, " ");
    __glmPutName(sink, path);
    __glmPutText(sink, "\n");
}

// The record says which image is the diffuse one; the extras may say more of it.
void putMaps(LibraryWriter& writer, const GLMmaterialextras* extras, const char* diffuse) {
    const std::uint32_t count = extras != nullptr ? extras->nummaps : 0;
    std::uint32_t last = count;
    for (std::uint32_t i = 0; i < count; ++i)
        if (isDiffuse(extras->maps[i])) last = i;
    if (last == count && diffuse != nullptr) putMap(writer.sink, "map_Kd", "", diffuse);
    for (std::uint32_t i = 0; i < count; ++i) {
        const GLMmap& map = extras->maps[i];
        if (diffuse == nullptr && isDiffuse(map)) continue;
        const bool changed = i == last && (map.path == nullptr || !isSamePath(map.path, diffuse));
        putMap(writer.sink, map.keyword, map.options, changed ? diffuse : map.path);
    }
}

// The name of the diffuse texture; null where there is none.
const char* diffuseOf(LibraryWriter& writer, const GLMmaterial& material) {
    const GLMmodel& model = writer.model;
    if (material.map_diffuse == GLM_DEFAULT_MATERIAL.map_diffuse) return nullptr;
    const auto index = static_cast<std::uint32_t>(material.map_diffuse);
    if (index < model.numtextures) return model.textures[index].name;
    __glmFail(writer.call, GLMplace::none, "material \"%s\" has a texture that is not there", material.name);
    return nullptr;
}

// ---- Dissolve -----------------------------------------------------------------------------------------------------

// Whether it is "d -halo" and a number.
bool isHalo(const char* line) {
    const std::string_view text = line != nullptr ? line : "";
    const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
    const std::size_t next = std::min(text.find_first_not_of(" \t", end), text.size());
    const std::string_view option = text.substr(next, std::strlen(GLM_HALO));
    return __glmIsKeyword(text.substr(0, end), "d") && __glmIsKeyword(option, GLM_HALO);
}

// The record says how opaque the material is; a line of the extras may say in which way.
void putDissolve(LibraryWriter& writer, const GLMmaterial& material, const GLMmaterialextras* extras) {
    const bool halo = extras != nullptr && std::any_of(extras->others, extras->others + extras->numothers, isHalo);
    if (halo || material.diffuse[3] != GLM_DEFAULT_MATERIAL.diffuse[3])
        __glmPutNumbers(writer.sink, halo ? "d -halo" : "d", material.diffuse + 3, 1);
}

// ---- Materials ----------------------------------------------------------------------------------------------------

void putMaterial(LibraryWriter& writer, const GLMmaterial& material, const GLMmaterialextras* extras) {
    GLMsink& sink = writer.sink;
    __glmPutText(sink, "\nnewmtl ");
    __glmPutName(sink, material.name);
    __glmPutText(sink, "\n");
    for (const GLMmaterialcolor& entry : GLM_MATERIAL_COLORS)
        __glmPutNumbers(sink, entry.keyword, material.*entry.color, 3);
    putExponent(writer, material, extras);
    putDissolve(writer, material, extras);
    if (extras != nullptr) putExtraNumbers(writer, *extras);
    putMaps(writer, extras, diffuseOf(writer, material));
    for (std::uint32_t i = 0; extras != nullptr && i < extras->numothers; ++i) {
        if (isHalo(extras->others[i])) continue;
        __glmPutRest(sink, extras->others[i]);
        __glmPutText(sink, "\n");
    }
}

const GLMmaterialextras* extrasOf(const GLMextras* extras, std::uint32_t material) {
    return extras != nullptr && material < extras->nummaterials ? &extras->materials[material] : nullptr;
}

bool isSaidByNothing(const GLMmodel& model, const GLMextras* extras, std::uint32_t material) {
    const GLMmaterial& record = model.materials[material];
    return material == 0 && record.name != nullptr && std::strcmp(record.name, "default") == 0 &&
           __glmIsPlainMaterial(record, extrasOf(extras, material));
}

// The materials' names as they are written, which may be equal where the names are not.
struct WrittenNames {
    GLMstring room;
    char* at;
};

// False when memory is short.
bool makeRoom(GLMcall& call, const GLMmodel& model, WrittenNames& names) {
    std::size_t size = 0;
    for (std::uint32_t i = 0; i < model.nummaterials; ++i)
        if (model.materials[i].name != nullptr) size += std::strlen(model.materials[i].name);
    names.room.reset(__glmTryArray<char>(call, size));
    names.at = names.room.get();
    return names.at != nullptr;
}

std::string_view add(WrittenNames& names, const char* name) {
    const std::string_view whole = __glmWholeName(name != nullptr ? name : "");
    const char* const start = names.at;
    names.at = std::replace_copy_if(whole.begin(), whole.end(), names.at, __glmIsLineEnd, ' ');
    return {start, whole.size()};
}

}  // namespace

bool __glmNeedsLibrary(const GLMmodel& model, const GLMextras* extras) {
    return model.nummaterials > 1 || (model.nummaterials == 1 && !isSaidByNothing(model, extras, 0));
}

bool __glmPutLibrary(GLMcall& call, GLMsink& sink, const GLMmodel& model, const GLMextras* extras, bool named) {
    LibraryWriter writer{.call = call, .sink = sink, .model = model};
    GLMnames names;
    WrittenNames written{};
    // Extras without any say nothing of materials.
    if (extras != nullptr && extras->nummaterials > 0 &&
        !__glmRequireAsMany(call, "glmWriteMTL", "materials", extras->nummaterials, model.nummaterials))
        return false;
    if (!makeRoom(call, model, written)) return false;
    __glmPutText(sink, "# Wavefront MTL generated by GLM library\n");
    for (std::uint32_t i = 0; i < model.nummaterials && !call.failed; ++i) {
        const GLMmaterial& material = model.materials[i];
        const std::string_view name = add(written, material.name);
        if (__glmFindName(names, name) != nullptr) {
            __glmWarn(call, GLMplace::none, "material \"%.*s\" is there already, the first one counts",
                      static_cast<int>(name.size()), name.data());
            continue;
        }
        if (!__glmAddName(names, name, i)) __glmFailAtMemory(call, names.size, sizeof(GLMnames::Slot));
        if (!named && isSaidByNothing(model, extras, i)) continue;
        putMaterial(writer, material, extrasOf(extras, i));
    }
    return !call.failed;
}
