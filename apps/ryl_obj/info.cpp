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

// How many faces have each value of a field.
std::vector<std::uint64_t> countBy(const GLMextras& extras, std::uint32_t values, std::uint32_t GLMelement::*field) {
    std::vector<std::uint64_t> counts(values);
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        const auto value = element.*field;
        if (value < values && element.kind == GLMelementkind::face) ++counts[value];
    }
    return counts;
}

Json groupsOf(const GLMextras& extras) {
    Json groups = Json::array();
    const auto faces = countBy(extras, extras.numgroups, &GLMelement::group);
    for (std::uint32_t i = 0; i < extras.numgroups; ++i)
        if (faces[i] > 0) groups.push_back({{"name", extras.groupnames[i]}, {"faces", faces[i]}});
    return groups;
}

Json objectsOf(const GLMextras& extras) {
    Json objects = Json::array();
    const auto faces = countBy(extras, extras.numobjects, &GLMelement::object);
    for (std::uint32_t i = 0; i < extras.numobjects; ++i)
        objects.push_back({{"name", extras.objectnames[i]}, {"faces", faces[i]}});
    return objects;
}

Json mapsOf(const GLMmaterialextras& material) {
    Json maps = Json::array();
    for (std::uint32_t i = 0; i < material.nummaps; ++i)
        maps.push_back({{"keyword", material.maps[i].keyword}, {"path", material.maps[i].path}});
    return maps;
}

// Without the default material, if nothing has it.
Json materialsOf(const Model& read) {
    const GLMmodel& model = *read.model;
    const auto faces = countBy(*read.extras, model.nummaterials, &GLMelement::material);
    Json materials = Json::array();
    for (std::uint32_t i = 0; i < model.nummaterials; ++i)
        if (i > 0 || faces[i] > 0)
            materials.push_back({{"name", model.materials[i].name},
                                 {"faces", faces[i]},
                                 {"maps", mapsOf(read.extras->materials[i])}});
    return materials;
}

Json found(const std::string& name, bool there) { return {{"path", name}, {"found", there}}; }

Json librariesOf(const Model& read) {
    Json libraries = Json::array();
    for (std::uint32_t i = 0; i < read.extras->numlibraries; ++i) {
        const char* const name = read.extras->libraries[i];
        libraries.push_back(found(name, findLibrary(*read.model, name).has_value()));
    }
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

// What the elements are: faces by the number of their corners, and the triangles that they make.
struct Elements {
    std::uint64_t points = 0, lines = 0, triangles = 0, quads = 0, larger = 0, made = 0;
};

Elements elementsOf(const GLMextras& extras) {
    Elements all;
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        if (element.kind == GLMelementkind::point) ++all.points;
        if (element.kind == GLMelementkind::line) ++all.lines;
        if (element.kind != GLMelementkind::face) continue;
        all.made += element.count - 2;
        ++(element.count == 3 ? all.triangles : element.count == 4 ? all.quads : all.larger);
    }
    return all;
}

// What the model takes in a program that reads it as triangles: its arrays, as glm.h describes them, and colours.
std::uint64_t bytesOf(const Model& read, std::uint64_t triangles) {
    constexpr std::uint64_t VECTOR = 3 * sizeof(float), TEXCOORD = 2 * sizeof(float);
    const GLMmodel& model = *read.model;
    const std::uint64_t colors = read.extras->colors != nullptr ? model.numvertices : 0;
    return VECTOR * (triangles + colors + model.numvertices + model.numnormals) + TEXCOORD * model.numtexcoords +
           (sizeof(GLMtriangle) + sizeof(std::uint32_t)) * triangles;
}

Json gather(const char* path, const Model& read) {
    const GLMmodel& model = *read.model;
    const GLMextras& extras = *read.extras;
    const Elements elements = elementsOf(extras);
    Json facts = {{"file", nameOf(path)},
                  {"positions", model.numvertices},
                  {"normals", model.numnormals},
                  {"texcoords", model.numtexcoords},
                  {"colors", extras.colors != nullptr},
                  {"faces", elements.triangles + elements.quads + elements.larger},
                  {"quads", elements.quads},
                  {"polygons", elements.larger},
                  {"triangles", elements.made},
                  {"lines", elements.lines},
                  {"points", elements.points},
                  {"extent", extentOf(model)},
                  {"groups", groupsOf(extras)},
                  {"objects", objectsOf(extras)},
                  {"libraries", librariesOf(read)},
                  {"materials", materialsOf(read)}};
    facts["textures"] = texturesOf(read, facts["materials"]);
    facts["memory"] = bytesOf(read, elements.made);
    return facts;
}

// ---- The text -----------------------------------------------------------------------------------------------------

void printLine(const char* what, const std::string& value) { std::printf("  %-20s %s\n", what, value.c_str()); }

// JSON's numbers are in the C locale.
std::string numberText(const Json& number) { return number.dump(); }

void printCounts(const Json& facts) {
    constexpr std::array<std::array<const char*, 2>, 9> COUNTS = {{{"positions", "positions"},
                                                                   {"normals", "normals"},
                                                                   {"texcoords", "texture coordinates"},
                                                                   {"faces", "faces"},
                                                                   {"quads", "  of four corners"},
                                                                   {"polygons", "  of more"},
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

std::string withFaces(const Json& entry) {
    const bool one = entry["faces"] == 1;
    return entry["name"].get<std::string>() + " (" + numberText(entry["faces"]) + (one ? " face)" : " faces)");
}

std::string withMaps(const Json& material) {
    std::string text = withFaces(material);
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
    printList("objects", facts["objects"], all, withFaces);
    printList("groups", facts["groups"], all, withFaces);
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
        GLMoptions options;
        options.polygons = true;
        if (!readModel(path, model, options)) {
            status = UNUSABLE;
            continue;
        }
        Json facts = gather(path, model);
        if (json)
            every.push_back(std::move(facts));
        else
            print(facts, all);
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
