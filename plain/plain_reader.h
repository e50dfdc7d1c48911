// plain_reader.h - OBJ geometry read by the rules as they stand: fscanf, token by token, twice over the file
//
// The second opinion on the library's reader and the baseline of its speed. Knows positions, normals, texture
// coordinates, faces and groups; no materials: "usemtl" is skipped, "mtllib" not allowed.
#pragma once

#include "glm/glm.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace plain {

// Arrays as in GLMmodel, without their unread first entry; findex is none.
struct Model {
    std::vector<float> vertices, normals, texcoords;
    std::vector<GLMtriangle> triangles;
    std::map<std::string, std::vector<std::uint32_t>> groups;
};

// Nothing when the file is one that the library refuses.
std::optional<Model> readOBJ(const char* path);

// Whether the library has read the same, bit for bit.
bool isSame(const Model& plain, const GLMmodel& model);

}  // namespace plain
