// Models as the default mode writes them: positions, normals and texture coordinates, then the triangles in their
// order, or the faces that the extras have kept, with what is in force at each of them said where it changes.
#include "glm/glm_library.h"
#include "glm/glm_writer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint64_t LINES_TOLD = 4096;  // of progress, after so many
constexpr std::size_t CORNER_SIZE = 36;     // " 4294967295/4294967295/4294967295", and the end of its line

// A group as a reader of the file has it so far.
struct Group {
    const char* name;
    std::uint32_t material;  // that it is to come back with
    std::uint32_t chosen;    // that it comes back with
    bool holds;              // a triangle
};

struct Owned {
    std::unique_ptr<Group[], __glmFree> groups = {};
    std::unique_ptr<std::uint32_t[], __glmFree> groupOf = {};  // number of each triangle's group, from 1; 0 is none
};

struct ModelWriter {
    GLMcall& call;
    GLMsink& sink;
    const GLMmodel& model;
    const GLMextras* extras;  // or null
    int mode;
    std::uint32_t numtexcoords, numnormals;  // that corners may have; 0 where they are not written
    std::uint64_t lines = 0, total = 0;      // written, and that there will be: vectors, triangles and elements
    Owned owned = {};
    std::uint32_t numgroups = 0;
    // What is in force, and how many groups and objects have been mentioned.
    std::uint32_t group = GLM_NO_INDEX, object = GLM_NO_INDEX, material = 0, smoothing = 0;
    std::uint32_t groupsSaid = 0, objectsSaid = 0;
    bool namedDefault = false;
    std::uint32_t element = 0;  // the extras' next one
};

void putStatement(ModelWriter& writer, std::string_view keyword, const char* name) {
    __glmPutText(writer.sink, keyword);
    __glmPutName(writer.sink, name);
    __glmPutText(writer.sink, "\n");
}

bool failAt(ModelWriter& writer, const char* kind, std::uint32_t number, const char* what) {
    __glmFail(writer.call, GLMplace::none, "glmWriteOBJ() failed: %s %u has a %s that is not there.", kind, number,
              what);
    return false;
}

// Counts a line for the handler of progress. False when that cancels.
bool countLine(ModelWriter& writer) {
    if (++writer.lines % LINES_TOLD != 0) return true;
    __glmTellDone(writer.call, static_cast<double>(writer.lines) / static_cast<double>(writer.total));
    return !writer.call.failed;
}

// ---- Vectors ------------------------------------------------------------------------------------------------------

void putHeading(ModelWriter& writer, std::uint32_t count, const char* what) {
    char line[64];
    std::snprintf(line, sizeof line, "\n# %u %s\n", count, what);
    __glmPutText(writer.sink, line);
}

// Entries 1 to `count` of an array of vectors, with the colours (or null) behind them. False when the call fails.
bool putVectors(ModelWriter& writer, std::string_view keyword, const float* vectors, int size, std::uint32_t count,
                const float* colors = nullptr) {
    GLMsink& sink = writer.sink;
    const auto put = [&](const float* numbers, int numberCount) {
        for (int k = 0; k < numberCount; ++k) {
            *sink.at++ = ' ';
            sink.at = __glmPutFloat(sink.at, numbers[k]);
        }
    };
    for (std::size_t i = 1; i <= count; ++i) {
        __glmRoom(sink, 8 * GLM_NUMBER_SIZE);
        sink.at = __glmPut(sink.at, keyword);
        put(vectors + static_cast<std::size_t>(size) * i, size);
        if (colors != nullptr) put(colors + 3 * i, 3);
        *sink.at++ = '\n';
        if (!countLine(writer)) return false;
    }
    return true;
}

bool putAllVectors(ModelWriter& writer) {
    const GLMmodel& model = writer.model;
    putHeading(writer, model.numvertices, "positions");
    const float* const colors = writer.extras != nullptr ? writer.extras->colors : nullptr;
    if (!putVectors(writer, "v", model.vertices, 3, model.numvertices, colors)) return false;
    if (writer.numnormals > 0) putHeading(writer, writer.numnormals, "normals");
    const float* const normals = (writer.mode & GLM_SMOOTH) != 0 ? model.normals : model.facetnorms;
    if (!putVectors(writer, "vn", normals, 3, writer.numnormals)) return false;
    if (writer.numtexcoords > 0) putHeading(writer, writer.numtexcoords, "texture coordinates");
    return putVectors(writer, "vt", model.texcoords, 2, writer.numtexcoords);
}

// ---- What is in force ---------------------------------------------------------------------------------------------

