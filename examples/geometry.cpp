// geometry.cpp - a geometry stage: two thousand points, each of which becomes a glowing square that faces the camera
#include "ryl.h"
#include "shader.h"
#include "show.h"

#include <GL/glew.h>

#include <GL/freeglut.h>

#include <cmath>

struct Memory {
    int l_shader = 0;
    int squares = 0;  // program
};

// If the GL has no geometry shaders, a line says so and the points stay points.
void loadShader(Memory& memory) {
    memory.squares = ryl_loadSuperShader("examples/squares.geom", "examples/squares.vert", "examples/squares.frag",
                                         GL_POINTS, GL_TRIANGLE_STRIP);
}

void drawSpiral(float t, Memory& memory) {
    const int size = ryl_shader_attribute(memory.squares, "size");
    glRotatef(55, -1, 0, 0);
    glRotatef(12 * t, 0, 0, 1);
    glDisable(GL_DEPTH_TEST);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);  // light adds up
    ryl_enableShader(memory.squares);
    glBegin(GL_POINTS);
    for (int i = 0; i < 2000; ++i) {
        const float share = i / 2000.0f, far = 32 * std::sqrt(share);
        const float arm = 2.0944f * (i % 3), angle = arm + 7 * share + 0.12f * (i % 11) * share;
        glColor4f(1 - 0.7f * share, 0.5f, 0.3f + 0.7f * share, 0.5f);
        if (size >= 0) glVertexAttrib1f(size, 0.9f - 0.5f * share);
        glVertex3f(far * std::cos(angle), far * std::sin(angle), 1.5f * std::sin(0.5f * i));
    }
    glEnd();
    ryl_disableShader();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_DEPTH_TEST);
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_shader, loadShader}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawSpiral}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
