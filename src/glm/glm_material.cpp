// Materials: the MTL reader, and looking up materials and the names of their textures.
#include "glm/glm.h"

#include "glm/glm_text.h"
#include "glm/glm_util.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr GLMmaterial DEFAULT_MATERIAL = {
    .name = nullptr,
    .diffuse = {0.8f, 0.8f, 0.8f, 1.0f},
    .ambient = {0.2f, 0.2f, 0.2f, 1.0f},
    .specular = {0.0f, 0.0f, 0.0f, 1.0f},
    .shininess = 65.0f,
    .map_diffuse = -1,
};

constexpr std::size_t MAP_NAME_SIZE = 4096;

constexpr int ILLUM_SUPPORTED = 2;  // highlights on

struct MaterialReader {
    GLMmodel* model;
    GLMimageLoader load;
    GLMtext text;
    const char* path;
    char token[GLM_TOKEN_SIZE];
    std::uint32_t current;  // material that the statements apply to
    std::uint32_t counted;  // materials that the first pass met
};

bool startsWith(const char* token, std::string_view keyword) { return std::string_view(token).starts_with(keyword); }

void requireKeyword(const MaterialReader& reader, const char* keyword) {
    if (!startsWith(reader.token, keyword))
        __glmFatalError("glmReadMTL: Got \"%s\" instead of \"%s\" in file \"%s\"", reader.token, keyword,
                        reader.path);
}

std::uint32_t countMaterials(MaterialReader& reader) {
    std::uint32_t count = 1;
    while (__glmReadToken(reader.text, reader.token)) {
        if (reader.token[0] == 'n') {
            requireKeyword(reader, "newmtl");
            __glmCount(*reader.model, count, 1, "materials");
        }
        __glmSkipLine(reader.text);
    }
    __glmRewind(reader.text);
    return count;
}

void makeMaterials(GLMmodel* model, std::uint32_t count) {
    __glmFreeMaterials(model);
    model->materials = __glmArray<GLMmaterial>(count);
    model->nummaterials = count;
    std::fill_n(model->materials, count, DEFAULT_MATERIAL);
    model->materials[0].name = __glmCopy("default");
}

