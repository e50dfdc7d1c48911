// plain_geometry.h - straightforward vertex normals and welding: the baselines of the library's speed
//
// Plain containers and no special memory layout, but nothing quadratic.
#pragma once

#include "glm/glm.h"

namespace plain {

// Does the same as glmVertexNormals without keep_existing. The model must have facet normals.
void vertexNormals(GLMmodel& model, float angle);

// Does the same as glmWeld.
void weld(GLMmodel& model, float epsilon);

}  // namespace plain
