#include "scenes/swarm.h"

#include "lighting.h"
#include "noise.h"

#include <GL/gl.h>

void enterWhiteFog() {
    constexpr float WHITE[] = {1, 1, 1, 1};
    ryl_setLight0(1);
    glEnable(GL_FOG);
    glFogi(GL_FOG_MODE, GL_EXP2);
    glFogfv(GL_FOG_COLOR, WHITE);
    glFogf(GL_FOG_DENSITY, 0.02f);
    glHint(GL_FOG_HINT, GL_NICEST);
}

void leaveWhiteFog() {
    glDisable(GL_FOG);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

float noise(double x, double y, int seed) {
    return ryl_perlin2DNoise(static_cast<float>(x), static_cast<float>(y), seed);
}

void drawSwarm(unsigned cube, double t) {
    constexpr int LAST = 200, STEP = 2;
    constexpr float REACH = 50;
    for (int i = 0; i < LAST; i += STEP) {
        // The three numbers are the axis and the colour; the last one is the depth too.
        const float a = noise(i, 0.2 * t, 32);
        const float b = noise(i, 0.3 * t, 33);
        const float c = noise(i, 0.4 * t, 34);
        glPushMatrix();
        glTranslatef(REACH * noise(i, 0.2 * t, 400), REACH * noise(i, 0.3 * t, 303), REACH * c);
        glRotatef(static_cast<float>(50 * t), a, b, c);
        glColor4f(a, b, c, 1);
        glCallList(cube);
        glPopMatrix();
    }
}
