// Material libraries as today's programs write them: one statement on each line, known by its whole keyword, whatever
// its case. A material that more than one "newmtl" names is the first of them.
#include "glm/glm_library.h"

#include "glm/glm_text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

namespace {

struct LibraryReader {
    GLMcall& call;
    GLMmodel* model;
    GLMextras* extras;             // or null
    GLMmaterialextras unwanted;    // takes the numbers where the extras are null
    std::string_view folder = {};  // of the library as its name says it: "", or ending in a slash
    GLMtext text = {};
    unsigned long long lines = 0;  // that were read
    GLMnames materials = {}, textures = {};
    std::uint32_t current = 0;  // material that the statements apply to
    bool skips = false;         // they apply to none: the name was there already
    bool hasDissolve = false;   // the current material has had its "d"
    GLMtext line = {};          // the statement's, behind its keyword; ends in a NUL
    std::string_view keyword = {};
};

GLMmaterial& material(const LibraryReader& reader) { return reader.model->materials[reader.current]; }
GLMmaterialextras& extrasOf(LibraryReader& reader) {
    return reader.extras != nullptr ? reader.extras->materials[reader.current] : reader.unwanted;
}

std::string_view rest(const LibraryReader& reader) { return {reader.line.at, reader.line.end}; }

void warnOfStatement(LibraryReader& reader, const char* what) {
    __glmWarn(reader.call, GLMplace::file, "glmReadMTL: \"%.*s\" %s", static_cast<int>(reader.keyword.size()),
              reader.keyword.data(), what);
}

// Adds a copy to an array of strings that grows in no other way.
bool addString(GLMcall& call, char**& strings, std::uint32_t& count, std::string_view string) {
    GLMstring copy(__glmTryCopy(call, string));
    if (copy == nullptr || !__glmTryGrow(call, strings, count)) return false;
    strings[count++] = copy.release();
    return true;
}

bool addName(GLMcall& call, GLMnames& names, const char* name, std::uint32_t number) {
    if (__glmAddName(names, name, number)) return true;
    __glmFailAtMemory(call, names.size, sizeof(GLMnames::Slot));
    return false;
}

// ---- Materials ----------------------------------------------------------------------------------------------------

// Adds a material, which becomes the current one.
bool addMaterial(LibraryReader& reader, std::string_view name) {
    GLMcall& call = reader.call;
    GLMmodel& model = *reader.model;
    GLMextras* const extras = reader.extras;
    GLMstring copy(__glmTryCopy(call, name));
    const std::uint32_t index = model.nummaterials;
    if (copy == nullptr || !__glmTryGrow(call, model.materials, index) ||
        (extras != nullptr && !__glmTryGrow(call, extras->materials, index)) ||
        !addName(call, reader.materials, copy.get(), index) ||
        !__glmTryCount(call, model, model.nummaterials, 1, "materials"))
        return false;
    model.materials[index] = GLM_DEFAULT_MATERIAL;
    model.materials[index].name = copy.release();
    if (extras != nullptr) {
        extras->materials[index] = __glmNoMaterialExtras();
        extras->nummaterials = model.nummaterials;
    }
    reader.current = index;
    return true;
}

// The default material is there before any "newmtl"; the first one that names it may say what it is like.
void startMaterial(LibraryReader& reader) {
    const std::string_view name = __glmWholeName(rest(reader));
    if (name.empty()) warnOfStatement(reader, "without a name");
    reader.hasDissolve = reader.skips = false;
    const std::uint32_t* known = __glmFindName(reader.materials, name);
    if (known == nullptr) {
        addMaterial(reader, name);
        return;
    }
    reader.current = *known;
    if (*known == 0 && __glmIsPlainMaterial(material(reader), reader.extras != nullptr ? &extrasOf(reader) : nullptr))
        return;
    reader.skips = true;
    __glmWarn(reader.call, GLMplace::file, "glmReadMTL: material \"%s\" is there already, the first one counts",
              material(reader).name);
}

// ---- Numbers ------------------------------------------------------------------------------------------------------

bool atWordEnd(const GLMtext& line) { return line.at == line.end || __glmIsWhite(*line.at); }

// Reads up to `most` numbers, each a word of its own; returns how many there were.
int scanNumbers(GLMtext& line, float* numbers, int most) {
    int count = 0;
    for (; count < most; ++count) {
        const char* const start = line.at;
        float number = 0.0f;
        if (__glmReadFloat(line, number) && (atWordEnd(line) || *line.at == '#')) {
            numbers[count] = number;
            continue;
        }
        line.at = start;
        break;
    }
    return count;
}

// Reads `most` numbers, or `fewest` that nothing follows. 0, and a warning, when they are not there.
int readNumbers(LibraryReader& reader, float* numbers, int fewest, int most) {
    const int count = scanNumbers(reader.line, numbers, most);
    __glmSkipWhite(reader.line);
    const bool ends = reader.line.at == reader.line.end || *reader.line.at == '#';
    if (count != most && (count != fewest || !ends)) {
        warnOfStatement(reader, "ignored, its numbers can't be read");
        return 0;
    }
    if (!ends) warnOfStatement(reader, "taken without what follows its numbers");
    return count;
}

bool readNumber(LibraryReader& reader, float& number) {
    float read = 0.0f;
    if (readNumbers(reader, &read, 1, 1) == 0) return false;
    number = read;
    return true;
}

std::string_view nextWord(GLMtext& line) {
    __glmSkipWhite(line);
    const char* const start = line.at;
    while (!atWordEnd(line)) ++line.at;
    return {start, line.at};
}

// Keeps the whole line. False where there are no extras.
bool keepLine(LibraryReader& reader) {
    if (reader.extras == nullptr) return false;
    GLMmaterialextras& extras = extrasOf(reader);
    std::string_view line(reader.keyword.data(), reader.line.end);
    while (__glmIsWhite(line.back())) line.remove_suffix(1);
    addString(reader.call, extras.others, extras.numothers, line);
    return true;
}

// CIE XYZ in the linear primaries of sRGB (IEC 61966-2-1). What lies outside of them is cut off at 0.
void convertXyz(float (&color)[3]) {
    constexpr double TO_RGB[3][3] = {
        {3.2406, -1.5372, -0.4986}, {-0.9689, 1.8758, 0.0415}, {0.0557, -0.2040, 1.0570}};
    const double x = color[0], y = color[1], z = color[2];
    for (int i = 0; i < 3; ++i)
        color[i] = static_cast<float>(std::max(0.0, TO_RGB[i][0] * x + TO_RGB[i][1] * y + TO_RGB[i][2] * z));
}

void readColor(LibraryReader& reader, float* color) {
    const char* const start = reader.line.at;
    const std::string_view kind = nextWord(reader.line);
    const bool xyz = __glmIsKeyword(kind, "xyz");
    if (__glmIsKeyword(kind, "spectral")) {
        __glmWarn(reader.call, GLMplace::file, "glmReadMTL: spectral colours can't be read, they are left out");
        return static_cast<void>(keepLine(reader));
    }
    if (!xyz) reader.line.at = start;
    float numbers[3];
    const int count = readNumbers(reader, numbers, 1, 3);
    if (count == 1) numbers[1] = numbers[2] = numbers[0];
    if (xyz && count > 0) convertXyz(numbers);
    if (count > 0) std::copy_n(numbers, 3, color);
}

void readExponent(LibraryReader& reader) {
    float exponent = 0.0f;
    if (!readNumber(reader, exponent)) return;
    material(reader).shininess = __glmShininess(exponent);
    extrasOf(reader).exponent = exponent;
}

void readDissolve(LibraryReader& reader) {
    const char* const start = reader.line.at;
    const bool halo = __glmIsKeyword(nextWord(reader.line), GLM_HALO);
    if (!halo) reader.line.at = start;
    if (!readNumber(reader, material(reader).diffuse[3])) return;
    reader.hasDissolve = true;
    if (halo && !keepLine(reader)) warnOfStatement(reader, "-halo taken as without it");
}

void readTransparency(LibraryReader& reader) {
    float transparency = 0.0f;
    if (readNumber(reader, transparency) && !reader.hasDissolve) material(reader).diffuse[3] = 1.0f - transparency;
}

// ---- Maps ---------------------------------------------------------------------------------------------------------

constexpr std::string_view SWITCH[] = {"on", "off"}, CHANNELS[] = {"r", "g", "b", "m", "l", "z"},
                           SHAPES[] = {"sphere",    "cube_top",  "cube_bottom", "cube_front",
                                       "cube_back", "cube_left", "cube_right"};

// An option takes up to so many numbers, or one of the words; what follows and is no such thing is the path.
struct MapOption {
    std::string_view name;
    int numbers;
    std::span<const std::string_view> words;
};
constexpr MapOption OPTIONS[] = {
    {"-s", 3, {}},          {"-o", 3, {}},         {"-t", 3, {}},      {"-mm", 2, {}},
    {"-bm", 1, {}},         {"-boost", 1, {}},     {"-texres", 1, {}}, {"-blendu", 0, SWITCH},
    {"-blendv", 0, SWITCH}, {"-clamp", 0, SWITCH}, {"-cc", 0, SWITCH}, {"-imfchan", 0, CHANNELS},
    {"-type", 0, SHAPES},
};

// Moves past the next option and what belongs to it. False when no option is next.
bool skipOption(GLMtext& line) {
    const char* start = line.at;
    const std::string_view word = nextWord(line);
    const auto option = std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                                     [&](const MapOption& entry) { return entry.name == word; });
    if (option == std::end(OPTIONS)) {
        line.at = start;
        return false;
    }
    float numbers[3];
    scanNumbers(line, numbers, option->numbers);
    start = line.at;
    const std::string_view next = option->words.empty() ? "" : nextWord(line);
    if (std::find(option->words.begin(), option->words.end(), next) == option->words.end()) line.at = start;
    return true;
}

