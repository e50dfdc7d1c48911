// plain_reader.h - reads OBJ geometry in the plain way: fscanf, token by token, twice over the file
//
// The reference for the library's reader and the baseline of its speed. Knows positions, normals, texture
// coordinates, faces and groups. Knows no materials: skips "usemtl" and refuses "mtllib".
#pragma once

#include "glm/glm.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace plain {

// Arrays as in GLMmodel, but without their unused first entry; findex is GLM_NO_INDEX.
struct Model {
    std::vector<float> vertices, normals, texcoords;
    std::vector<GLMtriangle> triangles;
    std::map<std::string, std::vector<std::uint32_t>> groups;
};

// Nothing if the file is one that the library refuses.
std::optional<Model> readOBJ(const char* path);

// Whether the library has read the same data, bit for bit.
bool isSame(const Model& plain, const GLMmodel& model);

}  // namespace plain
