// The OBJ reader. Two passes over the text: the first counts, creates the groups and reads the material
// library; the second fills arrays of exactly the counted sizes.
#include "glm/glm.h"

#include "glm/glm_scan.h"
#include "glm/glm_text.h"
#include "glm/glm_util.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace {

struct GroupSlot {
    GLMgroup* group;
    std::uint32_t room;  // triangles that the first pass counted for it
};

struct ObjReader {
    GLMmodel* model;
    GLMtext text;
    char token[GLM_TOKEN_SIZE];
    std::uint64_t statement;  // place in the file where the current statement's token ends
    // Look-ups by name, for files with many groups and materials.
    std::unordered_map<std::string_view, GroupSlot> groups;
    std::unordered_map<std::string_view, std::uint32_t> materials;  // the first one of each name
    GroupSlot* group;                                               // current group
    std::uint32_t material;                                         // current material
};

struct Corner {
    std::uint32_t position = GLM_NO_INDEX;
    std::uint32_t texcoord = GLM_NO_INDEX;
    std::uint32_t normal = GLM_NO_INDEX;
};

struct CornerNumber {
    std::string_view separator;  // in front of the number
    std::uint32_t Corner::*index;
};

struct CornerForm {
    const char* name;
    int count;
    CornerNumber numbers[3];
};

constexpr CornerForm POSITION_NORMAL = {"v//vn", 2, {{"", &Corner::position}, {"//", &Corner::normal}}};
// The other forms; a first corner is of the first one whose numbers it has.
constexpr CornerForm FORMS[] = {
    {"v/vt/vn", 3, {{"", &Corner::position}, {"/", &Corner::texcoord}, {"/", &Corner::normal}}},
    {"v/vt", 2, {{"", &Corner::position}, {"/", &Corner::texcoord}}},
    {"v", 1, {{"", &Corner::position}}},
};

[[noreturn]] void failAtStatement(ObjReader& reader, const char* what) {
    __glmFatalError("glmReadOBJ: %s in file \"%s\", line %llu", what, reader.model->pathname,
                    __glmLineNumber(reader.text, reader.statement));
}

constexpr const char* USEMTL = "usemtl";

void requireKeyword(const ObjReader& reader, const char* keyword) {
    if (!std::string_view(reader.token).starts_with(keyword))
        __glmFatalError("glmReadOBJ: Got \"%s\" instead of \"%s\"", reader.token, keyword);
}

bool nextStatement(ObjReader& reader) {
    if (!__glmReadToken(reader.text, reader.token)) return false;
    reader.statement = __glmOffset(reader.text);
    return true;
}

void readFirstWord(ObjReader& reader, char (&word)[GLM_TOKEN_SIZE]) {
    char line[GLM_TOKEN_SIZE];
    __glmReadLine(reader.text, line, sizeof line);
    __glmFirstWord(line, word);
}

// ---- groups ----

// A group's name is the rest of its line, the white space after the keyword included.
void readGroupName(ObjReader& reader, char (&name)[GLM_TOKEN_SIZE]) {
    __glmReadLine(reader.text, name, sizeof name);
    std::size_t length = std::strlen(name);
    if (length == 0 || name[length - 1] != '\n') return;
    name[--length] = '\0';
    if (length > 0 && name[length - 1] == '\r') name[length - 1] = '\0';
}

void selectOrAddGroup(ObjReader& reader, const char* name) {
    auto found = reader.groups.find(name);
    if (found == reader.groups.end()) {
        GLMgroup* group = __glmNewGroup(reader.model, name);
        found = reader.groups.emplace(group->name, GroupSlot{group, 0}).first;
    }
    reader.group = &found->second;
}

void selectGroup(ObjReader& reader, const char* name) {
    const auto found = reader.groups.find(name);
    if (found == reader.groups.end()) failAtStatement(reader, "\"g\" after another statement on its line");
    reader.group = &found->second;
}

// ---- faces ----

constexpr int OUT_OF_RANGE = -1;

