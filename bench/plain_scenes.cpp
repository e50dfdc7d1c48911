// Every cube by itself, its noise asked for where it is needed, matrix and all: the scenes written down straight.
#include "plain_scenes.h"

#include "glm/glm.h"
#include "lighting.h"
#include "ryl.h"
#include "ryl_math.h"
#include "scenes/scenes.h"
#include "scenes/swarm.h"

#include <GL/freeglut.h>

#include <cmath>

namespace {

void drawSwarm(GLMmodel* cube, double t) {
    constexpr int LAST = 200, STEP = 2;
    constexpr float REACH = 50;
    for (int i = 0; i < LAST; i += STEP) {
        // The three numbers are axis and colour at once, and the last one the depth as well.
        const float a = noise(i, 0.2 * t, 32);
        const float b = noise(i, 0.3 * t, 33);
        const float c = noise(i, 0.4 * t, 34);
        glPushMatrix();
        glTranslatef(REACH * noise(i, 0.2 * t, 400), REACH * noise(i, 0.3 * t, 303), REACH * c);
        glRotatef(static_cast<float>(50 * t), a, b, c);
        glColor4f(a, b, c, 1);
        glmDraw(cube, GLM_FLAT);
        glPopMatrix();
    }
}

constexpr int FRONT_CUBES = 100;
constexpr float FRONT_REACH = 30;  // a front cube is drawn while its x lies within +-30
constexpr int FLOOR_REACH = 100, FLOOR_STEP = 10;
constexpr double BEATS_PER_SECOND = 3;

// Each cube has a fixed place in the row; all slide to the right at 10 units a second and shake together.
void drawFrontRow(double t) {
    for (int i = 0; i < FRONT_CUBES; ++i) {
        const auto x = static_cast<float>(std::sin(20 * t) + 10 * t + 200.0 * noise(i, 0, 222) - 300);
        if (x <= -FRONT_REACH || x >= FRONT_REACH) continue;
        glPushMatrix();
        glColor4f(0, 1, 0, 1);
        glTranslatef(x, 20 * noise(i, 0, 303), 20);
        glRotatef(static_cast<float>(30 * t), 0, 1, 0.01f);
        glutSolidCube(3.0);
        glPopMatrix();
    }
}

// Bright cells shrink from each beat to the next. Just after a beat the seed advances with every cell, so
// each cell of that frame asks another pattern, and the floor has a new one until the next beat.
void drawFloor(GLMmodel* cube, double t, int& seed) {
    constexpr float BRIGHT_ABOVE = 0.5f;
    constexpr double JUST_AFTER_BEAT = 0.99;
    const double pulse = ryl_sawWave(static_cast<float>(BEATS_PER_SECOND * t));
    const auto size = static_cast<float>(pulse);
    for (int x = -FLOOR_REACH; x < FLOOR_REACH; x += FLOOR_STEP) {
        for (int z = -FLOOR_REACH; z < FLOOR_REACH; z += FLOOR_STEP) {
            glPushMatrix();
            glTranslatef(static_cast<float>(x), -10, static_cast<float>(z));
            if (noise(x, z, seed) > BRIGHT_ABOVE) {
                glColor4f(0, 1, 0, 1);
                glScalef(size, size, size);
            } else {
                glColor4f(0, 0.2f, 0, 1);
            }
            if (pulse > JUST_AFTER_BEAT) ++seed;
            glmDraw(cube, GLM_FLAT);
            glPopMatrix();
        }
    }
}

constexpr int COLUMN_FIRST = -10, COLUMN_END = 10;
constexpr int ROW_FIRST = -100, ROW_END = 50;
constexpr double CUBE_SIDE = 0.9;

// Twenty units before the camera, turning about its horizontal axis.
void drawLargeCube(GLMmodel* cube, double t, bool bobbing) {
    const double y = bobbing ? 5.0 * noise(0.5 * t + 0.3, 0, 32) - 3 : 0.0;
    glPushMatrix();
    glTranslatef(static_cast<float>(1.5 * noise(t + 0.3, 0, 32)), static_cast<float>(y), 30);
    glRotatef(static_cast<float>(-300 * t), 1, 0, 0);
    glmDraw(cube, GLM_FLAT);
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

void drawCubeField(float time, GLMmodel* cube, const char* line, int& seed) {
    const double t = time;
    enterWhiteFog();
    glPushMatrix();
    drawFrontRow(t);
    glPopMatrix();

    glPushMatrix();
    glColor4f(0, 0, 0, 1);
    ryl_drawPolygonText(line, static_cast<float>(30 - 20 * t), -15, 0);
    glPopMatrix();

    // Floor and swarm turn together about a slowly wandering axis.
    glPushMatrix();
    glRotatef(static_cast<float>(50 * t), noise(100, 0.2 * t, 32), noise(100, 0.3 * t, 33), noise(100, 0.4 * t, 34));
    glColor4f(1, 1, 1, 1);
    glPushMatrix();
    drawFloor(cube, t, seed);
    drawSwarm(cube, t);
    glPopMatrix();
    ryl_setLight0(0);
    glPopMatrix();
    leaveWhiteFog();
}

void drawCubeWall(float time, GLMmodel* cube, bool bobbing) {
    const double t = time;
    enterWhiteFog();
    // Not pushed: the roll is over when the frame's picture is done and the camera is placed anew.
    glRotatef(static_cast<float>(10.0 * noise(t, 0, 34)), 0, 0, 1);
    glPushMatrix();
    glColor4f(1, 1, 1, 1);
    glPushMatrix();
    drawLargeCube(cube, t, bobbing);
    for (int column = COLUMN_FIRST; column < COLUMN_END; ++column)
        for (int row = ROW_FIRST; row < ROW_END; ++row) drawSlabCube(column, row, t, bobbing);
    drawSwarm(cube, t);
    glPopMatrix();
    ryl_setLight0(0);
    glPopMatrix();
    leaveWhiteFog();
}

}  // namespace plain
