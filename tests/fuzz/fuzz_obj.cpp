// An OBJ file, its material library and an image in one input. The library reads and refuses what the plain reader does,
// wherever in the file it stands.
#include "fuzz.h"
#include "glm_plain_reader.h"

#include <functional>

namespace {

constexpr const char* NAMES[] = {"m.obj", "m.mtl", "image"};
constexpr char SEPARATOR = '\x1d';                       // of the three in the input
constexpr std::size_t WINDOW = std::size_t{256} * 1024;  // what the library holds of a file at once

// The text behind comments of such a length that the first window ends somewhere inside of it.
std::string shifted(const std::string& text) {
    const std::size_t length = WINDOW - std::hash<std::string>()(text) % (text.size() + 1);
    std::string comments;
    while (comments.size() < length) comments += "# " + std::string(120, '-') + "\n";
    comments.resize(length, '\n');
    return comments.replace(length - 1, 1, "\n") + text;
}

void readAs(const std::optional<PlainModel>& expected, bool known) {
    Model model;
    const bool read = goesOn([&] { model.reset(glmReadOBJ(NAMES[0])); });
    if (known) require(read == expected.has_value() && (!read || same(*expected, *model)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string rest(reinterpret_cast<const char*>(data), size);
    const std::string obj = rest.substr(0, rest.find(SEPARATOR));
    for (const char* name : NAMES) {
        const std::size_t end = std::min(rest.find(SEPARATOR), rest.size());
        writeFile(name, rest.substr(0, end));
        rest.erase(0, end + 1);
    }
    const bool known = obj.find("mtllib") == std::string::npos;  // the plain reader does without materials
    const auto expected = known ? readPlainly(NAMES[0]) : std::nullopt;
    readAs(expected, known);
    if (obj.size() % 8 != 0) return 0;  // slow
    writeFile(NAMES[0], shifted(obj));
    readAs(expected, known);
    return 0;
}
