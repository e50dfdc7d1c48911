// targets.cpp - render targets: a teapot is drawn into one, which is then the picture on three screens
#include "fbo.h"
#include "lighting.h"
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

struct Memory {
    int l_target = 0;
    int target = 0;
    ShowFrame frame;
};

void makeTarget(Memory& memory) { memory.target = ryl_loadFBO(512, 288); }

void drawScreens(float t, Memory& memory) {
    // A clear uses the colour that was set before it; the one given here is for the clear after it.
    glClearColor(0.1f, 0.3f, 0.5f, 1);
    const unsigned picture = ryl_enableFBO(memory.target, 0.02f, 0.02f, 0.06f);
    glRotatef(40 * t, 0.3f, 1, 0);
    glColor3f(1, 0.6f, 0.2f);
    ryl_setLight0(1);
    glutSolidTeapot(14);
    ryl_setLight0(0);

    ryl_enableFBO(memory.frame.target, 0, 0, 0);  // back to the target of the show
    for (int i = -1; i <= 1; ++i) {
        glPushMatrix();
        glTranslatef(25 * i, 0, i == 0 ? -4 : 2);
        glRotatef(-50 * i, 0, 1, 0);
        glColor3f(0.5f, 0.5f, 0.6f);
        glRectf(-14.3f, -8.3f, 14.3f, 8.3f);
        glColor3f(1, 1, 1);
        ryl_draw2DTexture(0, 0, -0.1f, 13.5f, 7.6f, picture);
        glPopMatrix();
    }
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_target, makeTarget}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawScreens}};

void draw() {
    static Memory memory;
    ryl_drawShow(memory.frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
