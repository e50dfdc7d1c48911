// pictures.cpp - textures on quads: a picture as the background, copies of it that turn, and a logo with clear parts
#include "ryl.h"
#include "show.h"
#include "textures.h"

#include <GL/freeglut.h>

struct Memory {
    int l_pictures = 0;
    unsigned spheres = 0, banner = 0;  // textures
};

void loadPictures(Memory& memory) {
    memory.spheres = ryl_loadPNG("data/images/spheres.png");
    memory.banner = ryl_loadPNG("data/images/banner.png");
}

void drawPictures(float t, Memory& memory) {
    glColor3f(0.2f, 0.25f, 0.4f);  // the current colour tints
    ryl_draw2DTexture(0, 0, 40, 72, 42, memory.spheres);
    glEnable(GL_ALPHA_TEST);  // clear parts hide nothing behind them
    glAlphaFunc(GL_GREATER, 0.1f);
    for (int i = 0; i < 6; ++i) {
        glPushMatrix();
        glRotatef(60 * i + 15 * t + 10, 0, 1, 0);
        glTranslatef(0, -5, 20);
        glColor3f(1, 1, 1);
        ryl_draw2DTexture(0, 0, 0, 10, 6, memory.spheres);
        glPopMatrix();
    }
    glDisable(GL_ALPHA_TEST);
    ryl_draw2DTexture(0, 13, -0.1f, 21, 5, memory.banner);  // a tenth of a unit nearer
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_pictures, loadPictures}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawPictures}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
