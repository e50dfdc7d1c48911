// A chunk's turn: it gets its places in arrays that grow, and the state that it starts with. And what is left to do
// when the last one has had its turn.
#include "glm/glm_lines.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <numeric>
#include <string_view>
#include <utility>

namespace {

// ---- Counts -------------------------------------------------------------------------------------------------------

bool takeCount(GLMjob& job, std::uint32_t& to, std::uint64_t count, const char* what) {
    const auto more = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, GLM_NO_INDEX));
    return __glmTryCount(job.call, *job.model, to, more, what);
}

bool addUp(GLMjob& job, const GLMchunk& chunk) {
    const GLMcounts& counts = chunk.counts;
    GLMmodel& model = *job.model;
    std::uint32_t none = 0;
    GLMextras* const extras = job.extras;
    __glmAdd(job.sum, counts);
    return takeCount(job, model.numvertices, counts.positions, "positions") &&
           takeCount(job, model.numnormals, counts.normals, "normals") &&
           takeCount(job, model.numtexcoords, counts.texcoords, "texture coordinates") &&
           takeCount(job, model.numtriangles, counts.triangles, "triangles") &&
           takeCount(job, extras != nullptr ? extras->numelements : none, counts.elements, "elements") &&
           takeCount(job, extras != nullptr ? extras->numcorners : none, counts.corners, "corners");
}

void noteMore(GLMjob& job, const GLMchunk& chunk) {
    job.known |= chunk.known;
    if (job.unknown[0] == '\0') std::memcpy(job.unknown, chunk.unknown, sizeof job.unknown);
    for (std::size_t i = 0; i < GLM_NOTICES; ++i)
        if (chunk.notices[i].count > 0)
            __glmNotice(job.notices[i], chunk.notices[i].count, chunk.before.lines + chunk.notices[i].line);
}

}  // namespace

void __glmNoteFailure(GLMjob& job, const GLMchunk& chunk) {
    if (chunk.failure.text[0] == '\0' || chunk.number >= job.failed) return;
    job.failed = chunk.number;
    job.failure = chunk.failure;
    job.failure.line += chunk.before.lines;
}

namespace {

// ---- Names and lists ----------------------------------------------------------------------------------------------

bool nameIt(GLMcall& call, GLMnames& names, const char* name, std::uint32_t number) {
    if (__glmAddName(names, name, number)) return true;
    __glmFailAtMemory(call, names.size, sizeof(GLMnames::Slot));
    return false;
}

template <typename T>
bool addTo(GLMcall& call, GLMlist<T>& list, const T& item) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
    if (!list.add(item)) __glmFailAtMemory(call, list.count, sizeof(T));
    return !call.failed;
}

// ---- Libraries ----------------------------------------------------------------------------------------------------

bool addString(GLMcall& call, char**& strings, std::uint32_t& count, std::string_view string) {
    GLMstring copy(__glmTryCopy(call, string));
    if (copy == nullptr || !__glmTryGrow(call, strings, count)) return false;
    strings[count++] = copy.release();
    return true;
}

// The names in a statement's rest: words, or more of them together where a file of that name is there or where the
// last one ends in ".mtl".
struct Libraries {
    GLMcall& call;
    const char* path;  // of the model
    std::string_view rest;
};

bool isThere(const Libraries& libraries, std::string_view name) {
    if (!libraries.call.options.libraries) return false;
    const GLMstring copy(__glmTryCopy(libraries.call, name));
    if (copy == nullptr) return false;
    const GLMstring file = __glmTryBeside(libraries.call, libraries.path, copy.get());
    return file != nullptr && access(file.get(), F_OK) == 0;
}

bool endsAsLibrary(std::string_view name) {
    constexpr std::string_view ENDING = ".mtl";
    const auto lower = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
    return name.size() >= ENDING.size() &&
           std::equal(ENDING.begin(), ENDING.end(), name.end() - static_cast<std::ptrdiff_t>(ENDING.size()),
                      [&](char b, char a) { return lower(a, b); });
}

