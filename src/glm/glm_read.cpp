// The OBJ reader. Two passes over the text: the first counts, creates the groups and reads the material
// library; the second fills arrays of exactly the counted sizes.
#include "glm/glm.h"

#include "glm/glm_lines.h"
#include "glm/glm_reader.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

namespace {

struct CornerNumber {
    std::string_view separator;  // in front of the number
    std::uint32_t GLMcorner::*index;
};

struct CornerForm {
    const char* name;
    int count;
    CornerNumber numbers[3];
};

constexpr CornerForm POSITION_NORMAL = {"v//vn", 2, {{"", &GLMcorner::position}, {"//", &GLMcorner::normal}}};
// The other forms; a first corner is of the first one whose numbers it has.
constexpr CornerForm FORMS[] = {
    {"v/vt/vn", 3, {{"", &GLMcorner::position}, {"/", &GLMcorner::texcoord}, {"/", &GLMcorner::normal}}},
    {"v/vt", 2, {{"", &GLMcorner::position}, {"/", &GLMcorner::texcoord}}},
    {"v", 1, {{"", &GLMcorner::position}}},
};

void failAtStatement(GLMreader& reader, const char* what) {
    __glmFail(reader.call, GLMplace::line, "glmReadOBJ: %s", what);
}

constexpr const char* USEMTL = "usemtl";

bool requireKeyword(GLMreader& reader, const char* keyword) {
    if (std::string_view(reader.token).starts_with(keyword)) return true;
    __glmFail(reader.call, GLMplace::none, "glmReadOBJ: Got \"%s\" instead of \"%s\"", reader.token, keyword);
    return false;
}

bool nextStatement(GLMreader& reader) {
    if (reader.call.failed || !__glmReadToken(reader.text, reader.token)) return false;
    reader.text.statement = __glmOffset(reader.text);
    return true;
}

void readFirstWord(GLMreader& reader, char (&word)[GLM_TOKEN_SIZE]) {
    char line[GLM_TOKEN_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    __glmFirstWord(line, word);
}

// ---- Groups -------------------------------------------------------------------------------------------------------

// A group's name is the rest of its line, the white space after the keyword included.
void readGroupName(GLMreader& reader, char (&name)[GLM_TOKEN_SIZE]) {
    __glmReadLine(reader.text, name, sizeof name);
    std::size_t length = std::strlen(name);
    if (length == 0 || name[length - 1] != '\n') return;
    name[--length] = '\0';
    if (length > 0 && name[length - 1] == '\r') name[length - 1] = '\0';
}

void selectOrAddGroup(GLMreader& reader, const char* name) {
    if (const std::uint32_t* known = __glmFindName(reader.groupNames, name)) {
        reader.group = &reader.groups[*known];
        return;
    }
    GLMgroupSlot* slots = reader.groups.release();
    const bool hasRoom = __glmTryGrow(reader.call, slots, reader.groupCount);
    reader.groups.reset(slots);
    GLMgroup* group = hasRoom ? __glmNewGroup(reader.call, reader.model, name) : nullptr;
    if (group == nullptr) return;
    if (!__glmAddName(reader.groupNames, group->name, reader.groupCount))
        return __glmFailAtMemory(reader.call, reader.groupNames.size, sizeof(GLMnames::Slot));
    reader.group = &reader.groups[reader.groupCount++];
    *reader.group = {.group = group, .room = 0};
}

void selectGroup(GLMreader& reader, const char* name) {
    const std::uint32_t* known = __glmFindName(reader.groupNames, name);
    if (known == nullptr) return failAtStatement(reader, "\"g\" after another statement on its line");
    reader.group = &reader.groups[*known];
}

// ---- Faces --------------------------------------------------------------------------------------------------------

constexpr int OUT_OF_RANGE = -1;

// Reads the numbers of a corner; returns how many there were, or OUT_OF_RANGE.
int readNumbers(GLMtext& text, const CornerForm& form, GLMcorner& corner) {
    for (int i = 0; i < form.count; ++i) {
        const CornerNumber& number = form.numbers[i];
        for (const char character : number.separator)
            if (!__glmAccept(text, character)) return i;
        std::int64_t value = 0;
        if (!__glmReadInteger(text, value)) return i;
        if (value < INT32_MIN || value > UINT32_MAX) return OUT_OF_RANGE;
        corner.*number.index = static_cast<std::uint32_t>(value);
    }
    return form.count;
}

void failAtCorner(GLMreader& reader, const char* corner, const CornerForm& form) {
    __glmFail(reader.call, GLMplace::line, "glmReadOBJ: Got \"%s\" instead of a corner \"%s\"", corner, form.name);
}

constexpr const char* TOO_FEW_CORNERS = "\"f\" with fewer than three corners";

// Reads the first corner of a face, a token, which decides the form of the other corners. Text behind
// its numbers means nothing. Null when the call fails.
const CornerForm* readFirstCorner(GLMreader& reader, GLMcorner& corner) {
    char token[GLM_TOKEN_SIZE];
    if (!__glmReadToken(reader.text, token)) {
        failAtStatement(reader, TOO_FEW_CORNERS);
        return nullptr;
    }
    const auto numbersOf = [&](const CornerForm& form) {
        GLMtext text = __glmTextOf(token);
        corner = GLMcorner();
        return readNumbers(text, form, corner);
    };
    const bool skipsTexcoord = std::strstr(token, "//") != nullptr;
    const std::span<const CornerForm> forms = skipsTexcoord ? std::span(&POSITION_NORMAL, 1) : std::span(FORMS);
    for (const CornerForm& form : forms) {
        const int count = numbersOf(form);
        if (count == form.count) return &form;
        if (count != OUT_OF_RANGE) continue;
        failAtCorner(reader, token, form);
        return nullptr;
    }
    failAtCorner(reader, token, forms.front());
    return nullptr;
}

// Reads a further corner. False when no number follows: the face ends there, with whatever follows instead; or the
// call fails.
bool readCorner(GLMreader& reader, const CornerForm& form, GLMcorner& corner) {
    corner = GLMcorner();
    GLMtext& text = reader.text;
    __glmSkipWhite(text);
    text.keep = text.at;
    const int count = readNumbers(text, form, corner);
    const char* start = std::exchange(text.keep, nullptr);
    if (count == form.count || count == 0) return count != 0;
    text.at = start;
    char token[GLM_TOKEN_SIZE];
    __glmReadToken(text, token);
    failAtCorner(reader, token, form);
    return false;
}

// Reads a face and passes on its triangles, a fan around its first corner.
template <typename Triangle>
void readFace(GLMreader& reader, Triangle triangle) {
    GLMcorner corners[3];
    const CornerForm* form = readFirstCorner(reader, corners[0]);
    if (form == nullptr) return;
    if (!readCorner(reader, *form, corners[1]) || !readCorner(reader, *form, corners[2]))
        return failAtStatement(reader, TOO_FEW_CORNERS);
    do {
        triangle(corners);
        corners[1] = corners[2];
    } while (readCorner(reader, *form, corners[2]));
}

// ---- First pass ---------------------------------------------------------------------------------------------------

void readLibrary(GLMreader& reader) {
    if (!requireKeyword(reader, "mtllib")) return;
    char word[GLM_TOKEN_SIZE];
    readFirstWord(reader, word);
    if (__glmStripped(word).empty())
        return __glmWarn(reader.call, GLMplace::file, "glmReadOBJ: \"mtllib\" without a name ignored");
    char* name = __glmTryCopy(reader.call, __glmStripped(word));
    if (name == nullptr) return;
    std::free(reader.model->mtllibname);
    reader.model->mtllibname = name;
    if (reader.call.options.libraries) __glmReadMTL(reader.call, reader.model, name);
}

void countVector(GLMreader& reader) {
    const std::string_view token = reader.token;
    if (token == "v")
        __glmCountPosition(reader);
    else if (token.starts_with("vn"))
        __glmCountNormal(reader);
    else if (token.starts_with("vt"))
        __glmCountTexcoord(reader);
    else
        __glmFail(reader.call, GLMplace::none, "glmFirstPass(): Unknown token \"%s\".", reader.token);
    __glmSkipLine(reader.text);
}

void countFace(GLMreader& reader) {
    readFace(reader, [&](const GLMcorner(&)[3]) { __glmCountTriangles(reader, 1); });
}

void countStatement(GLMreader& reader) {
    char name[GLM_TOKEN_SIZE];
    switch (reader.token[0]) {
    case 'v':
        return countVector(reader);
    case 'm':
        return readLibrary(reader);
    case 'u':
        if (requireKeyword(reader, USEMTL)) __glmSkipLine(reader.text);
        return;
    case 'g':
        readGroupName(reader, name);
        return selectOrAddGroup(reader, name);
    case 'f':
        return countFace(reader);
    default:
        return __glmSkipLine(reader.text);
    }
}

// False when the call fails.
bool glmFirstPass(GLMreader& reader) {
    selectOrAddGroup(reader, "default");
    while (!reader.call.failed) {
        __glmCountPlain(reader);
        if (!nextStatement(reader)) break;
        countStatement(reader);
    }
    __glmTellProgress(reader.text);
    for (std::uint32_t i = 0; i < reader.groupCount && !reader.call.failed; ++i)
        reader.groups[i].group->triangles = __glmTryArray<std::uint32_t>(reader.call, reader.groups[i].room);
    return !reader.call.failed;
}

// ---- Second pass --------------------------------------------------------------------------------------------------

void failAtUncounted(GLMreader& reader) { failAtStatement(reader, "statement after another one on its line"); }

// Null when all that were counted are filled, which is a failure.
float* nextVector(GLMreader& reader, float* array, int size, std::uint32_t& filled, std::uint32_t count) {
    if (filled < count) return array + static_cast<std::size_t>(size) * ++filled;
    failAtUncounted(reader);
    return nullptr;
}

bool readVector(GLMreader& reader, float* vector, int size) {
    if (vector == nullptr) return false;
    for (int i = 0; i < size; ++i) {
        if (__glmReadFloat(reader.text, vector[i])) continue;
        failAtStatement(reader, "numbers that can't be read");
        return false;
    }
    return true;
}

// A texture coordinate with one number lies on a one-dimensional image.
void readTexcoord(GLMreader& reader, float* texcoord) {
    if (readVector(reader, texcoord, 1) && !__glmReadFloat(reader.text, texcoord[1]))
        __glmWarn(reader.call, GLMplace::none, "glmReadOBJ: \"vt\" with one number in file \"%s\", taken as v = 0",
                  reader.model->pathname);
}

void fillVector(GLMreader& reader, GLMfilled& filled) {
    const GLMmodel& model = *reader.model;
    switch (reader.token[1]) {
    case '\0':
        readVector(reader, nextVector(reader, model.vertices, 3, filled.vertices, model.numvertices), 3);
        return;
    case 'n':
        readVector(reader, nextVector(reader, model.normals, 3, filled.normals, model.numnormals), 3);
        return;
    case 't':
        return readTexcoord(reader, nextVector(reader, model.texcoords, 2, filled.texcoords, model.numtexcoords));
    default:
        return __glmSkipLine(reader.text);
    }
}

void selectMaterial(GLMreader& reader) {
    // Any other "u" stands behind the numbers of a vector, where counting has not looked.
    if (!std::string_view(reader.token).starts_with(USEMTL)) return __glmSkipLine(reader.text);
    char name[GLM_TOKEN_SIZE];
    readFirstWord(reader, name);
    if (name[0] == '\0') {
        __glmWarn(reader.call, GLMplace::none,
                  "glmReadOBJ: \"usemtl\" without a name in file \"%s\", taken as the default material",
                  reader.model->pathname);
        reader.material = 0;
    } else {
        const std::uint32_t* found = __glmFindName(reader.materials, name);
        reader.material = found != nullptr ? *found : 0;
        if (found == nullptr) __glmWarn(reader.call, GLMplace::none, GLM_NO_SUCH_MATERIAL, name);
    }
    GLMgroup& group = *reader.group->group;
    if (group.material == 0 && group.numtriangles > 0) group.material = reader.material;
}

void fillFace(GLMreader& reader, GLMfilled& filled) {
    __glmStartFace(reader);
    readFace(reader, [&](const GLMcorner(&corners)[3]) {
        if (__glmTriangleRoom(reader) == 0) return failAtUncounted(reader);
        __glmAddTriangle(reader, filled, corners[0], corners[1], corners[2]);
    });
}

void fillStatement(GLMreader& reader, GLMfilled& filled) {
    char name[GLM_TOKEN_SIZE];
    switch (reader.token[0]) {
    case 'v':
        return fillVector(reader, filled);
    case 'u':
        return selectMaterial(reader);
    case 'g':
        readGroupName(reader, name);
        return selectGroup(reader, name);
    case 'f':
        return fillFace(reader, filled);
    default:
        return __glmSkipLine(reader.text);
    }
}

void startSecondPass(GLMreader& reader) {
    __glmRewind(reader.text);
    reader.text.pass = 1;
    reader.material = 0;
    for (std::uint32_t i = 0; i < reader.groupCount; ++i) reader.groups[i].group->numtriangles = 0;
    selectGroup(reader, "default");
}

bool nameMaterials(GLMreader& reader) {
    for (std::uint32_t i = 0; i < reader.model->nummaterials; ++i) {
        if (__glmAddName(reader.materials, reader.model->materials[i].name, i)) continue;
        __glmFailAtMemory(reader.call, reader.materials.size, sizeof(GLMnames::Slot));
        return false;
    }
    return true;
}

// False when the call fails.
bool glmSecondPass(GLMreader& reader) {
    if (!nameMaterials(reader)) return false;
    GLMfilled filled{};
    startSecondPass(reader);
    while (!reader.call.failed) {
        __glmFillPlain(reader, filled);
        if (!nextStatement(reader)) break;
        fillStatement(reader, filled);
    }
    __glmTellProgress(reader.text);
    // Lines longer than a rest-of-line read can hold fewer statements here than counting took them for.
    GLMmodel& model = *reader.model;
    model.numvertices = filled.vertices;
    model.numnormals = filled.normals;
    model.numtexcoords = filled.texcoords;
    model.numtriangles = filled.triangles;
    return !reader.call.failed;
}

// ---- The whole ----------------------------------------------------------------------------------------------------

bool makeArrays(GLMcall& call, GLMmodel& model) {
    const auto entries = [&](std::uint32_t count, std::size_t size) { return __glmTryEntries(call, count, size); };
    model.vertices = entries(model.numvertices, GLM_VECTOR_SIZE);
    model.triangles = __glmTryArray<GLMtriangle>(call, model.numtriangles);
    if (model.numnormals > 0) model.normals = entries(model.numnormals, GLM_VECTOR_SIZE);
    if (model.numtexcoords > 0) model.texcoords = entries(model.numtexcoords, GLM_TEXCOORD_SIZE);
    return !call.failed;
}

// Makes the statement that a triangle comes from the current one, by filling the model once more up to it.
void findStatement(GLMreader& reader, std::uint32_t triangle) {
    const auto warn = std::exchange(reader.call.options.warn, nullptr);
    GLMfilled filled{};
    startSecondPass(reader);
    while (filled.triangles <= triangle && nextStatement(reader)) fillStatement(reader, filled);
    reader.call.options.warn = warn;
}

bool requireIndex(GLMreader& reader, const char* kind, std::uint32_t triangle, std::uint32_t index,
                  std::uint32_t count) {
    if (index >= 1 && index <= count) return true;
    if (reader.call.returns) findStatement(reader, triangle);
    __glmFail(reader.call, GLMplace::none, "%s index for triangle %d out of bounds (%d > %d)\n", kind,
              static_cast<int>(triangle), static_cast<int>(index), static_cast<int>(count));
    return false;
}

// Positions have no "none": an index written as -1 is out of bounds. A normal or texture coordinate written as -1 is
// none; the writer gives corners without one that form. In a file without texture coordinates their indices mean
// nothing, and nothing follows them.
bool validateCorners(GLMreader& reader) {
    const GLMmodel& model = *reader.model;
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        const GLMtriangle& triangle = model.triangles[i];
        for (int corner = 0; corner < 3; ++corner) {
            const std::uint32_t normal = triangle.nindices[corner], texcoord = triangle.tindices[corner];
            if (normal != GLM_NO_INDEX && !requireIndex(reader, "normal", i, normal, model.numnormals)) return false;
            if (!requireIndex(reader, "vertex", i, triangle.vindices[corner], model.numvertices)) return false;
            if (model.numtexcoords > 0 && texcoord != GLM_NO_INDEX &&
                !requireIndex(reader, "texture coordinate", i, texcoord, model.numtexcoords))
                return false;
        }
    }
    return true;
}

bool validateFacets(GLMreader& reader) {
    const GLMmodel& model = *reader.model;
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        if (!requireIndex(reader, "facet", i, model.triangles[i].findex, model.numfacetnorms)) return false;
    return true;
}

bool openSource(GLMcall& call, const GLMmodelsource& source, GLMtext& text) {
    if (source.file != nullptr) return __glmFileText(call, source.file, source.path, text);
    if (source.bytes != nullptr) return __glmMemoryText(call, source.bytes, source.size, source.path, text);
    return __glmOpenText(call, source.path, text);
}

bool readStrictly(GLMcall& call, GLMtext text, GLMmodel* model) {
    GLMreader reader{.call = call,
                     .model = model,
                     .text = std::move(text),
                     .token = {},
                     .groups = {},
                     .groupCount = 0,
                     .groupNames = {},
                     .materials = {},
                     .group = nullptr,
                     .material = 0};
    call.text = &reader.text;
    reader.text.passes = 2;
    const bool done = glmFirstPass(reader) && makeArrays(call, *model) && glmSecondPass(reader) &&
                      validateCorners(reader) && __glmFacetNormals(call, model) && validateFacets(reader);
    call.text = nullptr;
    return done;
}

bool readModel(GLMcall& call, const GLMmodelsource& source, GLMmodel* model, GLMextras* extras) {
    GLMtext text;
    GLMsource lines;
    const bool strict = call.options.strict;
    if (!(strict ? openSource(call, source, text) : __glmOpenSource(source, lines))) {
        __glmFail(call, GLMplace::none, "glmReadOBJ() failed: can't open data file \"%s\".", source.path);
        return false;
    }
    return strict ? readStrictly(call, std::move(text), model) : __glmReadLines(call, lines, model, extras);
}

struct DropExtras {
    void operator()(GLMextras* extras) const { glmFreeExtras(extras); }
};

// Null when the call fails.
GLMmodel* read(GLMcall& call, const GLMmodelsource& source, GLMextras* extras) {
    call.file = source.path;
    GLMfreed model(__glmTryArray<GLMmodel>(call, 1));
    if (model == nullptr) return nullptr;
    model->pathname = __glmTryCopy(call, source.path);
    return model->pathname != nullptr && readModel(call, source, model.get(), extras) ? model.release() : nullptr;
}

GLMmodel* tryRead(const GLMmodelsource& source, GLMerror* error, const GLMoptions& options) {
    GLMcall call;
    __glmLetReturn(call, error, options);
    return __glmTryRead(call, source);
}

}  // namespace

