// plain_geometry.h - vertex normals and welding as one writes them down first: the baselines of the library's speed
//
// Plain containers, no memory layout thought about, but nothing quadratic.
#pragma once

#include "glm/glm.h"

namespace plain {

// Does what glmVertexNormals does without keep_existing. The model has facet normals.
void vertexNormals(GLMmodel& model, float angle);

// Does what glmWeld does.
void weld(GLMmodel& model, float epsilon);

}  // namespace plain
