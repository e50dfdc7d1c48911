// text.cpp - text as polygons: it turns, scales and takes colours like everything that the GL draws
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

#include <cmath>

struct Memory {};  // nothing outlives a frame

// The origin of a text is the lower left corner of its first letter. Layers behind each other make it thick.
void drawThick(const char* text, float x, float y, float red, float green, float blue) {
    for (int layer = 0; layer <= 10; ++layer) {
        const float shade = layer < 10 ? 0.35f : 1;
        glColor3f(shade * red, shade * green, shade * blue);
        ryl_drawPolygonText(text, x, y, 0.1f * layer);
    }
}

void drawText(float t, Memory&) {
    glRotatef(20 * std::sin(t), 0, 1, 0);
    glRotatef(-12, 1, 0, 0);
    glPushMatrix();
    glScalef(2.6f, 2.6f, 2.6f);  // 4 units to the em, times 2.6
    drawThick("polygons", -9.2f, 1, 1, 0.75f, 0.2f);
    glPopMatrix();
    drawThick("of any face, in any place", -23, -4, 0.4f, 0.8f, 1);
    drawThick("and any colour", -13, -11, 1, 0.4f, 0.6f);
}

constexpr TimelineScene<Memory> SCENES[] = {{10, drawText}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
