// shader.cpp - a shader over the whole view: a picture under moving water, with uniforms of several kinds
#include "shader.h"
#include "ryl.h"
#include "show.h"
#include "textures.h"

#include <GL/gl.h>

#include <cmath>

struct Memory {
    int l_files = 0;
    unsigned picture = 0;  // texture
    int water = 0;         // program
};

void loadFiles(Memory& memory) {
    memory.picture = ryl_loadPNG("data/images/spheres.png");
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);  // the new texture is bound
    memory.water = ryl_loadShader(nullptr, "examples/water.frag");
}

void drawWater(float t, Memory& memory) {
    const float size[] = {ryl_Get(RYL_WIDTH), ryl_Get(RYL_HEIGHT)};
    const float drops[] = {0.3f, 0.4f, 0.7f, 0.6f, 0.5f + 0.2f * std::sin(t), 0.2f};  // three places
    const float turn[] = {std::cos(t), std::sin(t), -std::sin(t), std::cos(t)};       // two columns
    const int count = 3;
    ryl_enableShader(memory.water);
    ryl_shader_sendUniformValue(memory.water, "time", &t, 1);
    ryl_shader_sendUniformValue(memory.water, "resolution", size, 2);
    ryl_shader_sendUniformVectors(memory.water, "drops", drops, 2, 3);
    ryl_shader_sendUniformInteger(memory.water, "count", &count, 1);
    ryl_shader_sendUniformMatrix(memory.water, "turn", turn, 2);
    ryl_shader_sendUniformSampler(memory.water, "picture", memory.picture, 0);
    ryl_fullScreen(memory.water);
}

constexpr LoadStep<Memory> LOADING[] = {{&Memory::l_files, loadFiles}};
constexpr TimelineScene<Memory> SCENES[] = {{10, drawWater}};

void draw() {
    static ShowFrame frame;
    static Memory memory;
    ryl_drawShow(frame, LOADING, SCENES, memory);
}

int main(int argc, char** argv) { ryl_init(argc, argv, draw); }