// Takes the next name away from the rest.
std::string_view nextLibrary(Libraries& libraries) {
    constexpr int MOST_WORDS = 16;
    constexpr const char* BLANKS = " \t";
    const std::string_view rest = libraries.rest;
    std::size_t ends[MOST_WORDS] = {}, count = 0, end = 0;
    while (count < MOST_WORDS && end < rest.size()) {
        end = std::min(rest.find_first_of(BLANKS, rest.find_first_not_of(BLANKS, end)), rest.size());
        ends[count++] = end;
    }
    std::size_t taken = 0;
    for (std::size_t i = count; i-- > 0 && taken == 0;)
        if (isThere(libraries, rest.substr(0, ends[i]))) taken = ends[i];
    for (std::size_t i = 0; i < count && taken == 0; ++i)
        if (endsAsLibrary(rest.substr(0, ends[i]))) taken = ends[i];
    if (taken == 0) taken = ends[0];
    libraries.rest = rest.substr(std::min(rest.find_first_not_of(BLANKS, taken), rest.size()));
    return rest.substr(0, taken);
}

// A library that is named again is not read again.
bool addLibrary(GLMjob& job, std::string_view name) {
    if (__glmFindName(job.libraryNumbers, name) != nullptr) return true;
    GLMstring copy(__glmTryCopy(job.call, name));
    if (copy == nullptr || !addTo(job.call, job.libraries, copy.get())) return false;
    const char* const kept = copy.release();
    return nameIt(job.call, job.libraryNumbers, kept, job.libraries.count - 1) &&
           (!job.call.options.libraries || __glmAddLibrary(job.call, job.model, job.extras, kept));
}

bool addLibraries(GLMjob& job, const char* rest) {
    Libraries libraries{.call = job.call, .path = job.model->pathname, .rest = rest};
    if (libraries.rest.empty()) __glmWarn(job.call, GLMplace::none, "glmReadOBJ: \"mtllib\" without a name ignored");
    while (!libraries.rest.empty() && !job.call.failed) {
        if (libraries.rest.front() == '#' && !isThere(libraries, libraries.rest)) break;
        const std::string_view name = nextLibrary(libraries);
        if (job.call.failed || !addLibrary(job, name)) return false;
    }
    return !job.call.failed;
}

// ---- States -------------------------------------------------------------------------------------------------------

// The number of the group of that name, which is made when it is new. False when memory is short.
bool findGroup(GLMjob& job, const char* name, std::uint32_t& number) {
    if (const std::uint32_t* known = __glmFindName(job.groupNumbers, name)) {
        number = *known;
        return true;
    }
    number = job.groups.count;
    GLMgroup* const group = __glmNewGroup(job.call, job.model, name);
    return group != nullptr && addTo(job.call, job.groups, group) &&
           nameIt(job.call, job.groupNumbers, group->name, number);
}

// Reads the libraries of a statement, and numbers the new materials.
bool selectLibraries(GLMjob& job, const char* rest) {
    std::uint32_t i = job.model->nummaterials;
    if (!addLibraries(job, rest)) return false;
    for (; i < job.model->nummaterials; ++i)
        if (!nameIt(job.call, job.materialNumbers, job.model->materials[i].name, i)) return false;
    return true;
}

// A material whose library comes later in the text, if at all, gets a number of its own until then.
bool selectWanted(GLMjob& job, const char* name) {
    if (const std::uint32_t* known = __glmFindName(job.wantedNumbers, name)) {
        ++job.wanted.items[*known].count;
        job.state.material = GLM_WANTED + *known;
        return true;
    }
    GLMstring copy(__glmTryCopy(job.call, name));
    const std::uint32_t number = job.wanted.count;
    if (copy == nullptr ||
        !addTo(job.call, job.wanted, {.name = copy.get(), .line = job.call.line, .count = 1, .number = 0}))
        return false;
    job.state.material = GLM_WANTED + number;
    return nameIt(job.call, job.wantedNumbers, copy.release(), number);
}

bool selectMaterial(GLMjob& job, const char* name) {
    const std::uint32_t* const found = __glmFindName(job.materialNumbers, name);
    if (found == nullptr || *name == '\0') return selectWanted(job, name);
    job.state.material = *found;
    return true;
}

bool selectObject(GLMjob& job, const char* name) {
    GLMextras* const extras = job.extras;
    if (extras == nullptr) return true;
    job.state.object = extras->numobjects;
    return addString(job.call, extras->objectnames, extras->numobjects, name);
}

