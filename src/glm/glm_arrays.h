// glm_arrays.h - a model as arrays for vertex buffers
//
//   GLMarrays* arrays = glmTryMakeArrays(model, &error);
//   glBufferData(GL_ARRAY_BUFFER, arrays->numvertices * arrays->stride, arrays->vertices, GL_STATIC_DRAW);
//   glBufferData(GL_ELEMENT_ARRAY_BUFFER, arrays->numindices * sizeof(std::uint32_t), arrays->indices, GL_STATIC_DRAW);
//   glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, arrays->stride, offset 0);   // and so on, where a part is there
//   for (each range) glDrawElements(GL_TRIANGLES, range.count, GL_UNSIGNED_INT, offset range.first * 4);
//   glmFreeArrays(arrays);
//
// Never    prints, ends the process, throws, changes the model, touches the GL.
// Threads  any, as many at once as there are; also on one model.
#pragma once

#include "glm/glm_try.h"

#pragma GCC visibility push(default)

// The triangles of one material: indices `first` .. `first + count - 1`.
struct GLMrange {
    std::uint32_t first, count;
    std::uint32_t material;
};

// Vertices are floats, part behind part: position (3), then what there is of normal (3), texture coordinate (2) and
// colour (3).
struct GLMarrays {
    std::uint32_t numvertices;
    float* vertices;         // or null where there is none
    std::size_t stride;      // bytes from one vertex to the next
    std::uint32_t normal;    // bytes from a vertex to its normal, or GLM_NO_INDEX where vertices have none
    std::uint32_t texcoord;  // so with these
    std::uint32_t color;
    std::uint32_t numindices;
    std::uint32_t* indices;  // of vertices, from 0; three for each triangle, counter-clockwise as in the model
    std::uint32_t numranges;
    GLMrange* ranges;  // one for each material that triangles have, in the order of materials
};

struct GLMarrayoptions {
    std::size_t size = sizeof(GLMarrayoptions);  // lets later versions add fields at the end
    bool normals = true;                         // false: leaves normals out
    bool flat = false;                           // true: facet normals, even where there are vertex normals
    bool texcoords = true;                       // false: leaves texture coordinates out
    const GLMextras* extras = nullptr;           // whose colours the vertices get; of as many positions; null: none
};

// Makes arrays of the model's triangles (the model not null, its indices in range), sorted by material, in file order
// within a material. Vertices whose bits are equal are one, where -0 counts as 0; they stand in the order in which
// the indices use them first. Takes linear time. Normals are there when the model has any: the corner's own one, or
// its facet normal where it has none; a corner that has neither gets (0, 0, 0), one without a texture coordinate (0,
// 0). Null when it fails: memory is short, or there are more corners than an index can tell apart. The caller
// releases the arrays with glmFreeArrays.
GLMarrays* glmTryMakeArrays(const GLMmodel* model, GLMerror* error = nullptr, const GLMarrayoptions& options = {});

// Releases the arrays (or null) and all they own.
void glmFreeArrays(GLMarrays* arrays);

#pragma GCC visibility pop
