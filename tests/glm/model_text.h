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
