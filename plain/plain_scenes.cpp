// Draws the slab cube by cube, each with a matrix and with noise of its own.
#include "plain_scenes.h"

#include "lighting.h"
#include "scenes/swarm.h"

#include <GL/freeglut.h>

#include <cmath>

namespace {

constexpr int COLUMN_FIRST = -10, COLUMN_END = 10;
constexpr int ROW_FIRST = -100, ROW_END = 50;
constexpr double CUBE_SIDE = 0.9;

// Twenty units before the camera, turning about its horizontal axis.
void drawLargeCube(unsigned cube, double t, bool bobbing) {
    const double y = bobbing ? 5.0 * noise(0.5 * t + 0.3, 0, 32) - 3 : 0.0;
    glPushMatrix();
    glTranslatef(static_cast<float>(1.5 * noise(t + 0.3, 0, 32)), static_cast<float>(y), 30);
    glRotatef(static_cast<float>(-300 * t), 1, 0, 0);
    glCallList(cube);
    glPopMatrix();
}

void drawSlabCube(int column, int row, double t, bool bobbing) {
    const double y = bobbing ? 5.0 * noise(0.01 * row + 0.5 * t, 0, 32) - 7 : -3.0;
    const double shift = 5.0 * noise(0.01 * row + 2 * t, 0, 32);
    glPushMatrix();
    glTranslatef(static_cast<float>(shift + column), static_cast<float>(y), static_cast<float>(row));
    glColor4f(1, static_cast<float>(std::sin(row - 20 * t)), 1, 1);
    glutSolidCube(CUBE_SIDE);
    glPopMatrix();
}

}  // namespace

namespace plain {

void drawCubeWall(const SceneFrame& frame, bool bobbing) {
    const double t = frame.t;
    enterWhiteFog();
    // No push: the roll ends when the camera is placed anew after the scene.
    glRotatef(static_cast<float>(10.0 * noise(t, 0, 34)), 0, 0, 1);
    glPushMatrix();
    glColor4f(1, 1, 1, 1);
    glPushMatrix();
    drawLargeCube(frame.cube, t, bobbing);
    for (int column = COLUMN_FIRST; column < COLUMN_END; ++column)
        for (int row = ROW_FIRST; row < ROW_END; ++row) drawSlabCube(column, row, t, bobbing);
    drawSwarm(frame.cube, t);
    glPopMatrix();
    ryl_setLight0(0);
    glPopMatrix();
    leaveWhiteFog();
}

}  // namespace plain
