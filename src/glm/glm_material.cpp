// Materials: the MTL reader, and looking up materials and the names of their textures.
#include "glm/glm.h"

#include "glm/glm_library.h"
#include "glm/glm_text.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t MAP_NAME_SIZE = 4096;

constexpr int ILLUM_SUPPORTED = 2;  // highlights on

struct MaterialReader {
    GLMcall& call;
    GLMmodel* model;
    GLMtext text;
    char token[GLM_TOKEN_SIZE];
    std::uint32_t current;  // material that the statements apply to
    std::uint32_t counted;  // materials that the first pass met
};

bool startsWith(const char* token, std::string_view keyword) { return std::string_view(token).starts_with(keyword); }

bool requireKeyword(MaterialReader& reader, const char* keyword) {
    if (startsWith(reader.token, keyword)) return true;
    __glmFail(reader.call, GLMplace::file, "glmReadMTL: Got \"%s\" instead of \"%s\"", reader.token, keyword);
    return false;
}

bool nextStatement(MaterialReader& reader) {
    if (reader.call.failed || !__glmReadToken(reader.text, reader.token)) return false;
    reader.text.statement = __glmOffset(reader.text);
    return true;
}

std::uint32_t countMaterials(MaterialReader& reader) {
    std::uint32_t count = 1;
    while (nextStatement(reader)) {
        if (reader.token[0] == 'n' && requireKeyword(reader, "newmtl"))
            __glmTryCount(reader.call, *reader.model, count, 1, "materials");
        __glmSkipLine(reader.text);
    }
    __glmRewind(reader.text);
    return count;
}

bool makeMaterials(GLMcall& call, GLMmodel* model, std::uint32_t count) {
    model->materials = __glmTryArray<GLMmaterial>(call, count);
    if (model->materials == nullptr) return false;
    model->nummaterials = count;
    std::fill_n(model->materials, count, GLM_DEFAULT_MATERIAL);
    model->materials[0].name = __glmTryCopy(call, "default");
    return model->materials[0].name != nullptr;
}

