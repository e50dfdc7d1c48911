// The OBJ reader. Two passes over the text: the first counts, creates the groups and reads the material
// library; the second fills arrays of exactly the counted sizes.
#include "glm/glm.h"

#include "glm/glm_reader.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
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

[[noreturn]] void failAtStatement(GLMreader& reader, const char* what) {
    __glmFatalError("glmReadOBJ: %s in file \"%s\", line %llu", what, reader.model->pathname,
                    __glmLineNumber(reader.text, reader.statement));
}

constexpr const char* USEMTL = "usemtl";

void requireKeyword(const GLMreader& reader, const char* keyword) {
    if (!std::string_view(reader.token).starts_with(keyword))
        __glmFatalError("glmReadOBJ: Got \"%s\" instead of \"%s\"", reader.token, keyword);
}

bool nextStatement(GLMreader& reader) {
    if (!__glmReadToken(reader.text, reader.token)) return false;
    reader.statement = __glmOffset(reader.text);
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
    auto found = reader.groups.find(name);
    if (found == reader.groups.end()) {
        GLMgroup* group = __glmNewGroup(reader.model, name);
        found = reader.groups.emplace(group->name, GLMgroupSlot{group, 0}).first;
    }
    reader.group = &found->second;
}

void selectGroup(GLMreader& reader, const char* name) {
    const auto found = reader.groups.find(name);
    if (found == reader.groups.end()) failAtStatement(reader, "\"g\" after another statement on its line");
    reader.group = &found->second;
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

[[noreturn]] void failAtCorner(GLMreader& reader, const char* corner, const CornerForm& form) {
    __glmFatalError("glmReadOBJ: Got \"%s\" instead of a corner \"%s\" in file \"%s\", line %llu", corner, form.name,
                    reader.model->pathname, __glmLineNumber(reader.text, reader.statement));
}

// Reads the first corner of a face, a token, which decides the form of the other corners. Text behind
// its numbers means nothing.
const CornerForm& readFirstCorner(GLMreader& reader, GLMcorner& corner) {
    char token[GLM_TOKEN_SIZE];
    if (!__glmReadToken(reader.text, token)) failAtStatement(reader, "\"f\" with fewer than three corners");
    const auto matches = [&](const CornerForm& form) {
        GLMtext text = __glmTextOf(token);
        corner = GLMcorner();
        const int count = readNumbers(text, form, corner);
        if (count == OUT_OF_RANGE) failAtCorner(reader, token, form);
        return count == form.count;
    };
    if (std::strstr(token, "//") != nullptr) {
        if (!matches(POSITION_NORMAL)) failAtCorner(reader, token, POSITION_NORMAL);
        return POSITION_NORMAL;
    }
    for (const CornerForm& form : FORMS)
        if (matches(form)) return form;
    failAtCorner(reader, token, FORMS[0]);
}

// Reads a further corner. False when no number follows: the face ends there, with whatever follows instead.
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
}

// Reads a face and passes on its triangles, a fan around its first corner.
template <typename Triangle>
void readFace(GLMreader& reader, Triangle triangle) {
    GLMcorner corners[3];
    const CornerForm& form = readFirstCorner(reader, corners[0]);
    if (!readCorner(reader, form, corners[1]) || !readCorner(reader, form, corners[2]))
        failAtStatement(reader, "\"f\" with fewer than three corners");
    do {
        triangle(corners);
        corners[1] = corners[2];
    } while (readCorner(reader, form, corners[2]));
}

// ---- First pass ---------------------------------------------------------------------------------------------------

void readLibrary(GLMreader& reader) {
    requireKeyword(reader, "mtllib");
    char word[GLM_TOKEN_SIZE];
    readFirstWord(reader, word);
    char* name = __glmStrStrip(word);
    if (name == nullptr) {
        __glmWarning("glmReadOBJ: \"mtllib\" without a name ignored in file \"%s\"", reader.model->pathname);
        return;
    }
    std::free(reader.model->mtllibname);
    reader.model->mtllibname = name;
    __glmReadMTL(reader.model, name, reader.load);
}

