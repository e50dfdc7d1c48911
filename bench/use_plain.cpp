// The demo as it would be drawn without any of its short cuts: linked into the program before its libraries, this takes
// the place of the scenes, of the one-pass finish and of the noise.
#include "layers.h"
#include "noise.h"
#include "plain_noise.h"
#include "plain_scenes.h"
#include "scenes/scenes.h"

namespace {

GLMmodel* cube() {
    static GLMmodel* const model = glmReadOBJ("data/cubeobj.obj");
    return model;
}

}  // namespace

void drawCubeField(const SceneFrame& frame, const char* line, int& seed) {
    plain::drawCubeField(frame.t, cube(), line, seed);
}

void drawCubeWall(const SceneFrame& frame, bool bobbing) { plain::drawCubeWall(frame.t, cube(), bobbing); }

bool ryl_blendLayers(int, int, const PictureLayers&, float) { return false; }

float ryl_perlin2DNoise(float x, float y, int seed) { return plain::perlin2DNoise(x, y, seed); }