// Reads the numbers of a corner; returns how many there were, or OUT_OF_RANGE.
int readNumbers(GLMtext& text, const CornerForm& form, Corner& corner) {
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

[[noreturn]] void failAtCorner(ObjReader& reader, const char* corner, const CornerForm& form) {
    __glmFatalError("glmReadOBJ: Got \"%s\" instead of a corner \"%s\" in file \"%s\", line %llu", corner, form.name,
                    reader.model->pathname, __glmLineNumber(reader.text, reader.statement));
}

// Reads the first corner of a face, a token, which decides the form of the other corners. Text behind
// its numbers means nothing.
const CornerForm& readFirstCorner(ObjReader& reader, Corner& corner) {
    char token[GLM_TOKEN_SIZE];
    if (!__glmReadToken(reader.text, token)) failAtStatement(reader, "\"f\" with fewer than three corners");
    const auto matches = [&](const CornerForm& form) {
        GLMtext text = __glmTextOf(token);
        corner = Corner();
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
bool readCorner(ObjReader& reader, const CornerForm& form, Corner& corner) {
    corner = Corner();
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
void readFace(ObjReader& reader, Triangle triangle) {
    Corner corners[3];
    const CornerForm& form = readFirstCorner(reader, corners[0]);
    if (!readCorner(reader, form, corners[1]) || !readCorner(reader, form, corners[2]))
        failAtStatement(reader, "\"f\" with fewer than three corners");
    do {
        triangle(corners);
        corners[1] = corners[2];
    } while (readCorner(reader, form, corners[2]));
}

// ---- plain statements ----

// Nearly all of a large model consists of statements on one line each, of plain numbers and single blanks. These are
// scanned in place by the functions from here to the first pass; whatever is not of that kind they leave where it
// is, to be read by the rules. Without them reading takes twice as long.

constexpr std::size_t SCAN_SPAN = 512;  // characters of the window that hold most statements
constexpr std::size_t SCAN_CORNERS = 8;

bool startsNumber(char c) { return __glmIsDigit(c) || c == '+' || c == '-'; }

const char* skipBlanks(const char* p) {
    while (*p == ' ' || *p == '\t' || *p == '\r') ++p;
    return p;
}

const char* skipWhite(const char* p) {
    while (__glmIsWhite(*p)) ++p;
    return p;
}

// The end of the keyword, when it is what `p` points to and a blank follows it; else null.
template <std::size_t Size>
const char* afterKeyword(const char* p, const char (&keyword)[Size]) {
    for (const char* expected = keyword; *expected != '\0'; ++expected, ++p)
        if (*p != *expected) return nullptr;
    return *p == ' ' ? p : nullptr;
}

// A face while it is scanned; the first pass only counts its corners.
struct CountedFace {
    std::uint32_t count = 0;  // of the corners
    static const char* scan(const char* p, std::uint32_t Corner::* /*index*/) { return __glmSkipIndex(p); }
};
struct ScannedFace {
    Corner corners[SCAN_CORNERS];
    std::uint32_t count = 0;
    const char* scan(const char* p, std::uint32_t Corner::*index) { return __glmScanIndex(p, corners[count].*index); }
};

template <bool Texcoord, bool Normal, typename Face>
const char* scanCorner(const char* p, Face& face) {
    const auto afterSlash = [](const char* at) { return at != nullptr && *at == '/' ? at + 1 : nullptr; };
    p = face.scan(p, &Corner::position);
    if constexpr (Texcoord || Normal) p = afterSlash(p);
    if constexpr (Texcoord) p = p != nullptr ? face.scan(p, &Corner::texcoord) : nullptr;
    if constexpr (Normal) {
        p = afterSlash(p);
        p = p != nullptr ? face.scan(p, &Corner::normal) : nullptr;
    }
    return p;
}

// Returns where the next statement starts; null when this is no plain face of that form.
template <bool Texcoord, bool Normal, typename Face>
const char* scanCorners(const char* p, Face& face) {
    face.count = 0;
    for (p = skipBlanks(p); *p != '\n'; p = skipBlanks(p), ++face.count) {
        if (face.count == SCAN_CORNERS) return nullptr;
        p = scanCorner<Texcoord, Normal>(p, face);
        if (p == nullptr || !__glmIsWhite(*p)) return nullptr;
    }
    p = skipWhite(p);
    // Corners may go on in the next line.
    return face.count < 3 || *p == '\0' || startsNumber(*p) ? nullptr : p;
}

// A face is of the one form that all its corners have; the most frequent one is tried first. A form that does not fit
// fills in no number that the one that fits does not fill in as well.
template <typename Face>
const char* scanFace(const char* p, Face& face) {
    const char* next = scanCorners<true, true>(p, face);
    if (next == nullptr) next = scanCorners<false, true>(p, face);
    if (next == nullptr) next = scanCorners<true, false>(p, face);
    return next != nullptr ? next : scanCorners<false, false>(p, face);
}

template <std::size_t Size>
const char* scanVector(const char* p, float* vector) {
    for (std::size_t i = 0; i < Size && p != nullptr; ++i) p = __glmScanFloat(skipBlanks(p), vector[i]);
    return p;
}

// Calls `scan` with the start of each statement in turn, and goes on to where it says that the next one starts, until
// it says null. `scan` sees text that a NUL follows, and is not to move the window.
template <typename Scan>
void scanStatements(GLMtext& text, Scan scan) {
    while (__glmHas(text, SCAN_SPAN)) {
        const char* next = scan(skipWhite(text.at));
        if (next == nullptr) return;
        text.at = next;
    }
}

// ---- first pass ----

void readLibrary(ObjReader& reader) {
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
    glmReadMTL(reader.model, name);
}

void countPosition(GLMmodel& model) { __glmCount(model, model.numvertices, 1, "positions"); }
void countNormal(GLMmodel& model) { __glmCount(model, model.numnormals, 1, "normals"); }
void countTexcoord(GLMmodel& model) { __glmCount(model, model.numtexcoords, 1, "texture coordinates"); }
void countTriangles(ObjReader& reader, std::uint32_t count) {
    __glmCount(*reader.model, reader.model->numtriangles, count, "triangles");
    reader.group->room += count;
}

void countVector(ObjReader& reader) {
    GLMmodel& model = *reader.model;
    const std::string_view token = reader.token;
    if (token == "v")
        countPosition(model);
    else if (token.starts_with("vn"))
        countNormal(model);
    else if (token.starts_with("vt"))
        countTexcoord(model);
    else
        __glmFatalError("glmFirstPass(): Unknown token \"%s\".", reader.token);
    __glmSkipLine(reader.text);
}

void countFace(ObjReader& reader) {
    readFace(reader, [&](const Corner(&)[3]) { countTriangles(reader, 1); });
}

// Counts plain statements up to the next other one.
void countPlain(ObjReader& reader) {
    GLMmodel& model = *reader.model;
    const auto skipLine = [&](const char* p, void (*count)(GLMmodel&)) {
        const std::size_t length = std::min(GLM_TOKEN_SIZE - 1, static_cast<std::size_t>(reader.text.end - p));
        const void* end = std::memchr(p, '\n', length);
        if (end != nullptr) count(model);
        return static_cast<const char*>(end);
    };
    scanStatements(reader.text, [&](const char* p) -> const char* {
        if (const char* corners = afterKeyword(p, "f")) {
            CountedFace face;
            const char* end = scanFace(corners, face);
            if (end == nullptr) return nullptr;
            countTriangles(reader, face.count - 2);
            return end;
        }
        if (const char* position = afterKeyword(p, "v")) return skipLine(position, countPosition);
        if (const char* normal = afterKeyword(p, "vn")) return skipLine(normal, countNormal);
        if (const char* texcoord = afterKeyword(p, "vt")) return skipLine(texcoord, countTexcoord);
        return nullptr;
    });
}

void glmFirstPass(ObjReader& reader) {
    selectOrAddGroup(reader, "default");
    for (countPlain(reader); nextStatement(reader); countPlain(reader)) {
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

// ---- second pass ----

// What the second pass has filled so far. Text behind the numbers of a "v", "vn" or "vt" is read as a
// statement here but skipped while counting, so every store is checked against the counts.
struct Filled {
    std::uint32_t vertices, normals, texcoords, triangles;
};

[[noreturn]] void failAtUncounted(ObjReader& reader) {
    failAtStatement(reader, "statement after another one on its line");
}

float* nextVector(ObjReader& reader, float* array, int size, std::uint32_t& filled, std::uint32_t count) {
    if (filled == count) failAtUncounted(reader);
    return array + static_cast<std::size_t>(size) * ++filled;
}

void readVector(ObjReader& reader, float* vector, int size) {
    for (int i = 0; i < size; ++i)
        if (!__glmReadFloat(reader.text, vector[i])) failAtStatement(reader, "numbers that can't be read");
}

// A texture coordinate with one number lies on a one-dimensional image.
void readTexcoord(ObjReader& reader, float* texcoord) {
    readVector(reader, texcoord, 1);
    if (!__glmReadFloat(reader.text, texcoord[1]))
        __glmWarning("glmReadOBJ: \"vt\" with one number in file \"%s\", taken as v = 0", reader.model->pathname);
}

void fillVector(ObjReader& reader, Filled& filled) {
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

void selectMaterial(ObjReader& reader) {
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

void addTriangle(const ObjReader& reader, Filled& filled, const Corner& a, const Corner& b, const Corner& c) {
    GLMgroup& group = *reader.group->group;
    reader.model->triangles[filled.triangles] = {.vindices = {a.position, b.position, c.position},
                                                 .nindices = {a.normal, b.normal, c.normal},
                                                 .tindices = {a.texcoord, b.texcoord, c.texcoord},
                                                 .findex = GLM_NO_INDEX,
                                                 .material = reader.material};
    group.triangles[group.numtriangles++] = filled.triangles++;
}

// How many more triangles were counted for the current group.
std::uint32_t triangleRoom(const ObjReader& reader) { return reader.group->room - reader.group->group->numtriangles; }

void startFace(const ObjReader& reader) {
    GLMgroup& group = *reader.group->group;
    if (group.material == 0) group.material = reader.material;
}

void fillFace(ObjReader& reader, Filled& filled) {
    startFace(reader);
    readFace(reader, [&](const Corner(&corners)[3]) {
        if (triangleRoom(reader) == 0) failAtUncounted(reader);
        addTriangle(reader, filled, corners[0], corners[1], corners[2]);
    });
}

// Scans the next entry of an array, unless it is full.
template <std::size_t Size>
const char* fillEntry(const char* p, float* array, std::uint32_t& filled, std::uint32_t count) {
    if (filled == count) return nullptr;
    const char* end = scanVector<Size>(p, array + Size * (filled + std::size_t{1}));
    if (end != nullptr) ++filled;
    return end;
}

// Fills in plain statements up to the next other one, or to one that was not counted.
void fillPlain(ObjReader& reader, Filled& filled) {
    const GLMmodel& model = *reader.model;
    scanStatements(reader.text, [&](const char* p) -> const char* {
        if (const char* corners = afterKeyword(p, "f")) {
            ScannedFace face;
            const char* end = scanFace(corners, face);
            if (end == nullptr || face.count - 2 > triangleRoom(reader)) return nullptr;
            startFace(reader);
            for (std::uint32_t i = 2; i < face.count; ++i)
                addTriangle(reader, filled, face.corners[0], face.corners[i - 1], face.corners[i]);
            return end;
        }
        if (const char* position = afterKeyword(p, "v"))
            return fillEntry<GLM_VECTOR_SIZE>(position, model.vertices, filled.vertices, model.numvertices);
        if (const char* normal = afterKeyword(p, "vn"))
            return fillEntry<GLM_VECTOR_SIZE>(normal, model.normals, filled.normals, model.numnormals);
        if (const char* texcoord = afterKeyword(p, "vt"))
            return fillEntry<GLM_TEXCOORD_SIZE>(texcoord, model.texcoords, filled.texcoords, model.numtexcoords);
        return nullptr;
    });
}

void glmSecondPass(ObjReader& reader) {
    Filled filled{};
    selectGroup(reader, "default");
    for (std::uint32_t i = 0; i < reader.model->nummaterials; ++i)
        reader.materials.emplace(reader.model->materials[i].name, i);
    for (fillPlain(reader, filled); nextStatement(reader); fillPlain(reader, filled)) {
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

// ---- the whole ----

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

struct DeleteModel {
    void operator()(GLMmodel* model) const { glmDelete(model); }
};

void readModel(GLMmodel* model) {
    ObjReader reader{};
    reader.model = model;
    if (!__glmOpenText(model->pathname, reader.text))
        __glmFatalError("glmReadOBJ() failed: can't open data file \"%s\".", model->pathname);
    glmFirstPass(reader);
    makeArrays(*model);
    __glmRewind(reader.text);
    glmSecondPass(reader);
}

}  // namespace

GLMmodel* glmReadOBJ(const char* path) {
    assert(path != nullptr);
    std::unique_ptr<GLMmodel, DeleteModel> model(__glmArray<GLMmodel>(1));
    model->pathname = __glmCopy(path);
    try {
        readModel(model.get());
    } catch (const std::bad_alloc&) {
        __glmFatalError("out of memory while reading \"%s\"", path);
    }
    validateCorners(*model);
    glmFacetNormals(model.get());
    validateFacets(*model);
    return model.release();
}
