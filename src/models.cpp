#include "models.h"

#include "system.h"

#include <algorithm>
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

// The whole file as one string. Pipes have no size, and are read as they come.
std::string contents(std::FILE* file) {
    constexpr long PIECE = 1 << 16;
    const long left = ryl_bytesLeft(file);
    try {
        std::string text;
        std::size_t size = 0;
        do {
            text.resize(std::max(2 * size, static_cast<std::size_t>(left < 0 ? PIECE : left)));
            size += std::fread(text.data() + size, 1, text.size() - size, file);
        } while (left < 0 && size == text.size());
        text.resize(size);
        return text;
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
    const File file = ryl_openFile(path);
    if (!file) {
        std::printf("Couldn't open %s.\n", path);
        std::exit(-1);
    }
    const std::string text = contents(file.get());
    if (const std::optional<std::string> name = materialFileIn(text)) {
        std::printf("%s\n\n", name->c_str());
        const ryl_objModel model{.positions = 0, .normals = 0, .faces = 0, .materialFile = name->c_str()};
        readMtlToObj(&model);
    }
    return 0;
}

void readMtlToObj(const ryl_objModel* model) {
    const File file = ryl_openFile(model->materialFile);
    if (!file) {
        std::printf("[/] Couldn't material file %s.\n", model->materialFile);
        return;
    }
    if (countMaterials(contents(file.get())) == 0) std::puts("[/] No materials found");
}
