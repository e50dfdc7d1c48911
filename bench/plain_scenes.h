// plain_scenes.h - the cube scenes drawn cube by cube: what the demo's own scenes are compared with and timed against
//
// Needs    and leaves what scenes.h says.
#pragma once

#include "glm/glm.h"

namespace plain {

void drawCubeField(float time, GLMmodel* cube, const char* line, int& seed);
void drawCubeWall(float time, GLMmodel* cube, bool bobbing);

}  // namespace plain