// Of materials with the same name the first one comes back.
void useMaterial(ModelWriter& writer, std::uint32_t material) {
    if (material == writer.material || (writer.mode & GLM_MATERIAL) == 0) return;
    putStatement(writer, "usemtl ", writer.model.materials[material].name);
    writer.material = material;
    if (material == 0) writer.namedDefault = true;
    if (writer.group == GLM_NO_INDEX) return;
    Group& group = writer.owned.groups[writer.group];
    if (group.holds && group.chosen == 0) group.chosen = material;
}

// Whether a reader would give this group the next material that is chosen in it, although the group has none. Such a
// material is chosen before the group.
bool isOpen(const Group& group) { return group.holds && group.chosen == 0 && group.material == 0; }

// A group that a material was chosen for behind its triangles gets it there.
void leaveGroup(ModelWriter& writer) {
    if (writer.group == GLM_NO_INDEX) return;
    const Group& group = writer.owned.groups[writer.group];
    if (group.holds && group.chosen == 0 && group.material != 0) useMaterial(writer, group.material);
}

void selectGroup(ModelWriter& writer, std::uint32_t number) {
    if (number == writer.group) return;
    leaveGroup(writer);
    // Those without a triangle are mentioned in their place.
    while (writer.groupsSaid < number) putStatement(writer, "g ", writer.owned.groups[writer.groupsSaid++].name);
    putStatement(writer, "g ", writer.owned.groups[number].name);
    writer.groupsSaid = std::max(writer.groupsSaid, number + 1);
    writer.group = number;
}

void selectObject(ModelWriter& writer, std::uint32_t number) {
    if (number == writer.object || number == GLM_NO_INDEX) return;
    const char* const* names = writer.extras->objectnames;
    while (writer.objectsSaid < number) putStatement(writer, "o ", names[writer.objectsSaid++]);
    putStatement(writer, "o ", names[number]);
    writer.objectsSaid = std::max(writer.objectsSaid, number + 1);
    writer.object = number;
}

void selectSmoothing(ModelWriter& writer, std::uint32_t number) {
    if (number == writer.smoothing) return;
    char line[32];
    std::snprintf(line, sizeof line, number != 0 ? "s %u\n" : "s off\n", number);
    __glmPutText(writer.sink, line);
    writer.smoothing = number;
}

struct State {
    std::uint32_t group, object, material, smoothing;
};

// Says what is in force at the element or triangle of that number. False, and a failure, when it is not there.
bool select(ModelWriter& writer, const State& state, const char* kind, std::uint32_t number) {
    const std::uint32_t objects = writer.extras != nullptr ? writer.extras->numobjects : 0;
    if (state.group >= writer.numgroups) return failAt(writer, kind, number, "group");
    if (state.object != GLM_NO_INDEX && state.object >= objects) return failAt(writer, kind, number, "object");
    if ((writer.mode & GLM_MATERIAL) != 0 && state.material >= writer.model.nummaterials)
        return failAt(writer, kind, number, "material");
    selectObject(writer, state.object);
    if (state.group != writer.group && isOpen(writer.owned.groups[state.group])) {
        leaveGroup(writer);
        useMaterial(writer, state.material);
    }
    selectGroup(writer, state.group);
    useMaterial(writer, state.material);
    selectSmoothing(writer, state.smoothing);
    return true;
}

// ---- Corners ------------------------------------------------------------------------------------------------------

// Writes a corner with what it has: "1", "1/2", "1//3" or "1/2/3". False when it has what is not there.
bool putCorner(ModelWriter& writer, const GLMelementcorner& corner, const char* kind, std::uint32_t number) {
    const bool texcoord = writer.numtexcoords > 0 && corner.texcoord != GLM_NO_INDEX;
    const bool normal = writer.numnormals > 0 && corner.normal != GLM_NO_INDEX;
    if (corner.position - 1 >= writer.model.numvertices) return failAt(writer, kind, number, "position");
    if (texcoord && corner.texcoord - 1 >= writer.numtexcoords)
        return failAt(writer, kind, number, "texture coordinate");
    if (normal && corner.normal - 1 >= writer.numnormals) return failAt(writer, kind, number, "normal");
    GLMsink& sink = writer.sink;
    __glmRoom(sink, CORNER_SIZE);
    *sink.at++ = ' ';
    sink.at = __glmPutIndex(sink.at, corner.position);
    if (texcoord || normal) *sink.at++ = '/';
    if (texcoord) sink.at = __glmPutIndex(sink.at, corner.texcoord);
    if (!normal) return true;
    *sink.at++ = '/';
    sink.at = __glmPutIndex(sink.at, corner.normal);
    return true;
}

