#include "scenes/scenes.h"

#include "ryl.h"

#include <GL/gl.h>

#include <cmath>

namespace {

constexpr int RIBBONS = 100;
constexpr int RIBBON_STEPS = 100;  // pairs of vertices along a ribbon, one unit apart
constexpr float RIBBON_WIDTH = 2;
constexpr float RIBBON_Z = -5;
constexpr double ZOOM_START_S = 5.4;
constexpr float FULL_SCALE = 1.1f;

// Red and blue swing in quadrature; ribbon i starts one unit right of ribbon i - 1 and sways.
void drawRibbon(int i, double t) {
    glColor4f(static_cast<float>(0.5 * std::sin(i + t) + 0.6), 0, static_cast<float>(0.5 * std::cos(i + t) + 0.6), 1);
    const auto x = static_cast<float>(i - 50 + std::sin(i + t));
    glBegin(GL_TRIANGLE_STRIP);
    for (int j = 0; j < RIBBON_STEPS; ++j) {
        const auto y = static_cast<float>(j - 50);
        glVertex3f(x, y, RIBBON_Z);
        glVertex3f(x + RIBBON_WIDTH, y, RIBBON_Z);
    }
    glEnd();
}

}  // namespace

float zoomAfterRibbons(float t, float scale) {
    if (t <= ZOOM_START_S || scale >= FULL_SCALE) return scale;
    return static_cast<float>(2 * (t - ZOOM_START_S));
}

void drawRibbons(const SceneFrame& frame, const OpeningImages& images, float& scale) {
    const double t = frame.t;
    glPushMatrix();
    glPushMatrix();
    scale = zoomAfterRibbons(frame.t, scale);
    glScalef(scale, scale, scale);
    glRotatef(frame.t, 0, 0, 1);
    for (int i = 0; i < RIBBONS; ++i) drawRibbon(i, t);
    glPopMatrix();

    glColor4f(1, 1, 1, static_cast<float>(0.4 * t));
    ryl_draw2DTexture(10, -5, -0.1f, 14, 13.24f, images.spheres);
    ryl_draw2DTexture(3.8f, 10, -0.2f, 13, 4.89f, images.banner);
    ryl_draw2DTexture(-8, 4, -0.3f, 8, 4.2f, images.summer);
    glPopMatrix();
}
