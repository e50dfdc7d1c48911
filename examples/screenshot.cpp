// screenshot.cpp - pictures to files: one of one's own at a moment, and every frame with "-c 1"
#include "ryl.h"
#include "show.h"
#include "textures.h"

#include <GL/freeglut.h>

#include <cmath>
#include <cstdio>
#include <string>

struct Memory {
    bool saved = false;
};

void drawDial(float t, Memory& memory) {
    for (int tick = 0; tick < 40; ++tick) {  // as many as there are frames in a second
        const float angle = -0.1571f * tick, share = std::fmod(t * 40 - tick + 4000, 40.0f) / 40;
        glPushMatrix();
        glRotatef(57.296f * angle, 0, 0, 1);
        glColor3f(1 - share, 0.7f - 0.5f * share, 0.2f + 0.3f * share);
        glRectf(-0.5f, 11, 0.5f, 17);
        glPopMatrix();
    }
    glColor3f(1, 1, 1);
    ryl_drawPolygonText((std::to_string(ryl_getTime()) + " ms").c_str(), -7, -1.5f, 0);

    // What is saved is the frame before: this one is not complete yet.
    if (t < 1 || memory.saved) return;
    memory.saved = true;
    ryl_screenshotUpright(static_cast<int>(ryl_Get(RYL_WIDTH)), static_cast<int>(ryl_Get(RYL_HEIGHT)), "moment.png",
                          6);
    std::puts("[*] moment.png is saved");
}

constexpr TimelineScene<Memory> SCENES[] = {{10, drawDial}};

void draw() {
    static ShowFrame frame = {.blur = 0};
    static Memory memory;
    ryl_drawShow(frame, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
