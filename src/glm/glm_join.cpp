// Between the passes: what the chunks hold becomes arrays of exact sizes, and states that the chunks start with.
#include "glm/glm_lines.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// ---- Counts -------------------------------------------------------------------------------------------------------

bool takeCount(GLMjob& job, std::uint32_t& to, std::uint64_t count, const char* what) {
    const auto more = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, GLM_NO_INDEX));
    return __glmTryCount(job.call, *job.model, to, more, what);
}

bool addUp(GLMjob& job) {
    GLMcounts sum;
    for (std::size_t i = 0; i < job.count; ++i) {
        job.chunks[i].before = sum;
        __glmAdd(sum, job.chunks[i].counts);
    }
    GLMmodel& model = *job.model;
    std::uint32_t elements = 0, corners = 0;
    if (!takeCount(job, model.numvertices, sum.positions, "positions") ||
        !takeCount(job, model.numnormals, sum.normals, "normals") ||
        !takeCount(job, model.numtexcoords, sum.texcoords, "texture coordinates") ||
        !takeCount(job, model.numtriangles, sum.triangles, "triangles") ||
        !takeCount(job, elements, sum.elements, "elements") || !takeCount(job, corners, sum.corners, "corners"))
        return false;
    if (job.extras != nullptr) {
        job.extras->numelements = elements;
        job.extras->numcorners = corners;
    }
    return true;
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
    for (std::uint32_t i = 0; i < job.libraries.count; ++i)
        if (name == job.libraries.items[i]) return true;
    GLMstring copy(__glmTryCopy(job.call, name));
    if (copy == nullptr) return false;
    if (!job.libraries.add(copy.get())) {
        __glmFailAtMemory(job.call, job.libraries.count, sizeof(char*));
        return false;
    }
    const char* const kept = copy.release();
    return !job.call.options.libraries || __glmAddLibrary(job.call, job.model, job.extras, kept);
}

bool addLibraries(GLMjob& job, const char* rest) {
    Libraries libraries{.call = job.call, .path = job.model->pathname, .rest = rest};
    if (libraries.rest.empty()) __glmWarn(job.call, GLMplace::none, "glmReadOBJ: \"mtllib\" without a name ignored");
    while (!libraries.rest.empty() && !job.call.failed) {
        if (libraries.rest.front() == '#' && !isThere(libraries, libraries.rest)) break;
        if (!addLibrary(job, nextLibrary(libraries))) return false;
    }
    return !job.call.failed;
}

bool readLibraries(GLMjob& job) {
    for (std::size_t i = 0; i < job.count; ++i) {
        const GLMchunk& chunk = job.chunks[i];
        for (std::uint32_t k = 0; k < chunk.events.count; ++k) {
            const GLMevent& event = chunk.events.items[k];
            if (event.keyword != GLMkeyword::library) continue;
            job.call.line = chunk.before.lines + event.line + 1;
            if (!addLibraries(job, chunk.names.items[event.value] + 1)) return false;
        }
    }
    job.call.line = 0;
    if (job.libraries.count == 0) return true;
    job.model->mtllibname = __glmTryCopy(job.call, job.libraries.items[0]);
    return job.model->mtllibname != nullptr;
}

// ---- States -------------------------------------------------------------------------------------------------------

struct Joiner {
    GLMjob& job;
    GLMnames groups = {}, materials = {};
    GLMstate state = {};
    std::uint32_t objects = 0;
};

bool nameIt(GLMcall& call, GLMnames& names, const char* name, std::uint32_t number) {
    if (__glmAddName(names, name, number)) return true;
    __glmFailAtMemory(call, names.size, sizeof(GLMnames::Slot));
    return false;
}

// The number of the group of that name, which is made when it is new. False when memory is short.
bool findGroup(Joiner& joiner, const char* name, std::uint32_t& number) {
    GLMjob& job = joiner.job;
    if (const std::uint32_t* known = __glmFindName(joiner.groups, name)) {
        number = *known;
        return true;
    }
    number = job.groups.count;
    GLMgroup* const group = __glmNewGroup(job.call, job.model, name);
    if (group == nullptr) return false;
    if (!job.groups.add(group)) __glmFailAtMemory(job.call, job.groups.count, sizeof(void*));
    return !job.call.failed && nameIt(job.call, joiner.groups, group->name, number);
}

void selectMaterial(Joiner& joiner, const char* name) {
    GLMcall& call = joiner.job.call;
    const std::uint32_t* const found = __glmFindName(joiner.materials, name);
    joiner.state.material = found != nullptr ? *found : 0;
    if (*name == '\0')
        __glmWarn(call, GLMplace::none, "glmReadOBJ: \"usemtl\" without a name, taken as the default material");
    else if (found == nullptr && call.options.libraries)
        __glmWarn(call, GLMplace::none, GLM_NO_SUCH_MATERIAL, name);
}

bool selectObject(Joiner& joiner, const char* name) {
    joiner.state.object = joiner.objects++;
    GLMextras* const extras = joiner.job.extras;
    return extras == nullptr || addString(joiner.job.call, extras->objectnames, extras->numobjects, name);
}