// A group's material is the first one but the default that is chosen while it holds a triangle, or in force at one.
bool chooseMaterial(GLMjob& job, GLMgroup& group) {
    const std::uint32_t material = job.state.material;
    if (group.numtriangles == 0 || (group.material != 0 && group.material < GLM_WANTED)) return true;
    if (group.material == 0 && material < GLM_WANTED) {
        group.material = material;
        return true;
    }
    group.material = GLM_WANTED;
    const GLMchoice choice{.group = job.state.group, .material = material};
    const GLMchoice* const last = job.choices.count > 0 ? &job.choices.items[job.choices.count - 1] : nullptr;
    const bool again = last != nullptr && last->group == choice.group && last->material == choice.material;
    return again || addTo(job.call, job.choices, choice);
}

// Triangles that the group in force gets, if any.
bool countMembers(GLMjob& job, std::uint32_t triangles) {
    GLMgroup& group = *job.groups.items[job.state.group];
    group.numtriangles += triangles;
    if (!chooseMaterial(job, group)) return false;
    if (triangles == 0) return true;
    GLMrun* const last = job.runs.count > 0 ? &job.runs.items[job.runs.count - 1] : nullptr;
    if (last == nullptr || last->group != job.state.group)
        return addTo(job.call, job.runs, {.group = job.state.group, .count = triangles});
    last->count += triangles;
    return true;
}

bool select(GLMjob& job, const GLMchunk& chunk, GLMevent& event) {
    const char* const name = event.keyword == GLMkeyword::smoothing ? "" : chunk.names.items[event.value] + 1;
    GLMstate& state = job.state;
    job.call.line = chunk.before.lines + event.line + 1;
    switch (event.keyword) {
    case GLMkeyword::group:
        if (!findGroup(job, *name != '\0' ? name : "default", state.group)) return false;
        event.value = state.group;
        return true;
    case GLMkeyword::material:
        if (!selectMaterial(job, name)) return false;
        event.value = state.material;
        return countMembers(job, 0);
    case GLMkeyword::object:
        if (!selectObject(job, name)) return false;
        event.value = state.object;
        return true;
    case GLMkeyword::smoothing:
        state.smoothing = event.value;
        return true;
    default:
        return selectLibraries(job, name);
    }
}

bool joinStates(GLMjob& job, GLMchunk& chunk) {
    if (job.groups.count == 0 && !findGroup(job, "default", job.state.group)) return false;
    chunk.state = job.state;
    std::uint32_t counted = 0;
    for (std::uint32_t i = 0; i < chunk.events.count; ++i) {
        GLMevent& event = chunk.events.items[i];
        if (event.at != counted && !countMembers(job, event.at - counted)) return false;
        counted = event.at;
        if (!select(job, chunk, event)) return false;
    }
    job.call.line = 0;
    chunk.dropNames();
    return countMembers(job, static_cast<std::uint32_t>(chunk.counts.triangles) - counted);
}

// ---- Arrays -------------------------------------------------------------------------------------------------------

// Makes the array as large as that, or makes it. False when memory is short.
template <typename T>
bool resize(T*& array, std::uint64_t count, std::size_t size) {
    if (count > SIZE_MAX) return false;
    void* const memory = __glmRegrow(array, static_cast<std::size_t>(count), size * sizeof(T));
    if (memory != nullptr) array = static_cast<T*>(memory);
    return memory != nullptr;
}

// Of entries that count from 1.
bool resizeEntries(float*& array, std::uint64_t count, std::size_t size) {
    const bool first = array == nullptr;
    if (!resize(array, count + 1, size)) return false;
    if (first) std::fill_n(array, size, 0.0f);
    return true;
}

bool resizeExtras(const GLMjob& job, const GLMcounts& room) {
    GLMextras& extras = *job.extras;
    const std::uint64_t elements = extras.elements != nullptr ? job.room.elements : 0;
    if (room.elements > 0 && !resize(extras.elements, room.elements, 1)) return false;
    if (room.elements > elements)  // the room between their members, too
        std::memset(static_cast<void*>(extras.elements + elements), 0,
                    static_cast<std::size_t>(room.elements - elements) * sizeof(GLMelement));
    return (room.elements == 0 || resize(extras.corners, room.corners, 1)) &&
           (!job.colored || resizeEntries(extras.colors, room.positions, GLM_VECTOR_SIZE)) &&
           (!job.smoothed || resize(extras.smoothing, room.triangles, 1)) &&
           (!job.inObjects || resize(extras.objects, room.triangles, 1));
}