bool isMap(std::string_view keyword) {
    constexpr std::string_view PREFIX = "map_", SWITCH_ONLY = "map_aat";
    constexpr std::string_view NAMES[] = {"bump", "norm", "disp", "decal", "refl"};
    if (__glmIsKeyword(keyword.substr(0, PREFIX.size()), PREFIX)) return !__glmIsKeyword(keyword, SWITCH_ONLY);
    return std::any_of(std::begin(NAMES), std::end(NAMES),
                       [&](std::string_view name) { return __glmIsKeyword(keyword, name); });
}

// A file that a statement names: the name under which it was found, and where that is.
struct Found {
    GLMstring name = {}, path = {};
    bool there = false;
    bool moved = false;  // it lies in the library's folder, which the name begins with
};

// Looks beside the model, unless the name is absolute, for the file `name` in the directory `folder`: "" or one that
// ends in a slash. With `turned`, backslashes in `name` become slashes.
Found look(GLMcall& call, const GLMmodel& model, std::string_view folder, std::string_view name, bool turned) {
    Found found{.name = GLMstring(__glmTryArray<char>(call, folder.size() + name.size() + 1))};
    if (found.name == nullptr) return found;
    char* const start = std::copy(folder.begin(), folder.end(), found.name.get());
    std::copy(name.begin(), name.end(), start);
    if (turned) __glmTurnSlashes(start);
    const bool absolute = found.name.get()[0] == '/';
    found.path = __glmTryBeside(call, absolute ? "" : model.pathname, found.name.get());
    found.there = found.path != nullptr && access(found.path.get(), F_OK) == 0;
    return found;
}

