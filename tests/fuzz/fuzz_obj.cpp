// An OBJ file and its material library in one input. Both kinds of entries read and refuse what the plain reader
// does, wherever in the file it is.
#include "fuzz.h"
#include "glm/glm_try.h"
#include "model_files.h"
#include "plain_reader.h"

namespace {

constexpr const char* PATH = "m.obj";
constexpr std::size_t WINDOW = std::size_t{256} * 1024;  // what the library holds of a file at once

// The text after comments, whose length makes the first window end inside the text.
std::string shifted(const std::string& text) {
    const std::size_t length = WINDOW - std::hash<std::string>()(text) % (text.size() + 1);
    std::string comments;
    while (comments.size() < length) comments += "# " + std::string(120, '-') + "\n";
    comments.resize(length - 1);
    return comments + "\n" + text;
}

}  // namespace

void feed(const std::string& input) {
    const std::string obj = input.substr(0, input.find('\x1d'));  // ASCII's group separator
    const std::string mtl = input.substr(std::min(obj.size() + 1, input.size()));
    writeFile(PATH, obj);
    writeFile("m.mtl", mtl);
    // The plain reader knows no materials, and fscanf differs in numbers such as "1e": no e, i, x, a, p.
    const bool known = obj.find_first_not_of("\t\n\v\f\r #+-./0123456789bcdfghklnorstuvwz") == std::string::npos;
    const auto expected = known ? plain::readOBJ(PATH) : std::nullopt;
    const auto read = [&]() -> std::string {
        Model model;
        const bool done = goesOn([&] { model.reset(glmReadOBJ(PATH)); });
        GLMoptions strictly;
        strictly.strict = true;
        const std::unique_ptr<GLMmodel, decltype(&glmFree)> tried(glmTryReadOBJ(PATH, nullptr, strictly), glmFree);
        assert(done == (tried != nullptr));
        if (known) assert(done == expected.has_value() && (!done || plain::isSame(*expected, *model)));
        if (!done) return "refused";
        return {reinterpret_cast<const char*>(model->triangles), model->numtriangles * sizeof *model->triangles};
    };
    const std::string asItStands = read();
    if (std::hash<std::string>()(input) % 4 != 0) return;  // the rest is slow
    writeFile(PATH, shifted(obj));
    writeFile("m.mtl", shifted(mtl));
    assert(read() == asItStands);
}