void countVector(GLMreader& reader) {
    GLMmodel& model = *reader.model;
    const std::string_view token = reader.token;
    if (token == "v")
        __glmCountPosition(model);
    else if (token.starts_with("vn"))
        __glmCountNormal(model);
    else if (token.starts_with("vt"))
        __glmCountTexcoord(model);
    else
        __glmFatalError("glmFirstPass(): Unknown token \"%s\".", reader.token);
    __glmSkipLine(reader.text);
}

void countFace(GLMreader& reader) {
    readFace(reader, [&](const GLMcorner(&)[3]) { __glmCountTriangles(reader, 1); });
}

void glmFirstPass(GLMreader& reader) {
    selectOrAddGroup(reader, "default");
    for (__glmCountPlain(reader); nextStatement(reader); __glmCountPlain(reader)) {
        char name[GLM_TOKEN_SIZE];
        switch (reader.token[0]) {
        case 'v':
            countVector(reader);
            break;
        case 'm':
            readLibrary(reader);
            break;
        case 'u':
            requireKeyword(reader, USEMTL);
            __glmSkipLine(reader.text);
            break;
        case 'g':
            readGroupName(reader, name);
            selectOrAddGroup(reader, name);
            break;
        case 'f':
            countFace(reader);
            break;
        default:
            __glmSkipLine(reader.text);
        }
    }
    for (auto& [name, slot] : reader.groups) slot.group->triangles = __glmArray<std::uint32_t>(slot.room);
}

// ---- Second pass --------------------------------------------------------------------------------------------------

[[noreturn]] void failAtUncounted(GLMreader& reader) {
    failAtStatement(reader, "statement after another one on its line");
}

float* nextVector(GLMreader& reader, float* array, int size, std::uint32_t& filled, std::uint32_t count) {
    if (filled == count) failAtUncounted(reader);
    return array + static_cast<std::size_t>(size) * ++filled;
}

void readVector(GLMreader& reader, float* vector, int size) {
    for (int i = 0; i < size; ++i)
        if (!__glmReadFloat(reader.text, vector[i])) failAtStatement(reader, "numbers that can't be read");
}

// A texture coordinate with one number lies on a one-dimensional image.
void readTexcoord(GLMreader& reader, float* texcoord) {
    readVector(reader, texcoord, 1);
    if (!__glmReadFloat(reader.text, texcoord[1]))
        __glmWarning("glmReadOBJ: \"vt\" with one number in file \"%s\", taken as v = 0", reader.model->pathname);
}

void fillVector(GLMreader& reader, GLMfilled& filled) {
    const GLMmodel& model = *reader.model;
    switch (reader.token[1]) {
    case '\0':
        return readVector(reader, nextVector(reader, model.vertices, 3, filled.vertices, model.numvertices), 3);
    case 'n':
        return readVector(reader, nextVector(reader, model.normals, 3, filled.normals, model.numnormals), 3);
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
        __glmWarning("glmReadOBJ: \"usemtl\" without a name in file \"%s\", taken as the default material",
                     reader.model->pathname);
        reader.material = 0;
    } else {
        const auto found = reader.materials.find(name);
        reader.material = found != reader.materials.end() ? found->second : glmFindMaterial(reader.model, name);
    }
    GLMgroup& group = *reader.group->group;
    if (group.material == 0 && group.numtriangles > 0) group.material = reader.material;
}

void fillFace(GLMreader& reader, GLMfilled& filled) {
    __glmStartFace(reader);
    readFace(reader, [&](const GLMcorner(&corners)[3]) {
        if (__glmTriangleRoom(reader) == 0) failAtUncounted(reader);
        __glmAddTriangle(reader, filled, corners[0], corners[1], corners[2]);
    });
}