// Finds the file beside the model or, if it is not there, in `folder`. Backslashes become slashes where that alone
// finds it.
Found find(GLMcall& call, const GLMmodel& model, std::string_view name, std::string_view folder = {}) {
    Found asItStands = look(call, model, {}, name, false);
    const bool absolute = name.starts_with('/'), turns = name.find('\\') != std::string_view::npos;
    const struct {
        std::string_view folder;
        bool turned, tried;
    } others[] = {
        {{}, true, turns}, {folder, false, !folder.empty() && !absolute}, {folder, true, turns && !folder.empty()}};
    for (const auto& other : others) {
        if (asItStands.there || call.failed) break;
        if (!other.tried) continue;
        Found found = look(call, model, other.folder, name, other.turned);
        found.moved = !other.folder.empty();
        if (found.there) return found;
    }
    return asItStands;
}

std::int32_t textureOf(LibraryReader& reader, const char* name) {
    if (const std::uint32_t* known = __glmFindName(reader.textures, name)) return static_cast<std::int32_t>(*known);
    const std::uint32_t index = __glmAddTexture(reader.call, reader.model, name);
    if (reader.call.failed || !addName(reader.call, reader.textures, reader.model->textures[index].name, index))
        return -1;
    return static_cast<std::int32_t>(index);
}

