// ryl-obj info: what a model holds. The facts are gathered as JSON, from which the text is made too.
#include "command.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t SHOWN = 12;  // of a list in the text, unless --all is given

std::string nameOrNone(const char* name) { return name == nullptr ? "" : name; }

Json extentOf(const GLMmodel& model) {
    Json least = Json::array(), most = Json::array();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        float low = INFINITY, high = -INFINITY;
        for (std::size_t i = 1; i <= model.numvertices; ++i) {
            low = std::min(low, model.vertices[3 * i + axis]);
            high = std::max(high, model.vertices[3 * i + axis]);
        }
        if (!(low <= high)) return nullptr;
        least.push_back(shortest(low));
        most.push_back(shortest(high));
    }
    return {{"least", least}, {"most", most}};
}

Json groupsOf(const GLMmodel& model) {
    Json groups = Json::array();
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next)
        if (group->numtriangles > 0) groups.push_back({{"name", group->name}, {"triangles", group->numtriangles}});
    std::reverse(groups.begin(), groups.end());
    return groups;
}

Json objectsOf(const Model& read) {
    Json objects = Json::array();
    if (read.extras == nullptr) return objects;
    const GLMextras& extras = *read.extras;
    std::vector<std::uint64_t> triangles(extras.numobjects);
    for (std::uint32_t i = 0; extras.objects != nullptr && i < read.model->numtriangles; ++i)
        if (extras.objects[i] != GLM_NO_INDEX) ++triangles[extras.objects[i]];
    for (std::uint32_t i = 0; i < extras.numobjects; ++i)
        objects.push_back({{"name", extras.objectnames[i]}, {"triangles", triangles[i]}});
    return objects;
}

// The images of a material: those of all its statements, or its diffuse one.
Json mapsOf(const Model& read, std::uint32_t material) {
    Json maps = Json::array();
    if (read.extras != nullptr && read.extras->materials != nullptr) {
        const GLMmaterialextras& more = read.extras->materials[material];
        for (std::uint32_t i = 0; i < more.nummaps; ++i)
            maps.push_back({{"keyword", more.maps[i].keyword}, {"path", more.maps[i].path}});
    } else if (const std::int32_t map = read.model->materials[material].map_diffuse; map >= 0) {
        maps.push_back({{"keyword", "map_Kd"}, {"path", read.model->textures[map].name}});
    }
    return maps;
}

Json materialsOf(const Model& read) {
    const GLMmodel& model = *read.model;
    std::vector<std::uint64_t> triangles(model.nummaterials);
    for (std::uint32_t i = 0; i < model.numtriangles && model.nummaterials > 0; ++i)
        ++triangles[model.triangles[i].material];
    Json materials = Json::array();
    for (std::uint32_t i = 0; i < model.nummaterials; ++i)
        materials.push_back(
            {{"name", nameOrNone(model.materials[i].name)}, {"triangles", triangles[i]}, {"maps", mapsOf(read, i)}});
    return materials;
}

Json found(const std::string& name, bool there) { return {{"path", name}, {"found", there}}; }

Json librariesOf(const Model& read) {
    Json libraries = Json::array();
    const GLMmodel& model = *read.model;
    if (read.extras != nullptr)
        for (std::uint32_t i = 0; i < read.extras->numlibraries; ++i)
            libraries.push_back(
                found(read.extras->libraries[i], findLibrary(model, read.extras->libraries[i]).has_value()));
    else if (model.mtllibname != nullptr)
        libraries.push_back(found(model.mtllibname, findLibrary(model, model.mtllibname).has_value()));
    return libraries;
}

Json texturesOf(const Model& read, const Json& materials) {
    std::map<std::string, bool> known;
    Json textures = Json::array();
    for (const Json& material : materials)
        for (const Json& map : material["maps"]) {
            const std::string path = map["path"];
            if (!known.try_emplace(path, true).second) continue;
            textures.push_back(found(path, findTexture(read, path).has_value()));
        }
    return textures;
}

// Of the model's arrays, as glm.h describes them, with what the extras add to them.
std::uint64_t bytesOf(const Model& read) {
    constexpr std::uint64_t VECTOR = 3 * sizeof(float), TEXCOORD = 2 * sizeof(float);
    const GLMmodel& model = *read.model;
    std::uint64_t bytes = VECTOR * (std::uint64_t{model.numvertices} + model.numnormals + model.numfacetnorms) +
                          TEXCOORD * model.numtexcoords +
                          (sizeof(GLMtriangle) + sizeof(std::uint32_t)) * std::uint64_t{model.numtriangles};
    if (read.extras == nullptr) return bytes;
    const GLMextras& extras = *read.extras;
    bytes += sizeof(GLMelement) * std::uint64_t{extras.numelements};
    bytes += sizeof(GLMelementcorner) * std::uint64_t{extras.numcorners};
    if (extras.colors != nullptr) bytes += VECTOR * model.numvertices;
    return bytes;
}

