// lights.cpp - three coloured lights that circle over a plain of white and grey spheres
#include "lighting.h"
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

#include <cmath>

struct Memory {};  // nothing outlives a frame

// The light shines from (x, y, z) of the frame that is current.
void shine(int index, float red, float green, float blue, float angle) {
    LightData light = {};
    ryl_setLightData(light.diffuse, red, green, blue, 1);
    ryl_setLightData(light.specular, red, green, blue, 1);
    ryl_setLightData(light.position, 18 * std::cos(angle), 18 * std::sin(angle), 9, 1);  // 1: a place, 0: a direction
    ryl_enableLight(&light, index);
}

void drawSpheres(float t, Memory&) {
    const float white[] = {1, 1, 1, 1};
    glRotatef(40, -1, 0, 0);
    ryl_setAmbientLight(0.05f, 0.05f, 0.08f, 1);
    shine(0, 1, 0.2f, 0.1f, t);
    shine(1, 0.1f, 0.9f, 0.3f, t + 2.1f);
    shine(2, 0.2f, 0.3f, 1, t + 4.2f);
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, white);
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 50);
    for (int y = -3; y <= 3; ++y)
        for (int x = -5; x <= 5; ++x) {
            glPushMatrix();
            glTranslatef(6 * x, 6 * y, 0);
            const float grey = (x + y) % 2 == 0 ? 0.9f : 0.5f;
            glColor3f(grey, grey, grey);
            glutSolidSphere(2.6, 32, 24);
            glPopMatrix();
        }
    for (const int light : {GL_LIGHT0, GL_LIGHT1, GL_LIGHT2}) glDisable(light);
    ryl_setLight0(0);
}

constexpr TimelineScene<Memory> SCENES[] = {{10, drawSpheres}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
