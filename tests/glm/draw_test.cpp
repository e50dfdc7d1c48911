// Models drawn on the real GL. Each triangle has a quarter of the window; its colour shows how it was drawn.
#include "gl_window.h"
#include "model_files.h"
#include "printed.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

constexpr int SIDE = 40, CELLS = 4;

// Materials: red, with an image of a half green and a blue texel; glass, a translucent red; blue. Twelve positions.
Model read(const std::string& faces) {
    std::string obj = "mtllib m.mtl\n";
    for (const char* left : {"-1", "-.5", "0", ".5"})
        obj += "v " + std::string(left) + " -1 0\nv 1 -1 0\nv " + left + " 9 0\n";
    const ModelFiles files(obj + faces, "newmtl red\nKd 1 0 0\nNs 50\nmap_Kd a.ppm\nnewmtl glass\nKd 1 0 0\nd .5\n"
                                        "newmtl blue\nKd 0 0 1\nNs 101\nnewmtl dull\nNs -1\nnewmtl dark\nNs nan\n");
    files.folder.write("a.ppm", std::string("P6\n2 1\n255\n\0\x88\0\0\0\xff", 17));
    return files.read();
}

// What `draw` prints, then the colour of each quarter: a digit each for red, green and blue. Light comes from the
// front; what has no other colour is green.
template <typename Draw>
std::string drawnBy(Draw draw) {
    for (const GLenum left : {GL_DEPTH_TEST, GL_LIGHTING, GL_TEXTURE_2D}) glDisable(left);
    glClear(GL_COLOR_BUFFER_BIT);
    glColor3f(0, 1, 0);
    std::string all = errorsOf(draw);
    for (int cell = 0; cell < CELLS; ++cell) {
        const Pixel pixel = pixelAt(cell * SIDE / CELLS + 2, SIDE / 2);
        for (const int channel : {pixel.red, pixel.green, pixel.blue}) all += "0123456789abcdef"[channel / 16];
        all += cell + 1 < CELLS ? " " : "";
    }
    return all;
}

std::string warning(const std::string& text) { return "GLM: Warning: glmDraw() warning: " + text + "\n"; }

}  // namespace

TEST(Draw, ShowsEachModeAndWarnsOfWhatItCannotShow) {
    openTestWindow(SIDE, SIDE);
    const struct {
        std::string faces;
        int mode;
        bool lit;
        std::string expected;
    } cases[] = {
        // Translucent triangles come last and add up; one of material 0 takes what is current.
        {"usemtl red\nf 1 2 3\nusemtl glass\nf 4 5 6\nusemtl blue\nf 4 5 6\nusemtl default\nf 7 8 9", GLM_COLOR,
         false, "f00 f0f f0f f0f"},
        {"usemtl red\nf 1 2 3\nusemtl blue\nf 7 8 9\n", GLM_MATERIAL, true, "f00 f00 00f 00f"},
        {"vt .25 .5\nusemtl red\nf 1/1 2/1 3/1\nusemtl blue\nf 7/1 8/1 9/1", GLM_TEXTURE, false, "080 080 0f0 0f0"},
        {"vn 0 0 1\nvn 0 0 -1\nf 1//2 2//2 3//2\nf 7//1 8//1 9//1", GLM_SMOOTH, true, "030 030 0f0 0f0"},
        {"vn 0 0 -1\nf 1//1 2//1 3//1\nf 9//1 8//1 7//1", GLM_FLAT | GLM_TWO_SIDED, true, "0f0 0f0 0f0 0f0"},
        {"vn 0 0 1\nusemtl blue\nf 1//1 2//1 3//1", GLM_FLAT | GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL,
         true,
         warning("texture render mode requested with no texture coordinates defined.") +
             warning("flat render mode requested and smooth render mode requested (using smooth).") +
             warning("color and material render mode requested using only material mode.") + "00f 00f 00f 00f"},
    };
    glEnable(GL_LIGHT0);
    for (const auto& test : cases) {
        const Model model = read(test.faces);
        const auto draw = [&] {
            glEnable(GL_COLOR_MATERIAL);
            if (test.lit) glEnable(GL_LIGHTING);
            glmDraw(model.get(), test.mode);
        };
        EXPECT_EQ(drawnBy(draw), test.expected) << test.faces;
    }
}

TEST(Draw, HandsOverShininessThatTheGLTakes) {
    openTestWindow(SIDE, SIDE);
    for (const auto& [name, expected] : {std::pair{"red", 64.0f}, {"blue", 128.0f}, {"dull", 0.0f}, {"dark", 0.0f}}) {
        const Model model = read("usemtl red\nf 1 2 3\nusemtl " + std::string(name) + "\nf 4 5 6\n");
        float shininess = 0;
        glmDraw(model.get(), GLM_MATERIAL);
        glGetMaterialfv(GL_FRONT, GL_SHININESS, &shininess);
        EXPECT_EQ(shininess, expected) << name;
        EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR}) << name;
    }
}

TEST(Draw, IntoAListShowsNothingUntilItIsCalledAndDeletingFreesTextures) {
    openTestWindow(SIDE, SIDE);
    const auto model = read("usemtl red\nf 1 2 3");
    unsigned list = 0;
    EXPECT_EQ(drawnBy([&] { list = glmList(model.get(), GLM_COLOR); }), "000 000 000 000");
    EXPECT_EQ(drawnBy([&] { glCallList(list); }), "f00 f00 f00 f00");
    const unsigned texture = read("usemtl red\nf 1 2 3")->textures[0].id;  // read with a context, and deleted
    EXPECT_FALSE(glIsTexture(texture));
}
