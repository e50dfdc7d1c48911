// The demo as it would be drawn without its short cuts: linked into the program before its libraries, this takes the place
// of the cube walls and of the noise.
#include "noise.h"
#include "plain_noise.h"
#include "plain_scenes.h"

void drawCubeWall(const SceneFrame& frame, bool bobbing) { plain::drawCubeWall(frame, bobbing); }

float ryl_perlin2DNoise(float x, float y, int seed) { return plain::perlin2DNoise(x, y, seed); }
