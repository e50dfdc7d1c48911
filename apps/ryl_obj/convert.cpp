// ryl-obj convert: a model, changed if asked for, as another file.
#include "convert.h"
#include "number.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <strings.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

enum class Format { obj, ply };
constexpr const char* FORMATS[] = {"obj", "ply"};
constexpr const char* MAPPINGS[] = {"linear", "spherical", "cube"};
constexpr const char* GROUPINGS[] = {"none", "object", "material", "part"};

// ---- Changes ------------------------------------------------------------------------------------------------------

constexpr double FLOAT_MOST = 3.4e38;

std::array<float, 3> offsetOf(const GivenOption& option) {
    std::array<float, 3> offset{};
    const char* at = option.value;
    const char* const end = at + std::strlen(at);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const char* const next = ryl_numberAt(at, offset[axis]);
        const bool whole = next != nullptr && (axis == 2 ? next == end : next != end && *next == ',');
        if (!whole) refuse("--translate takes three numbers X,Y,Z, not \"%s\"", option.value);
        at = next + 1;
    }
    return offset;
}

void changeTranslation(Model& model, const GivenOption& option) { translateModel(*model.model, offsetOf(option)); }
void changeSize(Model& model, const GivenOption& option) {
    glmScale(model.model.get(), static_cast<float>(numberOf(option, 0, FLOAT_MOST)));
}
void unitize(Model& model, const GivenOption&) { unitizeModel(*model.model); }
void weld(Model& model, const GivenOption& option) {
    weldModel(model, static_cast<float>(numberOf(option, 0, FLOAT_MOST)));
}
void reverse(Model& model, const GivenOption&) { reverseModel(model); }
void smooth(Model& model, const GivenOption& option) {
    constexpr double HALF_TURN = 180;
    smoothNormals(model, static_cast<float>(numberOf(option, 0, HALF_TURN)));
}
void facet(Model& model, const GivenOption&) { facetNormals(model); }
void withoutNormals(Model& model, const GivenOption&) { dropNormals(model); }
void map(Model& model, const GivenOption& option) {
    if (!mapTexture(model, static_cast<Mapping>(choiceOf(option, MAPPINGS))))
        refuse("--map spherical goes by normals, and the model has none: put --normals in front of it");
}
void withoutTexcoords(Model& model, const GivenOption&) { dropTexcoords(model); }
void group(Model& model, const GivenOption& option) {
    groupModel(model, static_cast<Grouping>(choiceOf(option, GROUPINGS)));
}

struct Change {
    Option option;
    void (*apply)(Model& model, const GivenOption& option);
};

constexpr Change CHANGES[] = {
    {{"translate", "X,Y,Z", "move the model"}, changeTranslation},
    {{"scale", "FACTOR", "scale the model about the origin"}, changeSize},
    {{"unitize", nullptr, "centre the model and scale it into the cube from -1 to 1"}, unitize},
    {{"weld", "DISTANCE", "make one of positions within DISTANCE on each axis; 0.0001, say"}, weld},
    {{"reverse", nullptr, "turn all faces and normals over"}, reverse},
    {{"normals", "ANGLE", "new normals, smooth at edges flatter than ANGLE degrees; 60, say"}, smooth},
    {{"facet-normals", nullptr, "new normals, one for each face"}, facet},
    {{"no-normals", nullptr, "leave normals out"}, withoutNormals},
    {{"map", "MAPPING",
      "new texture coordinates: linear, from above; spherical, by the\n"
      "normals; cube, by the side that a face looks to"},
     map},
    {{"no-texcoords", nullptr, "leave texture coordinates out"}, withoutTexcoords},
    {{"groups", "KIND",
      "new groups: none, one for each object, material, or part that\n"
      "hangs together"},
     group},
};

// The changes have kept the extras in step with the model.
void noteCounts(const GLMmodel& model, GLMextras& extras) {
    extras.numcolors = extras.colors != nullptr ? model.numvertices : 0;
    extras.numpositions = model.numvertices;
    extras.numnormals = model.numnormals;
    extras.numtexcoords = model.numtexcoords;
}

// The geometry of the model library ends the process with status 1 where memory is short.
bool changing = false;

void endWhileChanging() {
    if (changing) _exit(UNUSABLE);
}

void applyChanges(const CommandLine& line, Model& model) {
    changing = std::atexit(endWhileChanging) == 0;
    for (const GivenOption& option : line.options)
        for (const Change& change : CHANGES) {
            if (option.name != change.option.name) continue;
            showProgress(change.option.name, UNKNOWN);
            change.apply(model, option);
        }
    changing = false;
    noteCounts(*model.model, *model.extras);
}

// ---- Files --------------------------------------------------------------------------------------------------------

bool isStandardOutput(std::string_view target) { return target == "-"; }

Format formatOf(const CommandLine& line, const char* target) {
    if (const char* name = valueOf(line, "to")) return static_cast<Format>(choiceOf({"to", name}, FORMATS));
    if (isStandardOutput(target)) return Format::obj;
    const std::string ending = fs::path(target).extension();
    for (std::size_t i = 0; i < std::size(FORMATS); ++i)
        if (strcasecmp(ending.c_str(), (std::string(".") + FORMATS[i]).c_str()) == 0) return static_cast<Format>(i);
    refuse("%s: --to obj or --to ply says what to write", target);
}

char* newString(const std::string& text) {
    char* copy = strdup(text.c_str());
    if (copy == nullptr) throw std::bad_alloc();
    return copy;
}

