// plain_scenes.h - cube walls drawn cube by cube: reference for the demo's own, and baseline of their speed
//
// Needs and leaves what scenes.h says.
#pragma once

#include "scenes/scenes.h"

namespace plain {

void drawCubeWall(const SceneFrame& frame, bool bobbing);

}  // namespace plain