void keepMap(LibraryReader& reader, std::string_view options, std::string_view path) {
    GLMcall& call = reader.call;
    GLMmaterialextras& extras = extrasOf(reader);
    GLMstring parts[] = {GLMstring(__glmTryCopy(call, reader.keyword)), GLMstring(__glmTryCopy(call, options)),
                         GLMstring(__glmTryCopy(call, path))};
    if (call.failed || !__glmTryGrow(call, extras.maps, extras.nummaps)) return;
    extras.maps[extras.nummaps++] = {
        .keyword = parts[0].release(), .options = parts[1].release(), .path = parts[2].release()};
}

void readMap(LibraryReader& reader) {
    __glmSkipWhite(reader.line);
    const char* const start = reader.line.at;
    while (skipOption(reader.line)) {
    }
    const std::string_view options(start, reader.line.at), path = __glmWholeName(rest(reader));
    if (path.empty()) return warnOfStatement(reader, "without a name ignored");
    const bool diffuse = __glmIsKeyword(reader.keyword, "map_Kd");
    if (!diffuse && reader.extras == nullptr) return;
    const Found found = find(reader.call, *reader.model, path, reader.folder);
    if (reader.call.failed) return;
    if (!found.there)
        __glmWarn(reader.call, GLMplace::file, "glmReadMTL: image \"%s\" isn't there", found.path.get());
    if (diffuse) material(reader).map_diffuse = textureOf(reader, found.name.get());
    if (reader.extras != nullptr) keepMap(reader, options, found.moved ? std::string_view(found.name.get()) : path);
}

// ---- Statements ---------------------------------------------------------------------------------------------------

void readOther(LibraryReader& reader) {
    if (!keepLine(reader)) warnOfStatement(reader, "ignored");
}

constexpr struct {
    const char* keyword;
    void (*read)(LibraryReader& reader);
} STATEMENTS[] = {{"Ns", readExponent}, {"d", readDissolve}, {"Tr", readTransparency}};

void readStatement(LibraryReader& reader) {
    const auto is = [&](const auto& entry) { return __glmIsKeyword(reader.keyword, entry.keyword); };
    if (__glmIsKeyword(reader.keyword, "newmtl")) return startMaterial(reader);
    if (reader.skips) return;
    for (const auto& entry : GLM_MATERIAL_COLORS)
        if (is(entry)) return readColor(reader, material(reader).*entry.color);
    for (const auto& entry : GLM_EXTRA_COLORS)
        if (is(entry)) return readColor(reader, extrasOf(reader).*entry.color);
    for (const auto& entry : GLM_EXTRA_NUMBERS)
        if (is(entry)) return static_cast<void>(readNumber(reader, extrasOf(reader).*entry.number));
    for (const auto& entry : STATEMENTS)
        if (is(entry)) return entry.read(reader);
    if (isMap(reader.keyword)) return readMap(reader);
    readOther(reader);
}

// ---- Lines --------------------------------------------------------------------------------------------------------

// The end of the line that starts at `at`. Where a backslash stands at a line end, both become blanks and the line
// goes on, unless it is a comment. Control characters, but for NUL, become blanks too.
char* endLine(char* at, const char* end, unsigned long long& lines) {
    const bool comment = at[std::strspn(at, " \t")] == '#';
    for (; at < end && *at != '\n' && *at != '\r'; ++at) {
        if (*at > '\0' && *at < ' ' && *at != '\t') *at = ' ';
        if (*at != '\\' || comment || (at[1] != '\n' && at[1] != '\r')) continue;
        if (at[1] == '\r' && at[2] == '\n') *at++ = ' ';
        at[0] = at[1] = ' ';
        ++lines;
    }
    return at;
}

// Makes the next line a string, with its keyword, which is empty where it holds no statement. False at the end.
bool nextLine(LibraryReader& reader) {
    GLMtext& text = reader.text;
    if (reader.call.failed || text.at == text.end) return false;
    reader.call.line = ++reader.lines;
    // All of the file is in its own window, a NUL behind it.
    char* const start = text.memory.get() + (text.at - text.begin);
    char* const end = endLine(start, text.end, reader.lines);
    text.at = end;
    if (text.at < text.end) text.at += end[0] == '\r' && end[1] == '\n' ? 2 : 1;
    *end = '\0';
    reader.line = {};
    reader.line.begin = reader.line.at = start;
    reader.line.end = start + std::strlen(start);  // a NUL in the file ends its line, as it ends each string
    reader.keyword = nextWord(reader.line);
    if (reader.keyword.starts_with('#')) reader.keyword = {};
    return true;
}

