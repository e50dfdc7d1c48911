// What is drawn on the screen, by its pixels: render targets, lights, quads, motion blur, and text.
#include "child.h"
#include "fbo.h"
#include "fonts.h"
#include "picture.h"
#include "screen.h"
#include "temp_dir.h"
#include "textures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>

namespace {

constexpr int WIDTH = 160, HEIGHT = 90;

void clearTo(float grey) {
    glClearColor(grey, grey, grey, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

// The pixels of one colour: how many, and the box around them in scene units.
struct Ink {
    int count = 0;
    double left = 99, right = -99, bottom = 99, top = -99;
};
Ink ink(int red, int green, int blue) {
    constexpr double UNIT = 41.421 / HEIGHT;  // of a pixel, 50 units from the camera under 45 degrees
    Ink found;
    for (int x = 0; x < WIDTH; ++x)
        for (int y = 0; y < HEIGHT; ++y) {
            if (!isColour(pixelAt(x, y), red, green, blue)) continue;
            const double atX = (x + 0.5 - WIDTH / 2.0) * UNIT, atY = (y + 0.5 - HEIGHT / 2.0) * UNIT;
            found = {found.count + 1, std::min(found.left, atX), std::max(found.right, atX),
                     std::min(found.bottom, atY), std::max(found.top, atY)};
        }
    return found;
}

void expectBox(const Ink& found, double left, double right, double bottom, double top, double tolerance = 0.5) {
    EXPECT_NEAR(found.left, left, tolerance);
    EXPECT_NEAR(found.right, right, tolerance);
    EXPECT_NEAR(found.bottom, bottom, tolerance);
    EXPECT_NEAR(found.top, top, tolerance);
}

TEST(RenderTarget, ClearsWithTheColourSetBeforeAndSetsTheNext) {
    openScreen(WIDTH, HEIGHT);
    const auto window = glState();
    const int id = ryl_loadFBO(32, 16);
    glClearColor(0, 1, 0, 1);
    const unsigned texture = ryl_enableFBO(id, 1, 0, 0);
    EXPECT_EQ(pixels().size(), 32U * 16 * 4);
    EXPECT_EQ(pixelAt(3, 3), (Pixel{0, 255, 0, 255}));
    glRotatef(30, 1, 0, 0);
    ryl_disableFBO(WIDTH + 0.9f, HEIGHT + 0.2f, 0, 0, 1);
    EXPECT_TRUE(isColour(pixelAt(3, 3), 255, 0, 0));
    EXPECT_EQ(ryl_enableFBO(id, 0, 0, 0), texture);
    EXPECT_EQ(pixelAt(3, 3), (Pixel{0, 0, 255, 0}));
    glRectf(-40, 0, 40, 40);  // the upper half, white
    ryl_disableFBO(WIDTH, HEIGHT, 0, 0, 0);
    glClearColor(1, 1, 1, 1);
    EXPECT_EQ(glState(), window);
    ryl_draw2DTexture(0, 0, 0, 20, 10, texture);
    expectBox(ink(0, 0, 0), -36.8, 36.8, -20.7, 20.7);
    expectBox(ink(255, 255, 255), -20, 20, 0, 10, 1.1);
}

TEST(RenderTarget, The65thEndsTheProgram) {
    const ChildResult result = runInChild([] {
        openScreen(WIDTH, HEIGHT);
        for (int i = 0; i < 65; ++i) std::printf("%d ", ryl_loadFBO(4, 4));
    });
    EXPECT_TRUE(result.output.ends_with("62 63 Maximum numbers of fbo's reached.. exiting\n")) << result.output;
    EXPECT_EQ(result.status, 255);
}

TEST(Quad, LiesWhereItSaysInTheCallersColour) {
    openScreen(WIDTH, HEIGHT);
    const unsigned texture = ryl_loadBlack();
    const auto before = glState();
    ryl_draw2DTexture(10, -5, -0.1f, 6, 4, texture);  // 10 to the left, 5 down
    EXPECT_EQ(glState(), before);
    expectBox(ink(0, 0, 0), -16, -4, -9, -1);
    glColor4f(1, 1, 1, 0.5f);
    ryl_draw2DTexture(-15, 0, 0, 4, 4, texture);
    expectBox(ink(128, 128, 128), 11, 19, -4, 4);
    glColor4f(1, 0, 0, 1);
    glRectf(-20, -20, 0, 0);
    expectBox(ink(0, 0, 0), -16, -4, -9, -1);  // negative z is nearer
}

TEST(MotionBlur, WeighsThePicturesBeforeInTheValuesOfTheScreen) {
    openScreen(WIDTH, HEIGHT);
    const auto expectLevel = [](int x, int y, int level) {
        EXPECT_TRUE(isColour(pixelAt(x, y), level, level, level, 0)) << x << ' ' << y << ", not " << level;
    };
    ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
    expectLevel(5, 5, 255);  // nothing is kept yet
    for (const int level : {51, 10, 2, 0}) {
        clearTo(0);
        ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
        for (const int x : {0, WIDTH - 1}) expectLevel(x, HEIGHT - 1, level);
    }
    glEnable(GL_SCISSOR_TEST);
    glScissor(17, 31, 1, 1);
    clearTo(1);
    glDisable(GL_SCISSOR_TEST);
    ryl_blendPicture(WIDTH, HEIGHT, 0);
    clearTo(0);
    glColor4f(0.1f, 0.2f, 0.3f, 0.4f);
    glEnable(GL_FOG);
    glEnable(GL_LIGHTING);
    const auto before = glState();
    ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
    EXPECT_EQ(glState(), before);
    for (const auto& [x, y, level] : {std::array{17, 31, 51}, {16, 31, 0}, {18, 31, 0}, {17, 30, 0}, {17, 32, 0}})
        expectLevel(x, y, level);
}

// ---- Text ---------------------------------------------------------------------------------------------------------

TEST(Text, StandsAtItsPlaceAndThePauseLineOverEverything) {
    openScreen(WIDTH, HEIGHT);
    const TempDir empty;
    glColor4f(0, 0, 0, 1);
    const auto before = glState();
    ryl_drawPolygonText("HHH", -4, 3, 0);
    EXPECT_EQ(glState(), before);
    const Ink text = ink(0, 0, 0);
    expectBox(text, -3.5, text.right, 3, 6);

    glColor4f(0, 0, 1, 1);
    glBegin(GL_TRIANGLES);
    for (const auto& [x, y] : {std::pair{-99, -99}, {99, -99}, {0, 99}})
        glVertex3i(x, y, 10);  // nearer than the line
    glEnd();
    glColor3f(1, 0, 0);
    testing::internal::CaptureStdout();
    ryl_infoText(-35, -20);
    const Ink line = ink(255, 0, 0);
    EXPECT_GT(line.count, 50);
    expectBox(line, -35, line.right, -20, -13, 2);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    std::filesystem::current_path(empty.path());
    ryl_infoText(0, 0);
    EXPECT_EQ(ink(255, 0, 0).count, line.count) << "no font file, no line";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PAUSED AT : 0ms\nPAUSED AT : 0ms\n");
}

TEST(Typewriter, ShowsACharacterPerTenthOfASecond) {
    openScreen(WIDTH, HEIGHT);
    SOUND_ON = 0;
    const auto inkAt = [](int ms, const char* text) {
        SOUND_MUTE_TIMER = ms;
        clearTo(1);
        glColor4f(0, 0, 0, 1);
        ryl_typeWriterText(text, -30, 0, 0);
        return ink(0, 0, 0);
    };
    EXPECT_EQ(inkAt(1000, "HHHHHHHHHHHH").count, 0) << "the first call draws nothing";
    EXPECT_EQ(inkAt(1099, "HHHHHHHHHHHH").count, 0);
    const double two = inkAt(1250, "HHHHHHHHHHHH").right;
    const double all = inkAt(9000, "HHHHHHHHHHHH").right;
    EXPECT_GT(all + 30, 5 * (two + 30));
    EXPECT_EQ(inkAt(1299, "HHHHHHHHHHHH").right, two) << "seeks back with the clock";
    EXPECT_EQ(inkAt(500, "HHHHHHHHHHHH").count, 0) << "before the text's start";
    EXPECT_EQ(inkAt(9000, "iiiiiiiiiiii").right, all) << "a text of the same length is not noticed";
    EXPECT_EQ(inkAt(9000, "HHHHHHHHHHH").count, 0) << "another length starts over";
    EXPECT_EQ(inkAt(9250, "HHHHHHHHHHH").right, two);
}

TEST(TextureFont, LaysOutGlyphsAndKeepsPlacesFree) {
    openScreen(WIDTH, HEIGHT);
    const TempDir folder;
    const std::string header("\0\0\2\0\0\0\0\0\0\0\0\0\4\0\1\0\30\0", 18);  // four texels: red, green, blue, white
    ryl_loadTextureFont(folder.write("a.tga", header + "\1\1\xff\1\xff\1\xff\1\1\xff\xff\xff").c_str(), 4);
    clearTo(0);
    ryl_text("zB c3!Da", 2.5f, -9, 0, 0, 0, 0, 0);
    expectBox(ink(1, 255, 1), -7.5, -5.5, -1, 1);  // capitals draw as small letters
    expectBox(ink(1, 1, 255), -2.5, -0.5, -1, 1);  // a blank keeps its place, as does what has no glyph
    expectBox(ink(255, 255, 255), 5, 7, -1, 1);
    expectBox(ink(255, 1, 1), 7.5, 9.5, -1, 1);
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    clearTo(0);
    ryl_text("ab", 2.5, 0, 0, 0, 0, 0, 180);
    expectBox(ink(1, 255, 1), -3.5, -1.5, -1, 1);  // turned by half a turn the line runs to the left
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
