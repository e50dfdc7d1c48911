#include "show.h"

#include "fbo.h"
#include "layers.h"

#include <GL/freeglut.h>

namespace {

int pixels(int selector) { return static_cast<int>(ryl_Get(selector)); }

// `share` of the bar is full, 0 to 1.
void drawBar(float share) {
    constexpr float HALF_LENGTH = 20, HALF_HEIGHT = 0.3f;  // scene units
    glColor4f(1, 1, 1, 1);
    glRectf(-HALF_LENGTH, -HALF_HEIGHT, HALF_LENGTH * (2 * share - 1), HALF_HEIGHT);
}

void drawPauseLine() {
    glColor4f(1, 1, 1, 1);
    ryl_infoText(-35, -20);
}

}  // namespace

void ryl_beginShowFrame(ShowFrame& frame) {
    glMatrixMode(GL_MODELVIEW);
    if (frame.target < 0) frame.target = ryl_loadFBO(pixels(RYL_WIDTH), pixels(RYL_HEIGHT));
    frame.picture = 0;
}

void ryl_beginShowScene(ShowFrame& frame, float t, float length) {
    glClearColor(0, 0, 0, 1);
    frame.picture = ryl_enableFBO(frame.target, 0, 0, 0);
    frame.opacity = ryl_fade(t, length, frame.fadeIn, frame.fadeOut);
    glColor4f(1, 1, 1, 1);
}

void ryl_endShowFrame(const ShowFrame& frame) {
    constexpr float HALF_WIDTH = 36.9f, HALF_HEIGHT = 20.8f;  // just beyond the view
    DrawOver over;
    if (frame.timeline.loaded == 0) over = [&] { drawBar(frame.timeline.progress / RYL_SHOW_BAR); };
    if (ryl_Get(RYL_PAUSED) != 0) over = drawPauseLine;
    const PictureLayers layers = {.opacity = frame.opacity, .picture = {frame.picture, 0, HALF_WIDTH, HALF_HEIGHT}};
    ryl_finishFrame(pixels(RYL_WIDTH), pixels(RYL_HEIGHT), layers, frame.blur, over);
    glutSwapBuffers();
}
