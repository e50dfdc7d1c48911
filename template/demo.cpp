// @NAME@.cpp - three scenes of ten seconds, in step with tune.mp3
#include "glm/glm.h"
#include "lighting.h"
#include "noise.h"
#include "ryl.h"
#include "shader.h"
#include "show.h"
#include "texts.h"

#include <GL/freeglut.h>

struct Memory {
    int l_files = 0;  // a loading step: not 0 if done
    const std::string* text = nullptr;
    unsigned model = 0;  // display list
    int shader = 0;
};

void loadFiles(Memory& memory) {
    memory.text = &ryl_loadText("data/text.txt");
    GLMmodel* model = glmReadOBJ("models/cube.obj");
    glmVertexNormals(model, 60, false);  // edges flatter than 60 degrees are smooth
    memory.model = glmList(model, GLM_SMOOTH | GLM_MATERIAL);
    memory.shader = ryl_loadShader(nullptr, "data/glow.frag");
    ryl_loadMusic("tune.mp3");
}

void drawField(float t, Memory& memory) {  // t: seconds since the scene began
    ryl_setLight0(1);
    for (int i = 0; i < 41 * 46; ++i) {
        const int column = i % 41, row = i / 41;
        const float x = 2 * column - 40, z = 2 * row - 70;
        const float height = ryl_perlin2DNoise(0.04f * x + 9, 0.04f * z + 9 - 0.3f * t, 7);
        glPushMatrix();
        glTranslatef(x, 3 * height - 13, z);
        glColor3f(0.5f + 0.3f * height, 0.25f, 0.6f - 0.3f * height);
        glutSolidCube(1.8);
        glPopMatrix();
    }
    ryl_setLight0(0);
    glColor3f(1, 0.9f, 0.7f);
    ryl_drawPolygonText(memory.text->c_str(), -4 - 2 * t, 9, 0);
}

void drawModel(float t, Memory& memory) {
    ryl_setLight0(1);
    glRotatef(50, -1, 0.3f, 0);
    for (int i = 0; i < 12; ++i) {
        glRotatef(30, 0, 0, 1);
        glPushMatrix();
        glTranslatef(16, 0, 4 * ryl_1D_CosNoise(2 * t + 5 * i, 1));
        glRotatef(60 * t + 30 * i, 1, 1, 0);
        glScalef(2, 2, 2);
        glCallList(memory.model);
        glPopMatrix();
    }
    glEnable(GL_COLOR_MATERIAL);  // the model's materials have switched it off
    ryl_setLight0(0);
}

void drawShader(float t, Memory& memory) {
    const float size[] = {ryl_Get(RYL_WIDTH), ryl_Get(RYL_HEIGHT)};
    ryl_enableShader(memory.shader);
    ryl_shader_sendUniformValue(memory.shader, "time", &t, 1);
    ryl_shader_sendUniformValue(memory.shader, "resolution", size, 2);
    ryl_fullScreen(memory.shader);
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_files, loadFiles}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawField}, {10, drawModel}, {10, drawShader}};

ShowFrame frame;
Memory memory;
void draw() { ryl_drawShow(frame, LOADING, SCENES, memory); }

int main(int argc, char** argv) {
    ryl_setTitle("@NAME@");
    ryl_workLive();  // --live without being asked; leave this out of what you give away
    ryl_init(argc, argv, draw);
}
