// The demo without its short cuts. The linker takes these functions before those of the libraries, so the program
// draws plain cube walls with plain noise.
#include "noise.h"
#include "plain_noise.h"
#include "plain_scenes.h"

void drawCubeWall(const SceneFrame& frame, bool bobbing) { plain::drawCubeWall(frame, bobbing); }

float ryl_perlin2DNoise(float x, float y, int seed) { return plain::perlin2DNoise(x, y, seed); }