// The name of an image, found from another folder; nothing where it need not or cannot change.
std::optional<std::string> movedName(const Model& model, const char* name, const fs::path& folder) {
    const auto found = findTexture(model, name);
    std::error_code error;
    if (!found || fs::path(name).is_absolute()) return std::nullopt;
    const fs::path moved = fs::proximate(*found, folder, error);
    return error ? std::nullopt : std::optional(moved.string());
}

// Images that are there keep being found from the folder of the new file.
void moveTextures(const Model& model, const fs::path& target) {
    const auto folderOf = [](const fs::path& path) { return path.has_parent_path() ? path.parent_path() : "."; };
    const fs::path folder = folderOf(target);
    std::error_code error;
    if (fs::equivalent(folder, folderOf(model.model->pathname), error)) return;
    std::vector<char**> names;
    const std::span materials(model.extras->materials, model.extras->nummaterials);
    for (const GLMmaterialextras& material : materials)
        for (std::uint32_t i = 0; i < material.nummaps; ++i) names.push_back(&material.maps[i].path);
    for (std::uint32_t i = 0; i < model.model->numtextures; ++i) names.push_back(&model.model->textures[i].name);
    for (char** name : names)
        if (const auto moved = movedName(model, *name, folder)) std::free(std::exchange(*name, newString(*moved)));
}

// An error of the library's names the file as it is until it is whole.
void reportError(const char* target, std::string text, const std::string& part) {
    for (std::size_t at; (at = text.find(part)) != std::string::npos;) text.replace(at, part.size(), target);
    report(target, 0, withoutFunction(text));
}

int writeObj(Model& model, const char* target, bool materials, bool replace) {
    const fs::path path(target);
    const bool standard = isStandardOutput(target);
    const std::string library = (path.parent_path() / path.stem()).string() + ".mtl";
    WorkFolder work(target);
    const std::string part = work.pathFor(target);
    GLMextras* extras = model.extras.get();
    GLMerror error{};
    GLMoptions options;
    options.extras = &extras;
    options.progress = [](void*, float done) {
        showProgress("writing", done);
        return true;
    };
    int mode = GLM_SMOOTH | GLM_TEXTURE;
    if (materials && !standard) {
        mode |= GLM_MATERIAL;
        moveTextures(model, path);
        std::free(std::exchange(model.model->mtllibname, newString(fs::path(library).filename().string())));
    }
    const std::string libraryPart = work.pathFor(library);
    if (!glmTryWriteOBJ(model.model.get(), part.c_str(), mode, &error, options)) {
        reportError(target, error.text, part);
        return UNUSABLE;
    }
    if (fs::exists(libraryPart) && (!mayWrite(library.c_str(), replace) || !work.publish(library, replace)))
        return UNUSABLE;
    return work.publish(target, replace) ? FINE : UNUSABLE;
}

int writePly(const Model& model, const char* target, bool ascii, bool replace) {
    WorkFolder work(target);
    std::FILE* file = std::fopen(work.pathFor(target).c_str(), "wb");
    bool done = file != nullptr && writePly(file, model, ascii);
    if (file != nullptr) done = std::fclose(file) == 0 && done;
    if (done) return work.publish(target, replace) ? FINE : UNUSABLE;
    report(target, 0, std::strerror(errno));
    return UNUSABLE;
}

int run(const CommandLine& line) {
    const char* const target = line.operands[1];
    const bool replace = valueOf(line, "force") != nullptr;
    const Format format = formatOf(line, target);
    Model model;
    GLMoptions options;
    options.polygons = valueOf(line, "triangulate") == nullptr;
    if (!mayWrite(target, replace) || !readModel(line.operands[0], model, options)) return UNUSABLE;
    if (!options.polygons) makeFaces(model);
    applyChanges(line, model);
    showProgress("writing", UNKNOWN);
    if (format == Format::ply) return writePly(model, target, valueOf(line, "ascii") != nullptr, replace);
    return writeObj(model, target, valueOf(line, "no-materials") == nullptr, replace);
}

constexpr Option OWN_OPTIONS[] = {
    {"triangulate", nullptr, "make triangles of polygons, concave ones too"},
    {"no-materials", nullptr, "leave materials and their library out"},
    {"to", "FORMAT", "write obj or ply; without it OUT's ending says which"},
    {"ascii", nullptr, "write numbers in PLY files as text"},
    {"force", nullptr, "replace files that are there"},
};

constexpr auto OPTIONS = [] {
    std::array<Option, std::size(CHANGES) + std::size(OWN_OPTIONS)> options{};
    std::size_t next = 0;
    for (const Change& change : CHANGES) options[next++] = change.option;
    for (const Option& option : OWN_OPTIONS) options[next++] = option;
    return options;
}();

}  // namespace

const Command CONVERT_COMMAND = {
    .name = "convert",
    .operands = "IN OUT",
    .least = 2,
    .most = 2,
    .summary = "write a model as another file, OBJ with its materials or PLY, changed if asked for",
    .details =
        "Changes are made in the order in which they are given. Polygons, lines, points, colours, names, textures\n"
        "and unknown lines of materials go along, in their order, and numbers to the last bit. OUT.obj gets its\n"
        "library OUT.mtl beside it; on standard output OBJ goes without materials. PLY has no materials, and\n"
        "colours of 8 bits. A file appears when it is whole.",
    .options = OPTIONS,
    .run = run};
