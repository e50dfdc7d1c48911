// The texture font: a strip whose glyphs are plain colours, so that a pixel tells which glyph lies there.
#include "child.h"
#include "fonts.h"
#include "gl_window.h"
#include "temp_dir.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

namespace {

constexpr int WIDTH = 100, HEIGHT = 20;  // one unit is five pixels

// Four cells of one texel: red, green, blue, white.
std::string strip() {
    std::string bytes(18, '\0');
    bytes[2] = 2;
    bytes[12] = 4;
    bytes[14] = 1;
    bytes[16] = 24;
    for (const char* blueGreenRed : {"\x01\x01\xff", "\x01\xff\x01", "\xff\x01\x01", "\xff\xff\xff"})
        bytes += blueGreenRed;
    return bytes;
}

void openPage() {
    openTestWindow(WIDTH, HEIGHT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-10, 10, -2, 2, -2, 2);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

bool shows(double x, int red, int green, int blue) {
    return isColour(pixelAt(static_cast<int>((x + 10) * 5), HEIGHT / 2), red, green, blue);
}

TEST(TextureFont, LaysOutGlyphsAndKeepsPlacesFree) {
    openPage();
    const TempDir folder;
    const std::string path = folder.write("Strip.TGA", strip());
    testing::internal::CaptureStdout();
    const unsigned first = ryl_loadTextureFont(path.c_str(), 4);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[*] texture " + path + " loaded...\n");
    EXPECT_TRUE(glIsList(first) && glIsList(first + 3));
    glColor4f(0, 0, 0, 1);
    std::string text = "aB c3z!D";
    ryl_text(text.c_str(), 2.5f, -9, 0, 0, 0, 0, 0);
    EXPECT_TRUE(shows(-9, 255, 1, 1));
    EXPECT_TRUE(shows(-6.5, 1, 255, 1)) << "capitals draw as small letters";
    EXPECT_TRUE(shows(-4, 0, 0, 0)) << "a blank keeps its place";
    EXPECT_TRUE(shows(-1.5, 1, 1, 255));
    for (const double x : {1.0, 3.5, 6.0}) EXPECT_TRUE(shows(x, 0, 0, 0)) << "no glyph for this one";
    EXPECT_TRUE(shows(8.5, 255, 255, 255));
    EXPECT_TRUE(shows(-7.75, 0, 0, 0)) << "glyphs are two units wide";
    std::array<float, 4> colour{};
    glGetFloatv(GL_CURRENT_COLOR, colour.data());
    EXPECT_EQ(colour, (std::array{1.0f, 1.0f, 1.0f, 1.0f}));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));

    // Where glyphs overlap the later one shows; turned by half a turn about z the line runs to the left.
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    ryl_text("ab", 1, 0, 0, 0, 0, 0, 180);
    EXPECT_TRUE(shows(-0.5, 1, 255, 1));
    EXPECT_TRUE(shows(-1.5, 1, 255, 1));
}

TEST(TextureFont, MisuseEndsTheProgram) {
    ChildResult result = runInChild([] { ryl_loadTextureFont("strip.tga", 0); });
    EXPECT_EQ(result.output, "[!] No fontindex was given (argument 2 of function ryl_loadTextureFont()\n");
    EXPECT_EQ(result.status, 255);
    result = runInChild([] { ryl_text("a", 1, 0, 0, 0, 0, 0, 0); });
    EXPECT_EQ(result.output, "[!] ryl_text() no font loaded.\n");
    EXPECT_EQ(result.status, 255);
}

}  // namespace