bool putTriangle(ModelWriter& writer, std::uint32_t number) {
    const GLMtriangle& triangle = writer.model.triangles[number];
    const GLMextras* const extras = writer.extras;
    const std::uint32_t group = writer.owned.groupOf[number];
    const State state{.group = group != 0 ? group - 1 : 0,
                      .object =
                          extras != nullptr && extras->objects != nullptr ? extras->objects[number] : GLM_NO_INDEX,
                      .material = triangle.material,
                      .smoothing = extras != nullptr && extras->smoothing != nullptr ? extras->smoothing[number] : 0};
    if (!select(writer, state, "triangle", number)) return false;
    Group& record = writer.owned.groups[state.group];
    record.holds = true;
    if (record.chosen == 0) record.chosen = writer.material;
    const bool smooth = (writer.mode & GLM_SMOOTH) != 0;
    __glmRoom(writer.sink, 2);
    *writer.sink.at++ = 'f';
    for (int i = 0; i < 3; ++i) {
        const GLMelementcorner corner{.position = triangle.vindices[i],
                                      .texcoord = triangle.tindices[i],
                                      .normal = smooth ? triangle.nindices[i] : triangle.findex};
        if (!putCorner(writer, corner, "triangle", number)) return false;
    }
    *writer.sink.at++ = '\n';
    return countLine(writer);
}

bool putElement(ModelWriter& writer, std::uint32_t number) {
    constexpr char KEYWORDS[] = {'p', 'l', 'f'};
    const GLMextras& extras = *writer.extras;
    const GLMelement& element = extras.elements[number];
    const auto kind = static_cast<std::size_t>(element.kind);
    if (kind >= std::size(KEYWORDS)) return failAt(writer, "element", number, "kind");
    if (element.first > extras.numcorners || element.count > extras.numcorners - element.first)
        return failAt(writer, "element", number, "corner");
    const State state{.group = element.group,
                      .object = element.object,
                      .material = element.material,
                      .smoothing = element.smoothing};
    if (!select(writer, state, "element", number)) return false;
    __glmRoom(writer.sink, 1);
    *writer.sink.at++ = KEYWORDS[kind];
    for (std::uint32_t i = 0; i < element.count; ++i) {
        GLMelementcorner corner = extras.corners[element.first + i];
        if ((writer.mode & GLM_SMOOTH) == 0) corner.normal = GLM_NO_INDEX;  // facet normals are the triangles'
        if (!putCorner(writer, corner, "element", number)) return false;
    }
    __glmPutText(writer.sink, "\n");
    return countLine(writer);
}

// ---- The whole ----------------------------------------------------------------------------------------------------

// The model's groups in the order of the file, and behind them those that only the extras have. False when the call
// fails.
bool gatherGroups(ModelWriter& writer) {
    const GLMmodel& model = writer.model;
    const GLMextras* const extras = writer.extras;
    const std::uint32_t more = extras != nullptr ? extras->numgroups : 0;
    writer.numgroups = std::max({model.numgroups, more, std::uint32_t{1}});
    writer.owned.groups.reset(__glmTryArray<Group>(writer.call, writer.numgroups));
    writer.owned.groupOf.reset(__glmTryArray<std::uint32_t>(writer.call, model.numtriangles));
    if (writer.call.failed) return false;
    for (std::uint32_t i = 0; i < writer.numgroups; ++i)
        writer.owned.groups[i] = {
            .name = i < more ? extras->groupnames[i] : "default", .material = 0, .chosen = 0, .holds = false};
    std::uint32_t number = model.numgroups;  // the newest is the first in the list
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next, --number) {
        if (number == 0) return failAt(writer, "model", 0, "group beyond their number");
        writer.owned.groups[number - 1].name = group->name;
        writer.owned.groups[number - 1].material = group->material < model.nummaterials ? group->material : 0;
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) {
            if (group->triangles[i] >= model.numtriangles) return failAt(writer, "group", number - 1, "triangle");
            writer.owned.groupOf[group->triangles[i]] = number;
        }
    }
    return true;
}

// What a reader has at the start: the group and the material of that name, where they are like those that it makes.
void startState(ModelWriter& writer) {
    const char* const first = writer.owned.groups[0].name;
    if (first != nullptr && std::strcmp(first, "default") == 0) {
        writer.group = 0;
        writer.groupsSaid = 1;
    }
    GLMmodel one = writer.model;
    one.nummaterials = std::min(one.nummaterials, 1u);
    if (__glmNeedsLibrary(one, writer.extras)) writer.material = GLM_NO_INDEX;
}

// Puts the elements up to those of an object, or all that are left. GLM_NO_INDEX is in front of all objects.
bool putElements(ModelWriter& writer, std::uint32_t object, bool all) {
    const GLMextras* const extras = writer.extras;
    if (extras == nullptr) return true;
    for (; writer.element < extras->numelements; ++writer.element) {
        // Counting objects from 1 makes none of them the least.
        if (!all && extras->elements[writer.element].object + 1 > object + 1) break;
        if (!putElement(writer, writer.element)) return false;
    }
    return true;
}

bool hasFaces(const GLMextras* extras) {
    const auto isFace = [](const GLMelement& element) { return element.kind == GLMelementkind::face; };
    return extras != nullptr && std::any_of(extras->elements, extras->elements + extras->numelements, isFace);
}

