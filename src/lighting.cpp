#include "lighting.h"

#include <GL/gl.h>

namespace {

constexpr float AMBIENT[] = {0.2f, 0.2f, 0.2f, 1.0f};
constexpr float DIFFUSE[] = {0.8f, 0.8f, 0.8f, 1.0f};
constexpr float SPECULAR[] = {0.5f, 0.5f, 0.5f, 1.0f};

}  // namespace

void ryl_setLight0(int on) {
    if (on == 0) {
        glDisable(GL_LIGHTING);
        return;
    }
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glLightfv(GL_LIGHT0, GL_AMBIENT, AMBIENT);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, DIFFUSE);
    glLightfv(GL_LIGHT0, GL_SPECULAR, SPECULAR);
}

void ryl_setAmbientLight(float red, float green, float blue, float alpha) {
    const float colour[] = {red, green, blue, alpha};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, colour);
}

void ryl_setLightData(float* vector, float a, float b, float c, float d) {
    vector[0] = a;
    vector[1] = b;
    vector[2] = c;
    vector[3] = d;
}

void ryl_enableLight(const LightData* light, int index) {
    const auto number = static_cast<GLenum>(GL_LIGHT0 + index);
    glEnable(GL_LIGHTING);
    glEnable(number);
    glLightfv(number, GL_DIFFUSE, light->diffuse);
    glLightfv(number, GL_SPECULAR, light->specular);
    glLightfv(number, GL_POSITION, light->position);
}
