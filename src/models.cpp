#include "models.h"

#include "system.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace {

// Characters of a keyword and its separator: "mtllib " or "newmtl ".
constexpr std::size_t KEYWORD_LENGTH = 7;

[[noreturn]] void failWithoutMemory() {
    std::puts("couldn't allocate memory");
    std::exit(-1);
}

// The bytes of a file; nothing if it cannot be read.
std::optional<std::string> contents(const char* path) {
    try {
        return ryl_readFile(path);
    } catch (const std::exception&) {
        failWithoutMemory();
    }
}

// The name in "mtllib NAME.mtl"; nothing, after a message, if there is none. Searches comments and all statements.
std::optional<std::string> materialFileIn(std::string_view text) {
    const std::size_t keyword = text.find("mtllib");
    if (keyword == std::string_view::npos) {
        std::printf("[/] No mtllib defined in the model");
        return std::nullopt;
    }
    constexpr std::string_view ENDING = ".mtl";
    const std::size_t start = keyword + KEYWORD_LENGTH;
    const std::size_t ending = text.find(ENDING);
    // An ending in front of the keyword leaves no name between the two.
    if (ending == std::string_view::npos || ending < start) {
        std::puts("[/] Invalid material filename.");
        return std::nullopt;
    }
    return std::string(text.substr(start, ending + ENDING.size() - start));
}

int countMaterials(std::string_view text) {
    int count = 0;
    for (std::size_t at = text.find("newmtl"); at != std::string_view::npos;
         at = text.find("newmtl", at + KEYWORD_LENGTH))
        ++count;
    return count;
}

}  // namespace

int ryl_loadObjModel(const char* path) {
    std::printf("[*] Loading %s.\n", path);
    const std::optional<std::string> text = contents(path);
    if (!text) {
        std::printf("Couldn't open %s.\n", path);
        std::exit(-1);
    }
    if (const std::optional<std::string> name = materialFileIn(*text)) {
        std::printf("%s\n\n", name->c_str());
        const ryl_objModel model{.positions = 0, .normals = 0, .faces = 0, .materialFile = name->c_str()};
        readMtlToObj(&model);
    }
    return 0;
}

void readMtlToObj(const ryl_objModel* model) {
    const std::optional<std::string> text = contents(model->materialFile);
    if (!text) {
        std::printf("[/] Couldn't material file %s.\n", model->materialFile);
        return;
    }
    if (countMaterials(*text) == 0) std::puts("[/] No materials found");
}
