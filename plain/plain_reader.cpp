#include "plain_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
using Token = char[128];
struct Refused {};

struct Form {
    const char* pattern;
    int numbers;
    int texcoord, normal;  // which of the numbers it is; 3 is none
};
constexpr Form FORMS[] = {
    {"%lld//%lld", 2, 3, 1}, {"%lld/%lld/%lld", 3, 1, 2}, {"%lld/%lld", 2, 1, 3}, {"%lld", 1, 3, 3}};

void require(bool condition) {
    if (!condition) throw Refused();
}

int peek(std::FILE* file) { return std::ungetc(std::getc(file), file); }

std::string readLine(std::FILE* file) {
    Token line;
    return std::fgets(line, sizeof line, file) != nullptr ? line : "";
}

std::string groupName(std::FILE* file) {
    std::string name = readLine(file);
    if (!name.ends_with('\n')) return name;
    name.pop_back();
    if (name.ends_with('\r')) name.pop_back();
    return name;
}

// Reads a corner of the given form; returns false if no number comes next.
bool readCorner(std::FILE* file, const Form& form, GLMtriangle& triangle, int corner) {
    std::fscanf(file, " ");
    const int first = peek(file);
    const bool sign = first == '+' || first == '-';
    const long place = sign ? std::ftell(file) : 0;
    long long n[4] = {0, 0, 0, GLM_NO_INDEX};
    const int got = std::fscanf(file, form.pattern, &n[0], &n[1], &n[2]);
    if (got <= 0) {
        if (sign) std::fseek(file, place, SEEK_SET);  // a sign without digits is the next statement's
        return false;
    }
    require(got == form.numbers);
    for (const long long number : n) require(number >= INT32_MIN && number <= UINT32_MAX);
    triangle.vindices[corner] = static_cast<std::uint32_t>(n[0]);
    triangle.tindices[corner] = static_cast<std::uint32_t>(n[form.texcoord]);
    triangle.nindices[corner] = static_cast<std::uint32_t>(n[form.normal]);
    return true;
}

const Form& formOf(const Token& token) {
    if (std::strstr(token, "//") != nullptr) return FORMS[0];
    long long n[3];
    for (int i : {1, 2})
        if (std::sscanf(token, FORMS[i].pattern, &n[0], &n[1], &n[2]) == FORMS[i].numbers) return FORMS[i];
    return FORMS[3];
}

template <typename Use>
void readFace(std::FILE* file, Use use) {
    Token token;
    require(std::fscanf(file, "%127s", token) == 1);
    const File first(fmemopen(token, std::strlen(token), "r"), std::fclose);
    const Form& form = formOf(token);
    GLMtriangle triangle{};
    triangle.findex = GLM_NO_INDEX;
    require(readCorner(first.get(), form, triangle, 0));
    require(readCorner(file, form, triangle, 1) && readCorner(file, form, triangle, 2));
    do {
        use(triangle);
        for (auto* indices : {&triangle.vindices, &triangle.nindices, &triangle.tindices})
            (*indices)[1] = (*indices)[2];
    } while (readCorner(file, form, triangle, 2));
}

// The result of the first pass.
struct Counts {
    std::size_t vertices = 0, normals = 0, texcoords = 0;
    std::map<std::string, std::size_t> triangles;  // of each group
};

Counts count(std::FILE* file) {
    Counts counts;
    std::size_t* group = &counts.triangles["default"];
    Token token;
    while (std::fscanf(file, "%127s", token) == 1) {
        if (token[0] == 'f') {
            readFace(file, [&](const GLMtriangle&) { ++*group; });
            continue;
        }
        if (token[0] == 'g') {
            group = &counts.triangles[groupName(file)];
            continue;
        }
        if (token[0] == 'v') {
            require(token[1] == '\0' || token[1] == 'n' || token[1] == 't');
            ++(token[1] == '\0' ? counts.vertices : token[1] == 'n' ? counts.normals : counts.texcoords);
        }
        require(token[0] != 'm' && (token[0] != 'u' || std::strncmp(token, "usemtl", 6) == 0));
        readLine(file);
    }
    return counts;
}

