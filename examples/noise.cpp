// noise.cpp - mountains of noise: each ridge is a black shape with a bright edge, which hides those behind it
#include "noise.h"
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

struct Memory {};  // nothing outlives a frame

constexpr int RIDGES = 40, HALF_STEPS = 96;
constexpr float STEP = 0.5f;  // scene units

// Negative coordinates mirror the noise, so it is read well above 0.
float heightAt(float x, float row) { return 2.2f * (1.5f + ryl_perlin2DNoise(0.05f * x + 20, 0.11f * row, 303)); }

void drawRidges(float t, Memory&) {
    glDisable(GL_DEPTH_TEST);  // drawn from the back to the front
    for (int i = RIDGES; i-- > 0;) {
        const float depth = static_cast<float>(i) / RIDGES, y = 26 * depth - 20;
        glColor3f(0.02f, 0.01f, 0.05f);
        glBegin(GL_TRIANGLE_STRIP);
        for (int step = -HALF_STEPS; step <= HALF_STEPS; ++step) {
            glVertex2f(step * STEP, y + heightAt(step * STEP, i + 4 * t));
            glVertex2f(step * STEP, y - 10);  // far enough to hide what is behind
        }
        glEnd();
        glColor3f(0.3f + 0.7f * depth, 0.9f - 0.6f * depth, 0.8f);
        glLineWidth(2);
        glBegin(GL_LINE_STRIP);
        for (int step = -HALF_STEPS; step <= HALF_STEPS; ++step)
            glVertex2f(step * STEP, y + heightAt(step * STEP, i + 4 * t));
        glEnd();
    }
    glEnable(GL_DEPTH_TEST);
}

constexpr TimelineScene<Memory> SCENES[] = {{10, drawRidges}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
