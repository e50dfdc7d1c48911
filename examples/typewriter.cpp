// typewriter.cpp - text that appears letter by letter, ten a second, on an old screen
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

struct Memory {};  // nothing outlives a frame

void drawScreen(float t, Memory&) {
    glBegin(GL_QUADS);
    glColor3f(0, 0.02f, 0.05f);
    glVertex2f(-37, -21);
    glVertex2f(37, -21);
    glColor3f(0, 0.12f, 0.16f);
    glVertex2f(37, 21);
    glVertex2f(-37, 21);
    glEnd();
    glTranslatef(0, 0, 0.1f);  // before the background
    glColor3f(0.4f, 1, 0.6f);
    glPushMatrix();
    glScalef(1.6f, 1.6f, 1);
    ryl_drawPolygonText("> run the show", -20, 6, 0);
    ryl_typeWriterText("it writes letter by letter", -20, 0, 0);  // one text at a time
    if (static_cast<int>(2 * t) % 2 == 0) glRectf(-20, -6.5f, -18.5f, -3.5f);
    glPopMatrix();
    glTranslatef(0, 0, 0.1f);
    glColor4f(0, 0, 0, 0.25f);
    for (int i = -27; i < 27; ++i) glRectf(-37, 0.8f * i, 37, 0.8f * i + 0.4f);  // the lines of the tube
}

constexpr TimelineScene<Memory> SCENES[] = {{10, drawScreen}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
