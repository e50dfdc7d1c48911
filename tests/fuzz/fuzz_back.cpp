// An OBJ file and its material library in one input, read with their extras. What is written of them reads back the
// same, and a second writing gives the same bytes.
#include "fuzz.h"
#include "glm/glm_try.h"
#include "model_text.h"
#include "temp_dir.h"

#include <algorithm>
#include <filesystem>
#include <memory>

namespace {

struct Read {
    GLMmodel* model = nullptr;
    GLMextras* extras = nullptr;
    Read() = default;
    Read(const Read&) = delete;
    Read& operator=(const Read&) = delete;
    ~Read() {
        if (model != nullptr) glmFree(model);
        glmFreeExtras(extras);
    }
};

bool read(const char* path, bool withExtras, bool polygons, Read& to) {
    GLMoptions options;
    options.polygons = polygons;
    if (withExtras) options.extras = &to.extras;
    to.model = glmTryReadOBJ(path, nullptr, options);
    assert((to.model != nullptr && withExtras) == (to.extras != nullptr));
    return to.model != nullptr;
}

// The files that writing makes, in a folder of their own.
std::string write(Read& from) {
    std::filesystem::remove_all("back");
    std::filesystem::create_directory("back");
    GLMoptions options;
    if (from.extras != nullptr) options.extras = &from.extras;
    GLMerror error{};
    const bool done = glmTryWriteOBJ(from.model, "back/m.obj", GLM_ALL, &error, options);
    if (!done) std::fprintf(stderr, "%s\n", error.text);
    assert(done);
    std::string bytes;
    for (const auto& entry : std::filesystem::directory_iterator("back")) bytes += readFile(entry.path());
    return bytes;
}

void requireReadsBack(bool withExtras, bool polygons) {
    Read first, second;
    if (!read("m.obj", withExtras, polygons, first)) return;
    const std::string bytes = write(first);
    const bool done = read("back/m.obj", withExtras, polygons, second);
    assert(done || first.model->numvertices == 0);  // nothing may be left to say
    if (!done) return;
    const std::string was = modelText(*first.model, first.extras), is = modelText(*second.model, second.extras);
    if (was != is) std::fprintf(stderr, "%s\n\nbecame\n\n%s\n", was.c_str(), is.c_str());
    assert(was == is);
    assert(write(second) == bytes);
}

}  // namespace

void feed(const std::string& bytes) {
    std::string input = bytes;
    std::replace(input.begin(), input.end(), '\0', '!');  // ends a name in front of its end, which loses blanks
    const std::string obj = input.substr(0, input.find('\x1d'));  // ASCII's group separator
    writeFile("m.obj", obj);
    writeFile("m.mtl", input.substr(std::min(obj.size() + 1, input.size())));
    requireReadsBack(true, false);
    requireReadsBack(true, true);
    requireReadsBack(false, false);
}
