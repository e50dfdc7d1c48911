// tracks.cpp - values over time from a text file: four curves, and a light that follows each
#include "tracks.h"
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

#include <string>

struct Memory {
    int l_tracks = 0;
};

void loadTracks(Memory&) { ryl_loadTracks("examples/curves.tracks"); }

// From the time, 0 to 8 s, and the value, 0 to 1, to the view.
float across(float t) { return 8 * t - 31; }
float up(int row, float value) { return 10.5f - 9.3f * row + 6 * value; }

void drawCurves(float t, Memory&) {
    const char* const names[] = {"step", "linear", "smooth", "ramp"};
    for (int row = 0; row < 4; ++row) {
        const std::string name = names[row];
        glColor3f(0.3f + 0.2f * row, 0.8f - 0.15f * row, 0.9f);
        glPushMatrix();
        glTranslatef(-35, up(row, 1.15f), 0);
        glScalef(0.5f, 0.5f, 1);
        ryl_drawPolygonText(names[row], 0, 0, 0);
        glPopMatrix();
        glLineWidth(2);
        glBegin(GL_LINE_STRIP);
        for (int i = 0; i < 400; ++i) glVertex2f(across(0.02f * i), up(row, ryl_track("light." + name, 0.02 * i)));
        glEnd();
        const float value = ryl_track("light." + name, t);
        glPushMatrix();
        glTranslatef(across(t), up(row, value), 0.1f);
        glColor4f(1, 1, 0.8f, 0.3f + 0.7f * value);
        glutSolidSphere(0.6 + 0.6 * value, 24, 16);
        glPopMatrix();
    }
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_tracks, loadTracks}};
constexpr TimelineScene<Memory> SCENES[] = {{8, drawCurves}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
