#include "scenes/scenes.h"

#include "lighting.h"
#include "scenes/cube_batch.h"
#include "scenes/swarm.h"

#include <GL/gl.h>

#include <cmath>

namespace {

constexpr int COLUMN_FIRST = -10, COLUMN_END = 10;
constexpr int ROW_FIRST = -100, ROW_END = 50;
constexpr float CUBE_SIDE = 0.9f;
constexpr int SLAB_CORNERS = (COLUMN_END - COLUMN_FIRST) * (ROW_END - ROW_FIRST) * 3 * 4;  // three faces a cube

// Twenty units before the camera, turning about its horizontal axis.
void drawLargeCube(unsigned cube, double t, bool bobbing) {
    const double y = bobbing ? 5.0 * noise(0.5 * t + 0.3, 0, 32) - 3 : 0.0;
    glPushMatrix();
    glTranslatef(static_cast<float>(1.5 * noise(t + 0.3, 0, 32)), static_cast<float>(y), 30);
    glRotatef(static_cast<float>(-300 * t), 1, 0, 0);
    glCallList(cube);
    glPopMatrix();
}

// All cubes of a row share its shift and its colour, so the slab bends like a snake, and the bands of colour run
// towards the camera. Near rows come first, so that the depth test saves what they cover.
void drawSlab(double t, bool bobbing) {
    CubeBatch slab;
    slab.reserve(SLAB_CORNERS);
    for (int row = ROW_END - 1; row >= ROW_FIRST; --row) {
        const double y = bobbing ? 5.0 * noise(0.01 * row + 0.5 * t, 0, 32) - 7 : -3.0;
        const double shift = 5.0 * noise(0.01 * row + 2 * t, 0, 32);
        const auto green = static_cast<float>(std::sin(row - 20 * t));
        for (int column = COLUMN_FIRST; column < COLUMN_END; ++column)
            addCube(slab, {static_cast<float>(shift + column), static_cast<float>(y), static_cast<float>(row),
                           CUBE_SIDE, 1, green, 1});
    }
    drawBatch(slab);
}

}  // namespace

void drawCubeWall(const SceneFrame& frame, bool bobbing) {
    const double t = frame.t;
    enterWhiteFog();
    // No push: the roll ends when the camera is placed anew after the scene.
    glRotatef(static_cast<float>(10.0 * noise(t, 0, 34)), 0, 0, 1);
    glPushMatrix();
    glColor4f(1, 1, 1, 1);
    glPushMatrix();
    drawLargeCube(frame.cube, t, bobbing);
    drawSlab(t, bobbing);
    drawSwarm(frame.cube, t);
    glPopMatrix();
    ryl_setLight0(0);
    glPopMatrix();
    leaveWhiteFog();
}
