// plain_scenes.h - the cube walls drawn cube by cube: what the demo's own are compared with and timed against
//
// Needs    and leaves what scenes.h says.
#pragma once

#include "scenes/scenes.h"

namespace plain {

void drawCubeWall(const SceneFrame& frame, bool bobbing);

}  // namespace plain
