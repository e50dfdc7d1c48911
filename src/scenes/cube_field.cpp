#include "scenes/scenes.h"

#include "lighting.h"
#include "ryl.h"
#include "ryl_math.h"
#include "scenes/swarm.h"

#include <GL/freeglut.h>

#include <cmath>

namespace {

constexpr int FRONT_CUBES = 100;
constexpr float FRONT_REACH = 30;  // a front cube is drawn while its x lies within +-30
constexpr int FLOOR_REACH = 100, FLOOR_STEP = 10;
constexpr int FLOOR_ROW = 2 * FLOOR_REACH / FLOOR_STEP;  // cells
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

// 1 on each beat, falling to 0 before the next.
double pulseAt(double t) { return ryl_sawWave(static_cast<float>(BEATS_PER_SECOND * t)); }

bool isJustAfterBeat(double pulse) { return pulse > 0.99; }

// Bright cells shrink from each beat to the next. Just after a beat the seed advances with every cell, so in that
// frame each cell has another pattern; after it the floor has a new one until the next beat.
void drawFloor(unsigned cube, double t, int& seed) {
    constexpr float BRIGHT_ABOVE = 0.5f;
    const double pulse = pulseAt(t);
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
            if (isJustAfterBeat(pulse)) ++seed;
            glCallList(cube);
            glPopMatrix();
        }
    }
}

}  // namespace

int seedAfterCubeField(float t, int seed) {
    return isJustAfterBeat(pulseAt(t)) ? seed + FLOOR_ROW * FLOOR_ROW : seed;
}

void drawCubeField(const SceneFrame& frame, const char* line, int& seed) {
    const double t = frame.t;
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
    drawFloor(frame.cube, t, seed);
    drawSwarm(frame.cube, t);
    glPopMatrix();
    ryl_setLight0(0);
    glPopMatrix();
    leaveWhiteFog();
}