std::uint64_t elementsOf(const Model& read, GLMelementkind kind) {
    std::uint64_t count = 0;
    if (read.extras != nullptr)
        for (std::uint32_t i = 0; i < read.extras->numelements; ++i) count += read.extras->elements[i].kind == kind;
    return count;
}

Json gather(const char* path, const Model& read) {
    const GLMmodel& model = *read.model;
    Json facts = {{"file", nameOf(path)},
                  {"positions", model.numvertices},
                  {"normals", model.numnormals},
                  {"texcoords", model.numtexcoords},
                  {"colors", read.extras != nullptr && read.extras->colors != nullptr},
                  {"triangles", model.numtriangles},
                  {"lines", elementsOf(read, GLMelementkind::line)},
                  {"points", elementsOf(read, GLMelementkind::point)},
                  {"extent", extentOf(model)},
                  {"groups", groupsOf(model)},
                  {"objects", objectsOf(read)},
                  {"libraries", librariesOf(read)},
                  {"materials", materialsOf(read)}};
    facts["textures"] = texturesOf(read, facts["materials"]);
    facts["memory"] = bytesOf(read);
    return facts;
}

// ---- The text -----------------------------------------------------------------------------------------------------

void printLine(const char* what, const std::string& value) { std::printf("  %-20s %s\n", what, value.c_str()); }

// JSON's numbers are in the C locale.
std::string numberText(const Json& number) { return number.dump(); }

void printCounts(const Json& facts) {
    constexpr std::array<std::array<const char*, 2>, 6> COUNTS = {{{"positions", "positions"},
                                                                   {"normals", "normals"},
                                                                   {"texcoords", "texture coordinates"},
                                                                   {"triangles", "triangles"},
                                                                   {"lines", "lines"},
                                                                   {"points", "points"}}};
    for (const auto& [key, label] : COUNTS)
        if (facts[key] != 0) printLine(label, numberText(facts[key]));
    if (facts["colors"]) printLine("vertex colours", "yes");
}

void printExtent(const Json& extent) {
    if (extent.is_null()) return;
    for (std::size_t axis = 0; axis < 3; ++axis)
        printLine(axis == 0 ? "extent" : "", std::string(1, "xyz"[axis]) + " " + numberText(extent["least"][axis]) +
                                                 " to " + numberText(extent["most"][axis]));
}

// The list's number, then its entries.
template <typename Text>
void printList(const char* what, const Json& list, bool all, Text text) {
    if (list.empty()) return;
    printLine(what, std::to_string(list.size()));
    const std::size_t shown = all ? list.size() : std::min(list.size(), SHOWN);
    for (std::size_t i = 0; i < shown; ++i) printLine("", printable(text(list[i])));
    if (shown < list.size()) printLine("", "... (--all shows all)");
}

std::string withTriangles(const Json& entry) {
    return entry["name"].get<std::string>() + " (" + numberText(entry["triangles"]) + " triangles)";
}

std::string withMaps(const Json& material) {
    std::string text = withTriangles(material);
    for (const Json& map : material["maps"])
        text += ", " + map["keyword"].get<std::string>() + " " + map["path"].get<std::string>();
    return text;
}

std::string withPresence(const Json& file) {
    return file["path"].get<std::string>() + (file["found"] ? "" : " (missing)");
}

std::string bytesText(std::uint64_t bytes) {
    constexpr double MEBIBYTE = 1 << 20;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f MiB", static_cast<double>(bytes) / MEBIBYTE);
    return text.data();
}

void print(const Json& facts, bool all) {
    std::puts(printable(facts["file"].get<std::string>()).c_str());
    printCounts(facts);
    printExtent(facts["extent"]);
    printList("objects", facts["objects"], all, withTriangles);
    printList("groups", facts["groups"], all, withTriangles);
    printList("libraries", facts["libraries"], all, withPresence);
    printList("materials", facts["materials"], all, withMaps);
    printList("textures", facts["textures"], all, withPresence);
    printLine("memory", bytesText(facts["memory"]));
}

int run(const CommandLine& line) {
    const bool json = valueOf(line, "json") != nullptr, all = valueOf(line, "all") != nullptr;
    int status = FINE;
    Json every = Json::array();
    for (const char* path : line.operands) {
        Model model;
        if (!readModel(path, model)) {
            status = UNUSABLE;
            continue;
        }
        Json facts = gather(path, model);
        json ? every.push_back(std::move(facts)) : print(facts, all);
    }
    // Names that are not UTF-8 get the replacement character.
    if (json) std::puts(every.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    return status;
}

constexpr Option OPTIONS[] = {
    {"all", nullptr, "show whole lists of groups, materials and files"},
    {"json", nullptr, "print an array of JSON objects, one for each file"},
};

}  // namespace

const Command INFO_COMMAND = {.name = "info",
                              .operands = "FILE...",
                              .least = 1,
                              .most = ANY_NUMBER,
                              .summary = "print what models hold: counts, extent, groups, materials, textures",
                              .details = "",
                              .options = OPTIONS,
                              .run = run};