GLMmodel* __glmTryRead(GLMcall& call, const GLMmodelsource& source) {
    assert(source.path != nullptr);
    std::unique_ptr<GLMextras, DropExtras> extras;
    GLMextras** const wanted = call.options.extras;
    if (wanted != nullptr) *wanted = nullptr;
    if (wanted != nullptr && !call.options.strict) extras.reset(__glmTryArray<GLMextras>(call, 1));
    GLMfreed model(call.failed ? nullptr : read(call, source, extras.get()));
    if (!__glmEnd(call)) return nullptr;
    if (wanted != nullptr) *wanted = extras.release();
    return model.release();
}

GLMmodel* __glmReadOBJ(GLMcall& call, const char* path) {
    call.options.strict = true;
    return read(call, {.path = path, .file = nullptr, .bytes = nullptr, .size = 0}, nullptr);
}

GLMmodel* glmTryReadOBJ(const char* path, GLMerror* error, const GLMoptions& options) {
    return tryRead({.path = path, .file = nullptr, .bytes = nullptr, .size = 0}, error, options);
}

GLMmodel* glmTryReadMemory(const void* bytes, std::size_t size, const char* path, GLMerror* error,
                           const GLMoptions& options) {
    return tryRead({.path = path, .file = nullptr, .bytes = size > 0 ? bytes : "", .size = size}, error, options);
}

GLMmodel* glmTryReadFile(std::FILE* file, const char* path, GLMerror* error, const GLMoptions& options) {
    assert(file != nullptr);
    return tryRead({.path = path, .file = file, .bytes = nullptr, .size = 0}, error, options);
}
