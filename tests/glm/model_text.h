// model_text.h - all that a model and its extras hold, as text to compare: exact numbers, and no defaults
#pragma once

#include "glm/glm_try.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

inline std::string numbersText(const float* numbers, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        char digits[32];
        (text += ' ').append(digits, std::to_chars(digits, digits + sizeof digits, numbers[i]).ptr);
    }
    return text;
}

// "[name] Ka .. d 0.5 shininess 64 map_Kd [wood.png]", and of the extras "Ke .. bump [options|path] [whole line]".
inline std::string materialText(const GLMmodel& model, const GLMextras* extras, std::uint32_t index) {
    const GLMmaterial& material = model.materials[index];
    std::string text = "[" + std::string(material.name) + "]";
    const auto add = [&](const char* keyword, const float* numbers, int count, const float* usual) {
        const bool shown =
            usual != nullptr ? numbersText(numbers, count) != numbersText(usual, count) : !std::isnan(numbers[0]);
        if (shown) text += std::string(" ") + keyword + numbersText(numbers, count);
    };
    constexpr float GREY[] = {0.2f, 0.2f, 0.2f, 1}, LIGHT[] = {0.8f, 0.8f, 0.8f}, BLACK[] = {0, 0, 0, 1},
                    SHININESS = 65;
    add("Ka", material.ambient, 4, GREY);
    add("Kd", material.diffuse, 3, LIGHT);
    add("Ks", material.specular, 4, BLACK);
    add("d", material.diffuse + 3, 1, BLACK + 3);
    add("shininess", &material.shininess, 1, &SHININESS);
    if (material.map_diffuse >= 0) text += " map_Kd [" + std::string(model.textures[material.map_diffuse].name) + "]";
    if (extras == nullptr) return text;
    const GLMmaterialextras& more = extras->materials[index];
    add("Ke", more.emission, 3, nullptr);
    add("Tf", more.transmission, 3, nullptr);
    const float numbers[] = {
        more.exponent,  more.refraction,         more.illum,      more.roughness,         more.metalness, more.sheen,
        more.clearcoat, more.clearcoatroughness, more.anisotropy, more.anisotropyrotation};
    constexpr const char* KEYWORDS[] = {"Ns", "Ni", "illum", "Pr", "Pm", "Ps", "Pc", "Pcr", "aniso", "anisor"};
    for (int i = 0; i < 10; ++i) add(KEYWORDS[i], &numbers[i], 1, nullptr);
    for (std::uint32_t i = 0; i < more.nummaps; ++i) {
        const GLMmap& map = more.maps[i];
        text += std::string(" ") + map.keyword + " [" + map.options + "|" + map.path + "]";
    }
    for (std::uint32_t i = 0; i < more.numothers; ++i) text += " [" + std::string(more.others[i]) + "]";
    return text;
}

inline std::string materialsText(const GLMmodel& model, const GLMextras* extras) {
    std::string text;
    for (std::uint32_t i = 0; i < model.nummaterials; ++i) text += materialText(model, extras, i) + "\n";
    return text;
}

// An index as text; "-" for none.
inline std::string indexText(std::uint32_t index) { return index == GLM_NO_INDEX ? "-" : std::to_string(index); }

// The elements, and the state of the triangles.
inline std::string extrasText(const GLMmodel& model, const GLMextras& extras) {
    std::string text;
    if (extras.colors != nullptr)
        text += "colors" + numbersText(extras.colors + 3, 3 * static_cast<int>(model.numvertices)) + "\n";
    for (std::uint32_t i = 0; i < extras.numgroups; ++i)
        text += "group [" + std::string(extras.groupnames[i]) + "]\n";
    for (std::uint32_t i = 0; i < extras.numobjects; ++i)
        text += "object [" + std::string(extras.objectnames[i]) + "]\n";
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        if (extras.objects != nullptr) text += " o" + indexText(extras.objects[i]);
        if (extras.smoothing != nullptr && extras.smoothing[i] != 0) text += " s" + indexText(extras.smoothing[i]);
    }
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        text += "\n" + std::string(1, "plf"[static_cast<int>(element.kind)]);
        for (std::uint32_t k = 0; k < element.count; ++k) {
            const GLMelementcorner& corner = extras.corners[element.first + k];
            text +=
                " " + indexText(corner.position) + "/" + indexText(corner.texcoord) + "/" + indexText(corner.normal);
        }
        text += " g" + indexText(element.group) + " o" + indexText(element.object) + " m" +
                indexText(element.material) + " s" + indexText(element.smoothing);
    }
    return text + "\n";
}

// All but where the model and its libraries are, and a default material that is as one without a library. `extras`
// may be null.
inline std::string modelText(const GLMmodel& model, const GLMextras* extras) {
    std::string text = materialsText(model, extras);
    if (text == "[default]\n") text.clear();
    const auto add = [&](const char* keyword, const float* numbers, std::uint32_t count, int size) {
        if (count > 0) text += keyword + numbersText(numbers + size, size * static_cast<int>(count)) + "\n";
    };
    add("v", model.vertices, model.numvertices, 3);
    add("vn", model.normals, model.numnormals, 3);
    add("vt", model.texcoords, model.numtexcoords, 2);
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next) {
        text += "[" + std::string(group->name) + "] m" + indexText(group->material);
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) text += " " + indexText(group->triangles[i]);
        text += "\n";
    }
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        const GLMtriangle& triangle = model.triangles[i];
        text += "f";
        for (int k = 0; k < 3; ++k)
            text += " " + indexText(triangle.vindices[k]) + "/" + indexText(triangle.tindices[k]) + "/" +
                    indexText(triangle.nindices[k]);
        text += " m" + indexText(triangle.material) + "\n";
    }
    return extras != nullptr ? text + extrasText(model, *extras) : text;
}