void startMaterial(MaterialReader& reader) {
    char line[GLM_TOKEN_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    // Numbers may be followed by a statement on the same line, which counting does not see.
    if (reader.current + 1 == reader.counted)
        return __glmFail(reader.call, GLMplace::file, "glmReadMTL: \"newmtl\" after another statement on its line");
    char name[GLM_TOKEN_SIZE];
    __glmFirstWord(line, name);
    if (name[0] == '\0') __glmWarn(reader.call, GLMplace::file, "glmReadMTL: \"newmtl\" without a name");
    reader.model->materials[++reader.current].name = __glmTryCopy(reader.call, name);
}

// Reads the statement's numbers with `read`, a function of glm_text.h; without all of them the statement has no
// effect. What follows a number is a statement; where there is none, the rest of the line is an argument of another
// kind, such as the file in "disp bumps.png".
template <typename Number, std::size_t Count>
bool readNumbers(MaterialReader& reader, bool (*read)(GLMtext&, Number&), Number (&numbers)[Count]) {
    const bool lineEnds = __glmAtLineEnd(reader.text);
    for (std::size_t i = 0; i < Count; ++i) {
        if (read(reader.text, numbers[i])) continue;
        __glmWarn(reader.call, GLMplace::file, "glmReadMTL: \"%s\" ignored, its numbers can't be read", reader.token);
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
    __glmWarn(reader.call, GLMplace::none, "glmReadMTL: Command \"%s\" ignored", reader.token);
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
        material.shininess = __glmShininess(number[0]);
        return;
    case 'i':
        __glmWarn(reader.call, GLMplace::none, "refraction index ignored");
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
    std::int64_t model[1];
    if (!requireKeyword(reader, "illum") || !readNumbers(reader, __glmReadInteger, model)) return;
    if (model[0] != ILLUM_SUPPORTED)
        __glmWarn(reader.call, GLMplace::none, "illum material ignored: illum %d",
                  static_cast<int>(std::clamp<std::int64_t>(model[0], INT32_MIN, INT32_MAX)));
}

void readMap(MaterialReader& reader) {
    char line[MAP_NAME_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    const GLMstring name(__glmTryCopy(reader.call, __glmStripped(line)));
    if (name == nullptr) return;
    if (!startsWith(reader.token, "map_Kd"))
        __glmWarn(reader.call, GLMplace::none, "map %s %s ignored", reader.token, name.get());
    else if (*name == '\0')
        __glmWarn(reader.call, GLMplace::file, "glmReadMTL: \"%s\" without a name ignored", reader.token);
    else
        reader.model->materials[reader.current].map_diffuse =
            static_cast<std::int32_t>(__glmFindOrAddTexture(reader.call, reader.model, name.get()));
}

void ignoreReflection(MaterialReader& reader) {
    char line[GLM_TOKEN_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    __glmWarn(reader.call, GLMplace::none, "reflection type ignored: r%s", line);
}

void readStatement(MaterialReader& reader) {
    GLMmaterial& material = reader.model->materials[reader.current];
    switch (reader.token[0]) {
    case 'n':
        if (requireKeyword(reader, "newmtl")) startMaterial(reader);
        return;
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

void readFile(GLMcall& call, GLMmodel* model, const char* path) {
    MaterialReader reader{.call = call, .model = model, .text = {}, .token = {}, .current = 0, .counted = 0};
    if (!__glmOpenText(call, path, reader.text))
        return __glmFail(call, GLMplace::none, "glmReadMTL() failed: can't open material file \"%s\".", path);
    GLMtext* const outer = std::exchange(call.text, &reader.text);
    call.file = path;
    reader.counted = countMaterials(reader);
    if (!call.failed && makeMaterials(call, model, reader.counted)) {
        while (nextStatement(reader)) readStatement(reader);
        // A "newmtl" in what counting took for the start of a line may be part of a name.
        model->nummaterials = reader.current + 1;
    }
    call.text = outer;
}

void readLibrary(GLMcall& call, GLMmodel* model, const char* name) {
    const GLMstring path = __glmTryBeside(call, model->pathname, name);
    if (path == nullptr) return;
    const char* const file = call.file;
    if (call.text == nullptr) call.file = path.get();  // else it is the "mtllib" that names a file which is not there
    readFile(call, model, path.get());
    call.file = file;
}

void freeTextures(GLMmodel& model, std::uint32_t left) {
    while (model.numtextures > left) std::free(model.textures[--model.numtextures].name);
}

// The materials that a model is not to have.
struct Dropped {
    GLMmodel model{};
    Dropped() = default;
    Dropped(const Dropped&) = delete;
    Dropped& operator=(const Dropped&) = delete;
    ~Dropped() { __glmFreeMaterials(&model); }
    void swapWith(GLMmodel& other) {
        std::swap(model.materials, other.materials);
        std::swap(model.nummaterials, other.nummaterials);
    }
};

// Replaces the model's materials by what `read` adds to none.
bool replaceMaterials(GLMcall& call, GLMmodel* model, const char* name,
                      void (*read)(GLMcall& call, GLMmodel* model, const char* name)) {
    Dropped dropped;
    dropped.swapWith(*model);
    const std::uint32_t textureCount = model->numtextures;
    read(call, model, name);
    if (call.failed) {
        dropped.swapWith(*model);
        freeTextures(*model, textureCount);
        return false;
    }
    dropMissingMaterials(*model);
    return true;
}

}  // namespace

bool __glmReadMTL(GLMcall& call, GLMmodel* model, const char* name) {
    return replaceMaterials(call, model, name, readLibrary);
}

bool glmTryReadMTL(GLMmodel* model, const char* name, GLMerror* error, const GLMoptions& options) {
    assert(model != nullptr && name != nullptr);
    GLMcall call;
    __glmLetReturn(call, error, options);
    replaceMaterials(call, model, name, call.options.strict ? readLibrary : __glmReadLibrary);
    return __glmEnd(call);
}

std::uint32_t glmFindMaterial(const GLMmodel* model, const char* name) {
    assert(name != nullptr);
    for (std::uint32_t i = 0; i < model->nummaterials; ++i) {
        assert(model->materials[i].name != nullptr);
        if (std::strcmp(model->materials[i].name, name) == 0) return i;
    }
    __glmWarning(GLM_NO_SUCH_MATERIAL, name);
    return 0;
}

std::uint32_t __glmFindOrAddTexture(GLMcall& call, GLMmodel* model, const char* name) {
    for (std::uint32_t i = 0; i < model->numtextures; ++i)
        if (std::strcmp(model->textures[i].name, name) == 0) return i;
    return __glmAddTexture(call, model, name);
}

std::uint32_t __glmAddTexture(GLMcall& call, GLMmodel* model, const char* name) {
    const std::uint32_t index = model->numtextures;
    GLMtexture texture{.name = nullptr, .id = 0, .width = 1.0f, .height = 1.0f};
    if (call.load != nullptr) call.load(__glmBeside(model->pathname, name).get(), texture);
    GLMstring copy(__glmTryCopy(call, name));
    if (copy == nullptr || !__glmTryResize(call, model->textures, index + std::size_t{1}) ||
        !__glmTryCount(call, *model, model->numtextures, 1, "textures"))
        return 0;
    texture.name = copy.release();
    model->textures[index] = texture;
    return index;
}