// Gives all arrays room for so many entries. False when memory is short.
bool resizeAll(const GLMjob& job, const GLMcounts& room) {
    GLMmodel& model = *job.model;
    return resizeEntries(model.vertices, room.positions, GLM_VECTOR_SIZE) &&
           (room.normals == 0 || resizeEntries(model.normals, room.normals, GLM_VECTOR_SIZE)) &&
           (room.texcoords == 0 || resizeEntries(model.texcoords, room.texcoords, GLM_TEXCOORD_SIZE)) &&
           resize(model.triangles, room.triangles, 1) &&
           resizeEntries(model.facetnorms, room.triangles, GLM_VECTOR_SIZE) &&
           (job.extras == nullptr || resizeExtras(job, room));
}

constexpr std::uint64_t GLMcounts::*COUNTS[] = {&GLMcounts::positions, &GLMcounts::normals,  &GLMcounts::texcoords,
                                                &GLMcounts::triangles, &GLMcounts::elements, &GLMcounts::corners};

// Room for what there is so far, and for what will come if the text goes on like this chunk, within reason. Of a pipe
// nobody knows how it goes on. Pages that are never touched take no memory.
GLMcounts roomAhead(const GLMjob& job, const GLMchunk& chunk) {
    constexpr double MARGIN = 1.06, LEAST_SIZE = 8;  // of a triangle's text, or a position's
    const auto size = static_cast<double>(chunk.end - chunk.begin);
    const double left = job.source.pipe != nullptr ? 0 : MARGIN * static_cast<double>(job.source.size - chunk.end);
    GLMcounts room = job.room;
    for (std::uint64_t GLMcounts::*count : COUNTS) {
        const std::uint64_t sum = job.sum.*count;
        if (sum <= room.*count) continue;
        const double each = std::min(static_cast<double>(chunk.counts.*count) / size, 1 / LEAST_SIZE);
        const auto more = static_cast<std::uint64_t>(each * left);
        room.*count = sum + (job.source.pipe != nullptr ? sum / 2 : more);
    }
    return room;
}

bool wantExtras(GLMjob& job, const GLMchunk& chunk) {
    if (job.extras == nullptr) return false;
    const auto want = [](bool& has, bool wanted, std::uint32_t& from, std::uint64_t before) {
        if (has || !wanted) return false;
        from = static_cast<std::uint32_t>(before);
        return has = true;
    };
    const bool colors = want(job.colored, chunk.colored, job.colorsFrom, chunk.before.positions);
    const bool smoothing = want(job.smoothed, chunk.smoothed, job.smoothingFrom, chunk.before.triangles);
    const bool objects = want(job.inObjects, job.extras->numobjects > 0, job.objectsFrom, chunk.before.triangles);
    return colors || smoothing || objects;
}

// The arrays move when nobody fills them.
bool makeRoom(GLMjob& job, const GLMchunk& chunk, std::unique_lock<std::mutex>& lock) {
    const auto fits = [&](std::uint64_t GLMcounts::*count) { return job.sum.*count <= job.room.*count; };
    if (!wantExtras(job, chunk) && std::all_of(std::begin(COUNTS), std::end(COUNTS), fits)) return true;
    job.changed.wait(lock, [&] { return job.filling == 0; });
    const GLMcounts room = roomAhead(job, chunk);
    if (!resizeAll(job, room)) __glmFailAtMemory(job.call, job.model->numtriangles, sizeof(GLMtriangle));
    job.room = room;
    return !job.call.failed;
}

// ---- The end ------------------------------------------------------------------------------------------------------

// Materials that were wanted before their libraries came, or whose libraries never came.
bool findWanted(GLMjob& job) {
    GLMcall& call = job.call;
    for (std::uint32_t i = 0; i < job.wanted.count; ++i) {
        const GLMwanted& wanted = job.wanted.items[i];
        const std::uint32_t* const found = __glmFindName(job.materialNumbers, wanted.name);
        call.line = wanted.line;
        call.times = wanted.count;
        if (*wanted.name == '\0')
            __glmWarn(call, GLMplace::none, "glmReadOBJ: \"usemtl\" without a name, taken as the default material");
        else if (found == nullptr && call.options.libraries)
            __glmWarn(call, GLMplace::none, GLM_NO_SUCH_MATERIAL, wanted.name);
        job.wanted.items[i].number = found != nullptr ? *found : 0;
    }
    call.line = 0;
    call.times = 1;
    return !call.failed;
}

