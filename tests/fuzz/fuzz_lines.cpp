// An OBJ file and its material library in one input, behind a byte of options, for the entries whose errors return. A
// text gives the same model, or the same error, whatever it is read from, however it is cut, and on any number of
// threads; all that is in the model is in range.
#include "fuzz.h"
#include "glm/glm_call.h"

#include <memory>
#include <vector>

namespace {

constexpr const char* PATH = "m.obj";

template <typename T>
void add(std::string& text, const T* items, std::size_t count) {
    text += std::to_string(count) + ":";
    if (items != nullptr) text.append(reinterpret_cast<const char*>(items), count * sizeof(T));
}
void add(std::string& text, char* const* strings, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) text += std::string(strings[i]) + "\n";
}

bool isIn(std::uint32_t index, std::uint32_t count) { return index - 1 < count; }
bool isInOrNone(std::uint32_t index, std::uint32_t count) { return index == GLM_NO_INDEX || isIn(index, count); }

void requireRange(const GLMmodel& model, bool strict) {
    for (std::uint32_t i = 0; i < model.numtriangles; ++i) {
        const GLMtriangle& triangle = model.triangles[i];
        assert(triangle.findex == i + 1 && (triangle.material == 0 || triangle.material < model.nummaterials));
        for (int k = 0; k < 3; ++k) {
            assert(isIn(triangle.vindices[k], model.numvertices));
            assert(isInOrNone(triangle.nindices[k], model.numnormals));
            assert((strict && model.numtexcoords == 0) || isInOrNone(triangle.tindices[k], model.numtexcoords));
        }
    }
}

void requireRange(const GLMmodel& model, const GLMextras& extras) {
    std::uint32_t next = 0;
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        assert(element.first == next && element.group < extras.numgroups);
        assert(element.object == GLM_NO_INDEX || element.object < extras.numobjects);
        next += element.count;
    }
    assert(next == extras.numcorners && extras.nummaterials == model.nummaterials);
    for (std::uint32_t i = 0; i < extras.numcorners; ++i) {
        const GLMelementcorner& corner = extras.corners[i];
        assert(isIn(corner.position, model.numvertices) && isInOrNone(corner.normal, model.numnormals) &&
               isInOrNone(corner.texcoord, model.numtexcoords));
    }
}

void add(std::string& text, const GLMmodel& model) {
    add(text, model.vertices + 3, std::size_t{3} * model.numvertices);
    add(text, model.normals != nullptr ? model.normals + 3 : nullptr, std::size_t{3} * model.numnormals);
    add(text, model.texcoords != nullptr ? model.texcoords + 2 : nullptr, std::size_t{2} * model.numtexcoords);
    add(text, model.facetnorms + 3, std::size_t{3} * model.numfacetnorms);
    add(text, model.triangles, model.numtriangles);
    std::uint32_t members = 0;
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next) {
        text += group->name;
        add(text, group->triangles, group->numtriangles);
        text += std::to_string(group->material);
        members += group->numtriangles;
    }
    assert(members == model.numtriangles);
}

void add(std::string& text, const GLMmodel& model, const GLMextras& extras) {
    add(text, extras.colors != nullptr ? extras.colors + 3 : nullptr, std::size_t{3} * model.numvertices);
    add(text, extras.objects, model.numtriangles);
    add(text, extras.smoothing, model.numtriangles);
    add(text, extras.elements, extras.numelements);
    add(text, extras.corners, extras.numcorners);
    add(text, extras.groupnames, extras.numgroups);
    add(text, extras.objectnames, extras.numobjects);
    add(text, extras.libraries, extras.numlibraries);
}

// All that reading gives.
std::string read(const GLMmodelsource& source, GLMoptions options, bool wantsExtras, std::size_t chunk) {
    std::string text;
    GLMextras* extras = nullptr;
    if (wantsExtras) options.extras = &extras;
    options.data = &text;
    options.warn = [](void* data, const GLMwarning& warning) {
        *static_cast<std::string*>(data) +=
            std::to_string(warning.line) + warning.text + std::to_string(warning.count);
    };
    GLMerror error{};
    GLMcall call;
    __glmLetReturn(call, &error, options);
    call.chunk = chunk;
    call.baseline = source.file != nullptr;
    const std::unique_ptr<GLMmodel, decltype(&glmFree)> model(__glmTryRead(call, source), glmFree);
    const std::unique_ptr<GLMextras, decltype(&glmFreeExtras)> owned(extras, glmFreeExtras);
    if (model == nullptr) {
        assert(extras == nullptr);
        return std::to_string(error.line) + error.text;
    }
    requireRange(*model, options.strict);
    add(text, *model);
    if (extras == nullptr) return text;
    requireRange(*model, *extras);
    add(text, *model, *extras);
    return text;
}

}  // namespace

void feed(const std::string& input) {
    const unsigned bits = input.empty() ? 0 : static_cast<unsigned char>(input[0]);
    const std::string rest = input.substr(input.empty() ? 0 : 1), obj = rest.substr(0, rest.find('\x1d'));
    writeFile("m.mtl", rest.substr(std::min(obj.size() + 1, rest.size())));
    writeFile(PATH, obj);
    GLMoptions options;
    options.strict = (bits & 1) != 0;
    options.polygons = (bits & 2) != 0;
    options.libraries = (bits & 4) == 0;
    const bool wantsExtras = (bits & 8) == 0;
    // Without room behind it, for the sanitizer.
    const std::vector<char> bytes(obj.begin(), obj.end());
    const GLMmodelsource memory{PATH, nullptr, bytes.empty() ? "" : bytes.data(), bytes.size()},
        file{PATH, nullptr, nullptr, 0};
    options.threads = 1;
    const std::string expected = read(file, options, wantsExtras, 0);
    const std::size_t chunk = 1 + std::hash<std::string>()(input) % 100;
    const std::string inChunks = read(memory, options, wantsExtras, chunk);
    assert(inChunks == expected);
    if (!obj.empty()) {
        // A stream without a file is read as it comes.
        std::string copy = obj;
        const std::unique_ptr<std::FILE, decltype(&std::fclose)> stream(fmemopen(copy.data(), copy.size(), "r"),
                                                                        std::fclose);
        const std::string asItComes = read({PATH, stream.get(), nullptr, 0}, options, wantsExtras, chunk);
        assert(asItComes == expected);
    }
    options.threads = 3;
    // In a few pieces: threads wait for each other at each one.
    const std::string byThreads = read(memory, options, wantsExtras, 1 + obj.size() / (1 + chunk % 8));
    assert(byThreads == expected);
}
