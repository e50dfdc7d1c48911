// glm_plain.h - vertex normals and welding as one writes them down first: the baselines of the library's speed
//
// Plain containers, no memory layout thought about, but nothing quadratic.
#pragma once

#include "glm/glm.h"

// Does what glmVertexNormals does without keep_existing. The model has facet normals.
void smoothPlainly(GLMmodel& model, float angle);

// Does what glmWeld does.
void weldPlainly(GLMmodel& model, float epsilon);
