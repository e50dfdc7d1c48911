// font.cpp - the texture font: a strip of letters in an image, laid out on a wave
#include "fonts.h"
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

#include <cmath>

struct Memory {
    int l_font = 0;
};

void loadFont(Memory&) { ryl_loadTextureFont("data/font.tga", 26); }  // "a" to "z"

void drawWave(float t, Memory&) {
    constexpr char TEXT[] = "letter by letter";
    glBegin(GL_QUADS);
    glColor3f(0.35f, 0.05f, 0.3f);
    glVertex3f(-60, -34, -30);
    glVertex3f(60, -34, -30);
    glColor3f(0.02f, 0.02f, 0.15f);
    glVertex3f(60, 34, -30);
    glVertex3f(-60, 34, -30);
    glEnd();
    glDisable(GL_DEPTH_TEST);  // the letters' cells overlap
    for (int i = 0; TEXT[i] != '\0'; ++i) {
        const char letter[] = {TEXT[i], '\0'};
        const float wave = std::sin(0.5f * i + 2 * t);
        glPushMatrix();
        glTranslatef(4.2f * i - 31.5f, 6 * wave, 4 * wave);
        glScalef(4, 4, 4);
        ryl_text(letter, 2, 0, 0, 0, 0, 40 * wave, 0);
        glPopMatrix();
    }
    glEnable(GL_DEPTH_TEST);
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_font, loadFont}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawWave}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
