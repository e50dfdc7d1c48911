// plain_scenes.h - the cube walls drawn cube by cube: the reference for the demo's own, and the baseline of their
// speed
//
// Needs and leaves what scenes.h says.
#pragma once

#include "scenes/scenes.h"

namespace plain {

void drawCubeWall(const SceneFrame& frame, bool bobbing);

}  // namespace plain
