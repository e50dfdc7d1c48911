// The library on the real GL: what the recorded calls look like.
#include "gl_window.h"
#include "model_files.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

namespace {

constexpr int SIDE = 64;

// Two quads side by side, left red in front of right; a translucent green one over the lower half of both.
constexpr const char* QUADS =
    "mtllib m.mtl\nv -1 -1 0\nv 0 -1 0\nv 1 -1 0\nv -1 1 0\nv 0 1 0\nv 1 1 0\nv -1 0 -.5\nv 1 0 -.5\n"
    "v -1 -1 -.5\nv 1 -1 -.5\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
    "g left\nusemtl red\nf 1 2 5 4\ng right\nusemtl picture\nf 2/1 3/2 6/3 5/4\n"
    "g over\nusemtl glass\nf 9 10 8 7\n";
constexpr const char* LIBRARY =
    "newmtl red\nKd 1 0 0\nnewmtl picture\nKd 1 1 1\nmap_Kd p.ppm\nnewmtl glass\nKd 0 1 0\nd 0.2\n";

void expectPicture() {
    EXPECT_TRUE(isColour(pixelAt(SIDE / 4, SIDE * 3 / 4), 255, 0, 0));
    EXPECT_TRUE(isColour(pixelAt(SIDE * 3 / 4, SIDE * 3 / 4), 0, 0, 255));
    EXPECT_TRUE(isColour(pixelAt(SIDE / 4, SIDE / 4), 255, 51, 0));
    EXPECT_TRUE(isColour(pixelAt(SIDE * 3 / 4, SIDE / 4), 0, 51, 255)) << "after a picture, glass is not textured";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

}  // namespace

TEST(Pixels, OpaqueTexturedAndTranslucentQuads) {
    openTestWindow(SIDE, SIDE);
    const ModelFiles files(QUADS, LIBRARY);
    // 1 x 3 pixels: resampled to 1 x 4, whose rows of 3 bytes must fit as they are.
    files.folder.write("p.ppm", std::string("P6\n1 3\n255\n\0\0\xff\0\0\xff\0\0\xff", 20));
    Model model = files.read();
    // Only lighting makes the alpha of a material visible: glColor3fv sends none.
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    const GLfloat white[] = {1, 1, 1, 1}, black[] = {0, 0, 0, 1}, front[] = {0, 0, 1, 0};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, black);
    glLightfv(GL_LIGHT0, GL_AMBIENT, black);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
    glLightfv(GL_LIGHT0, GL_POSITION, front);
    glEnable(GL_DEPTH_TEST);

    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glmDraw(model.get(), GLM_FLAT | GLM_TEXTURE | GLM_MATERIAL);
    expectPicture();

    const GLuint list = glmList(model.get(), GLM_FLAT | GLM_TEXTURE | GLM_MATERIAL);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glCallList(list);
    expectPicture();

    glDeleteLists(list, 1);

    const GLuint texture = model->textures[0].id;
    EXPECT_TRUE(glIsTexture(texture));
    model.reset();
    EXPECT_FALSE(glIsTexture(texture));
}