std::uint64_t countLines(const ModelWriter& writer) {
    const std::uint64_t vectors = std::uint64_t{writer.model.numvertices} + writer.numnormals + writer.numtexcoords;
    const std::uint64_t elements = writer.extras != nullptr ? writer.extras->numelements : 0;
    return vectors + elements + (hasFaces(writer.extras) ? 0 : writer.model.numtriangles);
}

// Object by object the elements, and then the triangles: groups get their materials from these.
bool putAllElements(ModelWriter& writer) {
    const GLMmodel& model = writer.model;
    const GLMextras* const extras = writer.extras;
    const std::uint32_t* const objects = extras != nullptr ? extras->objects : nullptr;
    const std::uint32_t count = hasFaces(extras) ? 0 : model.numtriangles;
    const std::uint32_t elements = extras != nullptr ? extras->numelements : 0;
    putHeading(writer, count + elements, elements > 0 ? "faces, lines and points" : "triangles");
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t object = objects != nullptr ? objects[i] : GLM_NO_INDEX;
        if (!putElements(writer, object, false)) return false;
        if (!putTriangle(writer, i)) return false;
    }
    if (!putElements(writer, 0, true)) return false;
    const std::uint32_t last = extras != nullptr ? extras->numobjects : 0;
    if (last > writer.objectsSaid) selectObject(writer, last - 1);
    if (writer.groupsSaid < writer.numgroups) selectGroup(writer, writer.numgroups - 1);
    leaveGroup(writer);
    return true;
}

// Whether the extras' elements take entries of that kind from the model, or faces without any hide that the model's
// triangles have them.
bool reliesOn(const GLMextras& extras, std::uint32_t GLMelementcorner::*index) {
    const auto has = [&](const GLMelementcorner& corner) { return corner.*index != GLM_NO_INDEX; };
    return hasFaces(&extras) || std::any_of(extras.corners, extras.corners + extras.numcorners, has);
}

// Extras stay as they were read when the model is welded or gets other triangles, normals or texture coordinates.
bool requireOwnExtras(const ModelWriter& writer) {
    if (writer.extras == nullptr) return true;
    const GLMextras& extras = *writer.extras;
    const GLMmodel& model = writer.model;
    const bool smooth = (writer.mode & GLM_SMOOTH) != 0,
               ofTriangles = extras.objects != nullptr || extras.smoothing != nullptr;
    const struct {
        const char* what;
        std::uint32_t own, models;
        bool matters;
    } parts[] = {
        {"positions", extras.numcolors, model.numvertices, extras.colors != nullptr},
        {"positions", extras.numpositions, model.numvertices, extras.numelements > 0},
        {"normals", extras.numnormals, model.numnormals, smooth && reliesOn(extras, &GLMelementcorner::normal)},
        {"texture coordinates", extras.numtexcoords, model.numtexcoords,
         writer.numtexcoords > 0 && reliesOn(extras, &GLMelementcorner::texcoord)},
        {"triangles", extras.numtriangles, model.numtriangles, ofTriangles && !hasFaces(&extras)},
    };
    for (const auto& part : parts)
        if (part.matters && !__glmRequireAsMany(writer.call, "glmWriteOBJ", part.what, part.own, part.models))
            return false;
    return true;
}

}  // namespace

int __glmModeOfAll(const GLMmodel& model) {
    return (model.numnormals > 0 ? GLM_SMOOTH : 0) | (model.numtexcoords > 0 ? GLM_TEXTURE : 0) |
           (model.nummaterials > 0 ? GLM_MATERIAL : 0);
}

bool __glmPutModel(GLMcall& call, GLMsink& sink, const GLMmodel& model, int mode, const char* library, bool& named) {
    GLMextras* const* const extras = call.options.extras;
    const bool smooth = (mode & GLM_SMOOTH) != 0, flat = (mode & GLM_FLAT) != 0;
    ModelWriter writer{.call = call,
                       .sink = sink,
                       .model = model,
                       .extras = extras != nullptr ? *extras : nullptr,
                       .mode = mode,
                       .numtexcoords = (mode & GLM_TEXTURE) != 0 ? model.numtexcoords : 0,
                       .numnormals = smooth ? model.numnormals
                                     : flat ? model.numfacetnorms
                                            : 0};
    if (!requireOwnExtras(writer) || !gatherGroups(writer)) return false;
    startState(writer);
    writer.total = countLines(writer);
    __glmPutText(sink, "# Wavefront OBJ generated by GLM library\n");
    if (library != nullptr) putStatement(writer, "mtllib ", library);
    if (!putAllVectors(writer) || !putAllElements(writer)) return false;
    __glmTellDone(call, 1);
    named = writer.namedDefault;
    return !call.failed;
}
