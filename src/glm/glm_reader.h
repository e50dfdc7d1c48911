// glm_reader.h - what the two halves of the OBJ reader share: the rules (glm_read.cpp), and the plain statements of which
// large models consist, scanned in place (glm_read_plain.cpp)
#pragma once

#include "glm/glm_text.h"
#include "glm/glm_util.h"

#include <string_view>
#include <unordered_map>

struct GLMgroupSlot {
    GLMgroup* group;
    std::uint32_t room;  // triangles that the first pass counted for it
};

struct GLMreader {
    GLMmodel* model;
    GLMimageLoader load;
    GLMtext text;
    char token[GLM_TOKEN_SIZE];
    std::uint64_t statement;  // place in the file where the current statement's token ends
    // Look-ups by name, for files with many groups and materials.
    std::unordered_map<std::string_view, GLMgroupSlot> groups;
    std::unordered_map<std::string_view, std::uint32_t> materials;  // the first one of each name
    GLMgroupSlot* group;                                            // current group
    std::uint32_t material;                                         // current material
};

struct GLMcorner {
    std::uint32_t position = GLM_NO_INDEX;
    std::uint32_t texcoord = GLM_NO_INDEX;
    std::uint32_t normal = GLM_NO_INDEX;
};

// What the second pass has filled so far. Text behind the numbers of a "v", "vn" or "vt" is read as a
// statement here but skipped while counting, so every store is checked against the counts.
struct GLMfilled {
    std::uint32_t vertices, normals, texcoords, triangles;
};

// ---- Counting, and filling in -------------------------------------------------------------------------------------

inline void __glmCountPosition(GLMmodel& model) { __glmCount(model, model.numvertices, 1, "positions"); }
inline void __glmCountNormal(GLMmodel& model) { __glmCount(model, model.numnormals, 1, "normals"); }
inline void __glmCountTexcoord(GLMmodel& model) { __glmCount(model, model.numtexcoords, 1, "texture coordinates"); }
inline void __glmCountTriangles(GLMreader& reader, std::uint32_t count) {
    __glmCount(*reader.model, reader.model->numtriangles, count, "triangles");
    reader.group->room += count;
}

// How many more triangles were counted for the current group.
inline std::uint32_t __glmTriangleRoom(const GLMreader& reader) {
    return reader.group->room - reader.group->group->numtriangles;
}

// To be called with the first triangle of a face.
inline void __glmStartFace(const GLMreader& reader) {
    GLMgroup& group = *reader.group->group;
    if (group.material == 0) group.material = reader.material;
}

inline void __glmAddTriangle(const GLMreader& reader, GLMfilled& filled, const GLMcorner& a, const GLMcorner& b,
                             const GLMcorner& c) {
    GLMgroup& group = *reader.group->group;
    reader.model->triangles[filled.triangles] = {.vindices = {a.position, b.position, c.position},
                                                 .nindices = {a.normal, b.normal, c.normal},
                                                 .tindices = {a.texcoord, b.texcoord, c.texcoord},
                                                 .findex = GLM_NO_INDEX,
                                                 .material = reader.material};
    group.triangles[group.numtriangles++] = filled.triangles++;
}

// ---- Plain statements ---------------------------------------------------------------------------------------------
//
// Nearly all of a large model consists of statements on one line each, of plain numbers and single blanks. These two take
// them one after the other, up to the first that is not of that kind, which is left where it is, to be read by the rules;
// filling also stops at one that was not counted. Without them reading takes twice as long.

void __glmCountPlain(GLMreader& reader);
void __glmFillPlain(GLMreader& reader, GLMfilled& filled);
