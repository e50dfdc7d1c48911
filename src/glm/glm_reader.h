// glm_reader.h - what the two halves of the OBJ reader share: the rules (glm_read.cpp), and the plain statements of
// which large models consist, scanned in place (glm_read_plain.cpp)
#pragma once

#include "glm/glm_call.h"
#include "glm/glm_names.h"
#include "glm/glm_text.h"

struct GLMgroupSlot {
    GLMgroup* group;
    std::uint32_t room;  // triangles that the first pass counted for it
};

struct GLMreader {
    GLMcall& call;
    GLMmodel* model;
    GLMtext text;  // its statement is where the current statement's token ends
    char token[GLM_TOKEN_SIZE];
    std::unique_ptr<GLMgroupSlot[], __glmFree> groups;  // room is there for the next power of two
    std::uint32_t groupCount;
    GLMnames groupNames;     // their numbers in `groups`
    GLMnames materials;      // the first one of each name
    GLMgroupSlot* group;     // current group
    std::uint32_t material;  // current material
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

inline void __glmCountPosition(GLMreader& reader) {
    __glmTryCount(reader.call, *reader.model, reader.model->numvertices, 1, "positions");
}
inline void __glmCountNormal(GLMreader& reader) {
    __glmTryCount(reader.call, *reader.model, reader.model->numnormals, 1, "normals");
}
inline void __glmCountTexcoord(GLMreader& reader) {
    __glmTryCount(reader.call, *reader.model, reader.model->numtexcoords, 1, "texture coordinates");
}
inline void __glmCountTriangles(GLMreader& reader, std::uint32_t count) {
    if (__glmTryCount(reader.call, *reader.model, reader.model->numtriangles, count, "triangles"))
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
// Nearly all of a large model consists of statements on one line each, of plain numbers and single blanks. These two
// take them one after the other, up to the first that is not of that kind, which is left where it is, to be read by
// the rules; filling also stops at one that was not counted. Without them reading takes twice as long.

void __glmCountPlain(GLMreader& reader);
void __glmFillPlain(GLMreader& reader, GLMfilled& filled);