bool openLibrary(LibraryReader& reader, const char* path) {
    struct stat status {};
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode) || !__glmOpenText(reader.call, path, reader.text))
        return false;
    __glmLoadAll(reader.text);
    const std::string_view all(reader.text.at, reader.text.end);
    if (all.starts_with(GLM_UTF_8)) reader.text.at += GLM_UTF_8.size();
    if (!__glmIsUtf16(all)) return true;
    reader.call.line = 1;
    __glmWarn(reader.call, GLMplace::file, "glmReadMTL: the library \"%s\" is UTF-16 text; save it as UTF-8", path);
    __glmStop(reader.text);
    return true;
}

// Names what is there.
bool prepare(LibraryReader& reader) {
    const GLMmodel& model = *reader.model;
    assert(reader.extras == nullptr || reader.extras->nummaterials == model.nummaterials);
    for (std::uint32_t i = 0; i < model.nummaterials; ++i)
        if (!addName(reader.call, reader.materials, model.materials[i].name, i)) return false;
    for (std::uint32_t i = 0; i < model.numtextures; ++i)
        if (!addName(reader.call, reader.textures, model.textures[i].name, i)) return false;
    return true;
}

// Adds what the file holds. False when it cannot be opened, or the call fails.
bool readLibrary(LibraryReader& reader, const char* path) {
    GLMcall& call = reader.call;
    if (!openLibrary(reader, path) || !prepare(reader)) return false;
    GLMtext* const text = std::exchange(call.text, nullptr);  // a carriage return may end a line here
    const unsigned long long line = call.line;
    const char* const file = std::exchange(call.file, path);
    while (nextLine(reader))
        if (!reader.keyword.empty()) readStatement(reader);
    call.text = text;
    call.line = line;
    call.file = file;
    return !call.failed;
}

bool addLibrary(GLMcall& call, GLMmodel* model, GLMextras* extras, const char* name, bool required) {
    LibraryReader reader{.call = call, .model = model, .extras = extras, .unwanted = __glmNoMaterialExtras()};
    if (model->nummaterials == 0 && !addMaterial(reader, "default")) return false;
    const Found found = find(call, *model, name);
    if (call.failed) return false;
    reader.folder = {found.name.get(), __glmDirectoryLength(found.name.get())};
    if (readLibrary(reader, found.path.get())) return true;
    if (call.failed) return false;
    if (!required) {
        __glmWarn(call, GLMplace::file, "glmReadMTL: can't open material file \"%s\"", found.path.get());
        return true;
    }
    const char* const file = std::exchange(call.file, found.path.get());
    __glmFail(call, GLMplace::none, "glmReadMTL() failed: can't open material file \"%s\".", found.path.get());
    call.file = file;
    return false;
}

}  // namespace

bool __glmAddLibrary(GLMcall& call, GLMmodel* model, GLMextras* extras, const char* name) {
    return addLibrary(call, model, extras, name, false);
}

void __glmReadLibrary(GLMcall& call, GLMmodel* model, const char* name) {
    GLMextras** const wanted = call.options.extras;
    std::unique_ptr<GLMextras, __glmFree> made(
        wanted != nullptr && *wanted == nullptr ? __glmTryArray<GLMextras>(call, 1) : nullptr);
    GLMextras added{};
    if (!call.failed && addLibrary(call, model, wanted != nullptr ? &added : nullptr, name, true) &&
        wanted != nullptr) {
        if (made != nullptr) *wanted = made.release();
        GLMextras& extras = **wanted;
        std::swap(added.materials, extras.materials);
        std::swap(added.nummaterials, extras.nummaterials);
        for (std::uint32_t i = 0; i < extras.numelements; ++i)
            if (extras.elements[i].material >= extras.nummaterials) extras.elements[i].material = 0;
    }
    __glmFreeMaterialExtras(added);
}