void startMaterial(MaterialReader& reader) {
    char line[GLM_TOKEN_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    // Numbers may be followed by a statement on the same line, which counting does not see.
    ++reader.current;
    if (reader.current == reader.counted)
        __glmFatalError("glmReadMTL: \"newmtl\" after another statement on its line in file \"%s\"", reader.path);
    char name[GLM_TOKEN_SIZE];
    __glmFirstWord(line, name);
    if (name[0] == '\0') __glmWarning("glmReadMTL: \"newmtl\" without a name in file \"%s\"", reader.path);
    reader.model->materials[reader.current].name = __glmCopy(name);
}

// Reads the statement's numbers with `read`, a function of glm_text.h; without all of them the statement has no effect.
// What follows a number is a statement; where there is none, the rest of the line is an argument of another kind, such as
// the file in "disp bumps.png".
template <typename Number, std::size_t Count>
bool readNumbers(MaterialReader& reader, bool (*read)(GLMtext&, Number&), Number (&numbers)[Count]) {
    const bool lineEnds = __glmAtLineEnd(reader.text);
    for (std::size_t i = 0; i < Count; ++i) {
        if (read(reader.text, numbers[i])) continue;
        __glmWarning("glmReadMTL: \"%s\" ignored, its numbers can't be read in file \"%s\"", reader.token,
                     reader.path);
        if (i == 0 && !lineEnds) __glmSkipLine(reader.text);
        return false;
    }
    return true;
}

void readColor(MaterialReader& reader, float* color) {
    float numbers[3];
    if (readNumbers(reader, __glmReadFloat, numbers)) std::copy_n(numbers, 3, color);
}

void ignoreCommand(MaterialReader& reader) {
    __glmWarning("glmReadMTL: Command \"%s\" ignored", reader.token);
    __glmSkipLine(reader.text);
}

void readK(MaterialReader& reader, GLMmaterial& material) {
    switch (reader.token[1]) {
    case 'd':
        return readColor(reader, material.diffuse);
    case 's':
        return readColor(reader, material.specular);
    case 'a':
        return readColor(reader, material.ambient);
    default:
        return ignoreCommand(reader);
    }
}

void readN(MaterialReader& reader, GLMmaterial& material) {
    float number[1];
    switch (reader.token[1]) {
    case 's':
        if (!readNumbers(reader, __glmReadFloat, number)) return;
        material.shininess = number[0] / GLM_MTL_SHININESS;
        material.shininess *= GLM_GL_SHININESS;
        return;
    case 'i':
        __glmWarning("refraction index ignored");
        return __glmSkipLine(reader.text);
    default:
        return ignoreCommand(reader);
    }
}

void readDissolve(MaterialReader& reader, GLMmaterial& material) {
    float number[1];
    if (readNumbers(reader, __glmReadFloat, number)) material.diffuse[3] = number[0];
}

void readIllumination(MaterialReader& reader) {
    requireKeyword(reader, "illum");
    std::int64_t model[1];
    if (readNumbers(reader, __glmReadInteger, model) && model[0] != ILLUM_SUPPORTED)
        __glmWarning("illum material ignored: illum %d",
                     static_cast<int>(std::clamp<std::int64_t>(model[0], INT32_MIN, INT32_MAX)));
}

void readMap(MaterialReader& reader) {
    char line[MAP_NAME_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    const GLMstring name(__glmStrStrip(line));
    if (!startsWith(reader.token, "map_Kd"))
        __glmWarning("map %s %s ignored", reader.token, name != nullptr ? name.get() : "");
    else if (name == nullptr)
        __glmWarning("glmReadMTL: \"%s\" without a name ignored in file \"%s\"", reader.token, reader.path);
    else
        reader.model->materials[reader.current].map_diffuse =
            static_cast<std::int32_t>(__glmFindOrAddTexture(reader.model, name.get(), reader.load));
}

void ignoreReflection(MaterialReader& reader) {
    char line[GLM_TOKEN_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    __glmWarning("reflection type ignored: r%s", line);
}

void readStatement(MaterialReader& reader) {
    GLMmaterial& material = reader.model->materials[reader.current];
    switch (reader.token[0]) {
    case 'n':
        requireKeyword(reader, "newmtl");
        return startMaterial(reader);
    case 'K':
        return readK(reader, material);
    case 'N':
        return readN(reader, material);
    case 'd':
        return readDissolve(reader, material);
    case 'i':
        return readIllumination(reader);
    case 'm':
        return readMap(reader);
    case 'r':
        return ignoreReflection(reader);
    default:
        return __glmSkipLine(reader.text);
    }
}

// Groups and triangles of materials that there are no more take the default one.
void dropMissingMaterials(GLMmodel& model) {
    const auto drop = [&](std::uint32_t& material) { material = material < model.nummaterials ? material : 0; };
    for (GLMgroup* group = model.groups; group != nullptr; group = group->next) drop(group->material);
    if (model.triangles == nullptr) return;  // the OBJ reader is still counting them
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) drop(model.triangles[i].material);
}

}  // namespace

void __glmReadMTL(GLMmodel* model, const char* name, GLMimageLoader load) {
    const GLMstring path = __glmBeside(model->pathname, name);
    MaterialReader reader{.model = model,
                          .load = load,
                          .text = {},
                          .path = path.get(),
                          .token = {},
                          .current = 0,
                          .counted = 0};
    if (!__glmOpenText(path.get(), reader.text))
        __glmFatalError("glmReadMTL() failed: can't open material file \"%s\".", path.get());
    reader.counted = countMaterials(reader);
    makeMaterials(model, reader.counted);
    while (__glmReadToken(reader.text, reader.token)) readStatement(reader);
    // A "newmtl" in what counting took for the start of a line may be part of a name.
    model->nummaterials = reader.current + 1;
    dropMissingMaterials(*model);
}

void glmReadMaterials(GLMmodel* model, const char* name) { __glmReadMTL(model, name, nullptr); }

std::uint32_t glmFindMaterial(const GLMmodel* model, const char* name) {
    assert(name != nullptr);
    for (std::uint32_t i = 0; i < model->nummaterials; ++i) {
        assert(model->materials[i].name != nullptr);
        if (std::strcmp(model->materials[i].name, name) == 0) return i;
    }
    __glmWarning("glmFindMaterial():  can't find material \"%s\".", name);
    return 0;
}

std::uint32_t __glmFindOrAddTexture(GLMmodel* model, const char* name, GLMimageLoader load) {
    const std::uint32_t index = model->numtextures;
    for (std::uint32_t i = 0; i < index; ++i)
        if (std::strcmp(model->textures[i].name, name) == 0) return i;

    GLMtexture texture{.name = nullptr, .id = 0, .width = 1.0f, .height = 1.0f};
    if (load != nullptr) load(__glmBeside(model->pathname, name).get(), texture);
    texture.name = __glmCopy(name);

    __glmCount(*model, model->numtextures, 1, "textures");
    model->textures = __glmResize(model->textures, model->numtextures);
    model->textures[index] = texture;
    return index;
}