// A group's material is the first one that is chosen while it holds a triangle, or in force at one.
void countMembers(Joiner& joiner, std::uint32_t triangles) {
    GLMgroup& group = *joiner.job.groups.items[joiner.state.group];
    group.numtriangles += triangles;
    if (group.material == 0 && group.numtriangles > 0) group.material = joiner.state.material;
}

bool select(Joiner& joiner, const GLMchunk& chunk, GLMevent& event) {
    const char* const name = event.keyword == GLMkeyword::smoothing ? "" : chunk.names.items[event.value] + 1;
    GLMstate& state = joiner.state;
    joiner.job.call.line = chunk.before.lines + event.line + 1;
    switch (event.keyword) {
    case GLMkeyword::group:
        if (!findGroup(joiner, *name != '\0' ? name : "default", state.group)) return false;
        event.value = state.group;
        event.at = joiner.job.groups.items[state.group]->numtriangles;
        return true;
    case GLMkeyword::material:
        selectMaterial(joiner, name);
        event.value = state.material;
        countMembers(joiner, 0);
        return true;
    case GLMkeyword::object:
        if (!selectObject(joiner, name)) return false;
        event.value = state.object;
        return true;
    case GLMkeyword::smoothing:
        state.smoothing = event.value;
        return true;
    default:
        return true;
    }
}

bool joinStates(Joiner& joiner, GLMchunk& chunk) {
    chunk.state = joiner.state;
    chunk.state.groupAt = joiner.job.groups.items[joiner.state.group]->numtriangles;
    std::uint32_t counted = 0;
    for (std::uint32_t i = 0; i < chunk.events.count; ++i) {
        GLMevent& event = chunk.events.items[i];
        const std::uint32_t at = event.at;
        if (at != counted) countMembers(joiner, at - counted);
        counted = at;
        if (!select(joiner, chunk, event)) return false;
    }
    const auto left = static_cast<std::uint32_t>(chunk.counts.triangles) - counted;
    if (left > 0) countMembers(joiner, left);
    chunk.dropNames();
    return !joiner.job.call.failed;
}

bool joinAllStates(GLMjob& job) {
    Joiner joiner{.job = job};
    if (!findGroup(joiner, "default", joiner.state.group)) return false;
    for (std::uint32_t i = 0; i < job.model->nummaterials; ++i)
        if (!nameIt(job.call, joiner.materials, job.model->materials[i].name, i)) return false;
    for (std::size_t i = 0; i < job.count; ++i)
        if (!joinStates(joiner, job.chunks[i])) return false;
    job.call.line = 0;
    return true;
}

// ---- Arrays -------------------------------------------------------------------------------------------------------

bool makeExtras(GLMjob& job) {
    GLMcall& call = job.call;
    GLMextras& extras = *job.extras;
    const auto has = [&](bool GLMchunk::*what) {
        return std::any_of(job.chunks.get(), job.chunks.get() + job.count,
                           [&](const GLMchunk& chunk) { return chunk.*what; });
    };
    const std::uint32_t triangles = job.model->numtriangles;
    for (std::uint32_t i = 0; i < job.groups.count; ++i)
        if (!addString(call, extras.groupnames, extras.numgroups, job.groups.items[i]->name)) return false;
    extras.numlibraries = job.libraries.count;
    extras.libraries = job.libraries.items.release();
    job.libraries.count = 0;
    if (has(&GLMchunk::colored)) extras.numcolors = job.model->numvertices;
    if (extras.numcolors > 0) extras.colors = __glmTryEntries(call, extras.numcolors, GLM_VECTOR_SIZE);
    extras.numtriangles = triangles;
    if (extras.numobjects > 0) extras.objects = __glmTryArray<std::uint32_t>(call, triangles);
    if (has(&GLMchunk::smoothed)) extras.smoothing = __glmTryArray<std::uint32_t>(call, triangles);
    if (extras.numelements > 0) extras.elements = __glmTryArray<GLMelement>(call, extras.numelements);
    if (extras.numelements > 0) extras.corners = __glmTryArray<GLMelementcorner>(call, extras.numcorners);
    return !call.failed;
}

bool makeArrays(GLMjob& job) {
    GLMcall& call = job.call;
    GLMmodel& model = *job.model;
    for (std::uint32_t i = 0; i < job.groups.count && !call.failed; ++i)
        job.groups.items[i]->triangles = __glmTryArray<std::uint32_t>(call, job.groups.items[i]->numtriangles);
    model.vertices = __glmTryEntries(call, model.numvertices, GLM_VECTOR_SIZE);
    model.triangles = __glmTryArray<GLMtriangle>(call, model.numtriangles);
    model.facetnorms = __glmTryEntries(call, model.numtriangles, GLM_VECTOR_SIZE);
    if (model.numnormals > 0) model.normals = __glmTryEntries(call, model.numnormals, GLM_VECTOR_SIZE);
    if (model.numtexcoords > 0) model.texcoords = __glmTryEntries(call, model.numtexcoords, GLM_TEXCOORD_SIZE);
    model.numfacetnorms = model.numtriangles;
    return !call.failed && (job.extras == nullptr || makeExtras(job));
}

}  // namespace

bool __glmJoin(GLMjob& job) { return addUp(job) && readLibraries(job) && joinAllStates(job) && makeArrays(job); }