void readVector(std::FILE* file, std::vector<float>& array, int size, std::size_t count) {
    require(array.size() < static_cast<std::size_t>(size) * count);
    float number = 0;
    for (int i = 0; i < size; ++i) {
        const bool optional = size == 2 && i == 1;  // a texture coordinate may have one number
        const long place = optional ? std::ftell(file) : 0;
        if (std::fscanf(file, "%f", &number) != 1) {
            require(optional);
            std::fseek(file, place, SEEK_SET);  // a sign without digits is the next statement's
            number = 0;
        }
        array.push_back(number);
    }
}

plain::Model fill(std::FILE* file, const Counts& counts) {
    plain::Model model;
    for (const auto& [name, triangles] : counts.triangles) model.groups[name].reserve(triangles);
    auto group = counts.triangles.find("default");
    auto* members = &model.groups["default"];
    Token token;
    while (std::fscanf(file, "%127s", token) == 1) {
        const std::string_view word = token;
        if (word == "v")
            readVector(file, model.vertices, 3, counts.vertices);
        else if (word.starts_with("vn"))
            readVector(file, model.normals, 3, counts.normals);
        else if (word.starts_with("vt"))
            readVector(file, model.texcoords, 2, counts.texcoords);
        else if (token[0] == 'g') {
            group = counts.triangles.find(groupName(file));
            require(group != counts.triangles.end());
            members = &model.groups[group->first];
        } else if (token[0] == 'f')
            readFace(file, [&](const GLMtriangle& triangle) {
                require(members->size() < group->second);
                members->push_back(static_cast<std::uint32_t>(model.triangles.size()));
                model.triangles.push_back(triangle);
            });
        else
            readLine(file);
    }
    const auto requireIndex = [](std::uint32_t index, std::size_t count) {
        require(index == GLM_NO_INDEX || index - 1 < count);
    };
    const std::size_t texcoords = model.texcoords.size() / 2;
    for (const GLMtriangle& triangle : model.triangles)
        for (int i = 0; i < 3; ++i) {
            require(triangle.vindices[i] - 1 < model.vertices.size() / 3);
            requireIndex(triangle.nindices[i], model.normals.size() / 3);
            if (texcoords > 0) requireIndex(triangle.tindices[i], texcoords);
        }
    return model;
}

}  // namespace

std::optional<plain::Model> plain::readOBJ(const char* path) {
    const File file(std::fopen(path, "r"), std::fclose);
    try {
        const Counts counts = count(file.get());
        std::rewind(file.get());
        return fill(file.get(), counts);
    } catch (const Refused&) {
        return std::nullopt;
    }
}

bool plain::isSame(const Model& plain, const GLMmodel& model) {
    const auto sameArray = [](const std::vector<float>& expected, const float* array, std::size_t size, auto count) {
        return expected.size() == size * count &&
               (count == 0 || std::memcmp(expected.data(), array + size, expected.size() * sizeof(float)) == 0);
    };
    const auto sameTriangle = [](const GLMtriangle& a, const GLMtriangle& b) {
        return std::memcmp(&a, &b, offsetof(GLMtriangle, findex)) == 0;
    };
    const auto sameGroup = [&](const auto& expected) {
        const GLMgroup* group = glmFindGroup(&model, expected.first.c_str());
        return group != nullptr && std::equal(expected.second.begin(), expected.second.end(), group->triangles,
                                              group->triangles + group->numtriangles);
    };
    return sameArray(plain.vertices, model.vertices, 3, model.numvertices) &&
           sameArray(plain.normals, model.normals, 3, model.numnormals) &&
           sameArray(plain.texcoords, model.texcoords, 2, model.numtexcoords) &&
           std::equal(plain.triangles.begin(), plain.triangles.end(), model.triangles,
                      model.triangles + model.numtriangles, sameTriangle) &&
           plain.groups.size() == model.numgroups && std::all_of(plain.groups.begin(), plain.groups.end(), sameGroup);
}