void settleMaterials(const GLMjob& job) {
    if (job.wanted.count == 0) return;
    const auto settled = [&](std::uint32_t material) {
        return material < GLM_WANTED ? material : job.wanted.items[material - GLM_WANTED].number;
    };
    for (std::uint32_t i = 0; i < job.groups.count; ++i)
        if (job.groups.items[i]->material == GLM_WANTED) job.groups.items[i]->material = 0;
    for (std::uint32_t i = 0; i < job.choices.count; ++i) {
        GLMgroup& group = *job.groups.items[job.choices.items[i].group];
        if (group.material == 0) group.material = settled(job.choices.items[i].material);
    }
    for (std::uint32_t i = 0; i < job.model->numtriangles; ++i) {
        std::uint32_t& material = job.model->triangles[i].material;
        material = settled(material);
    }
    if (job.extras == nullptr) return;
    for (std::uint32_t i = 0; i < job.extras->numelements; ++i)
        job.extras->elements[i].material = settled(job.extras->elements[i].material);
}

bool makeMembers(GLMjob& job) {
    for (std::uint32_t i = 0; i < job.groups.count; ++i) {
        GLMgroup& group = *job.groups.items[i];
        group.triangles =
            static_cast<std::uint32_t*>(__glmRegrow(nullptr, group.numtriangles, sizeof(std::uint32_t)));
        if (group.triangles == nullptr) __glmFailAtMemory(job.call, group.numtriangles, sizeof(std::uint32_t));
        if (group.triangles == nullptr) return false;
        group.numtriangles = 0;  // they are counted again
    }
    std::uint32_t next = 0;
    for (std::uint32_t i = 0; i < job.runs.count; ++i) {
        GLMgroup& group = *job.groups.items[job.runs.items[i].group];
        const std::uint32_t count = job.runs.items[i].count;
        std::iota(group.triangles + group.numtriangles, group.triangles + group.numtriangles + count, next);
        group.numtriangles += count;
        next += count;
    }
    return true;
}

bool finishExtras(GLMjob& job) {
    GLMextras& extras = *job.extras;
    for (std::uint32_t i = 0; i < job.groups.count; ++i)
        if (!addString(job.call, extras.groupnames, extras.numgroups, job.groups.items[i]->name)) return false;
    extras.numlibraries = job.libraries.count;
    extras.libraries = job.libraries.items.release();
    job.libraries.count = 0;
    extras.numtriangles = job.model->numtriangles;
    extras.numpositions = job.model->numvertices;
    extras.numnormals = job.model->numnormals;
    extras.numtexcoords = job.model->numtexcoords;
    if (job.colored) {
        extras.numcolors = job.model->numvertices;
        std::fill_n(extras.colors + GLM_VECTOR_SIZE, GLM_VECTOR_SIZE * job.colorsFrom, 1.0f);
    }
    if (job.smoothed) std::fill_n(extras.smoothing, job.smoothingFrom, 0);
    if (job.inObjects) std::fill_n(extras.objects, job.objectsFrom, GLM_NO_INDEX);
    return true;
}

bool finishModel(GLMjob& job) {
    GLMmodel& model = *job.model;
    model.numfacetnorms = model.numtriangles;
    if (job.libraries.count == 0) return true;
    model.mtllibname = __glmTryCopy(job.call, job.libraries.items[0]);
    return model.mtllibname != nullptr;
}

}  // namespace

bool __glmJoinChunk(GLMjob& job, GLMchunk& chunk, std::unique_lock<std::mutex>& lock) {
    noteMore(job, chunk);
    return addUp(job, chunk) && joinStates(job, chunk) && makeRoom(job, chunk, lock);
}

bool __glmJoinEnd(GLMjob& job) {
    if (!findWanted(job)) return false;
    settleMaterials(job);
    if (!resizeAll(job, job.sum)) __glmFailAtMemory(job.call, job.model->numtriangles, sizeof(GLMtriangle));
    return !job.call.failed && makeMembers(job) && finishModel(job) && (job.extras == nullptr || finishExtras(job));
}
