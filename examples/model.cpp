// model.cpp - a Wavefront OBJ model with its materials and smooth normals, and its mirror image
#include "glm/glm.h"
#include "lighting.h"
#include "ryl.h"
#include "show.h"

#include <GL/freeglut.h>

struct Memory {
    int l_model = 0;
    unsigned cube = 0;  // display list
};

void loadModel(Memory& memory) {
    GLMmodel* model = glmReadOBJ("data/cubeobj.obj");
    glmVertexNormals(model, 60, false);  // edges flatter than 60 degrees are smooth
    memory.cube = glmList(model, GLM_SMOOTH | GLM_MATERIAL);
}

void drawRow(float t, const Memory& memory) {
    for (int i = -2; i <= 2; ++i) {
        glPushMatrix();
        glTranslatef(11 * i, 7, 0);
        glRotatef(50 * t + 36 * i, 0.4f, 1, 0.2f);
        glScalef(2.6f, 2.6f, 2.6f);
        glCallList(memory.cube);
        glPopMatrix();
    }
}

void drawCubes(float t, Memory& memory) {
    const LightData light = {{}, {1, 1, 1, 1}, {1, 1, 1, 1}, {10, 30, 40, 1}};
    glRotatef(15, 1, 0, 0);
    ryl_enableLight(&light, 0);
    drawRow(t, memory);
    glPushMatrix();
    glScalef(1, -1, 1);
    drawRow(t, memory);
    glPopMatrix();
    ryl_setLight0(0);
    glEnable(GL_COLOR_MATERIAL);           // the model's materials have switched it off
    glColor4f(0.04f, 0.1f, 0.25f, 0.75f);  // the floor lets a quarter of the mirror image through
    glRotatef(90, 1, 0, 0);
    glRectf(-150, -90, 150, 90);
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_model, loadModel}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawCubes}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