void glmSecondPass(GLMreader& reader) {
    GLMfilled filled{};
    selectGroup(reader, "default");
    for (std::uint32_t i = 0; i < reader.model->nummaterials; ++i)
        reader.materials.emplace(reader.model->materials[i].name, i);
    for (__glmFillPlain(reader, filled); nextStatement(reader); __glmFillPlain(reader, filled)) {
        char name[GLM_TOKEN_SIZE];
        switch (reader.token[0]) {
        case 'v':
            fillVector(reader, filled);
            break;
        case 'u':
            selectMaterial(reader);
            break;
        case 'g':
            readGroupName(reader, name);
            selectGroup(reader, name);
            break;
        case 'f':
            fillFace(reader, filled);
            break;
        default:
            __glmSkipLine(reader.text);
        }
    }
    // Lines longer than a rest-of-line read can hold fewer statements here than counting took them for.
    GLMmodel& model = *reader.model;
    model.numvertices = filled.vertices;
    model.numnormals = filled.normals;
    model.numtexcoords = filled.texcoords;
    model.numtriangles = filled.triangles;
}

// ---- The whole ----------------------------------------------------------------------------------------------------

void makeArrays(GLMmodel& model) {
    model.vertices = __glmEntries(model.numvertices, GLM_VECTOR_SIZE);
    model.triangles = __glmArray<GLMtriangle>(model.numtriangles);
    if (model.numnormals > 0) model.normals = __glmEntries(model.numnormals, GLM_VECTOR_SIZE);
    if (model.numtexcoords > 0) model.texcoords = __glmEntries(model.numtexcoords, GLM_TEXCOORD_SIZE);
}

void requireIndex(const char* kind, std::uint32_t triangle, std::uint32_t index, std::uint32_t count) {
    if (index < 1 || index > count)
        __glmFatalError("%s index for triangle %d out of bounds (%d > %d)\n", kind, static_cast<int>(triangle),
                        static_cast<int>(index), static_cast<int>(count));
}

// Positions have no "none": an index written as -1 is out of bounds. A normal or texture coordinate written as -1 is
// none; the writer gives corners without one that form. In a file without texture coordinates their indices mean nothing,
// and nothing follows them.
void validateCorners(const GLMmodel& model) {
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        const GLMtriangle& triangle = model.triangles[i];
        for (int corner = 0; corner < 3; ++corner) {
            if (triangle.nindices[corner] != GLM_NO_INDEX)
                requireIndex("normal", i, triangle.nindices[corner], model.numnormals);
            requireIndex("vertex", i, triangle.vindices[corner], model.numvertices);
            if (model.numtexcoords > 0 && triangle.tindices[corner] != GLM_NO_INDEX)
                requireIndex("texture coordinate", i, triangle.tindices[corner], model.numtexcoords);
        }
    }
}

void validateFacets(const GLMmodel& model) {
    for (std::uint32_t i = 0; i < model.numtriangles; ++i)
        requireIndex("facet", i, model.triangles[i].findex, model.numfacetnorms);
}

void readModel(GLMmodel* model, GLMimageLoader load) {
    GLMreader reader{};
    reader.model = model;
    reader.load = load;
    if (!__glmOpenText(model->pathname, reader.text))
        __glmFatalError("glmReadOBJ() failed: can't open data file \"%s\".", model->pathname);
    glmFirstPass(reader);
    makeArrays(*model);
    __glmRewind(reader.text);
    glmSecondPass(reader);
}

}  // namespace

GLMmodel* __glmReadOBJ(const char* path, GLMimageLoader load) {
    assert(path != nullptr);
    GLMfreed model(__glmArray<GLMmodel>(1));
    model->pathname = __glmCopy(path);
    try {
        readModel(model.get(), load);
    } catch (const std::bad_alloc&) {
        __glmFatalError("out of memory while reading \"%s\"", path);
    }
    validateCorners(*model);
    glmFacetNormals(model.get());
    validateFacets(*model);
    return model.release();
}

GLMmodel* glmReadModel(const char* path) { return __glmReadOBJ(path, nullptr); }
