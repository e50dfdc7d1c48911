// Render targets, lights, screen-space quads and the motion blur, by their pixels.
#include "child.h"
#include "fbo.h"
#include "gl_window.h"
#include "lighting.h"
#include "picture.h"
#include "ryl.h"
#include "temp_dir.h"
#include "textures.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

constexpr int WIDTH = 160, HEIGHT = 90;

void openScene() {
    openTestWindow(WIDTH, HEIGHT);
    ryl_initRendering();
    ryl_handleResize(WIDTH, HEIGHT);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(0, 0, -50);
}

void clearTo(float red, float green, float blue) {
    glClearColor(red, green, blue, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

std::array<float, 16> modelview() {
    std::array<float, 16> matrix{};
    glGetFloatv(GL_MODELVIEW_MATRIX, matrix.data());
    return matrix;
}

const std::array<float, 16> CAMERA = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -50, 1};

int viewportWidth() {
    std::array<int, 4> box{};
    glGetIntegerv(GL_VIEWPORT, box.data());
    return box[2];
}

// The pixel that shows the point (x, y, z) of the camera's frame.
Pixel pixelOf(double x, double y, double z = 0) {
    const double scale = HEIGHT / 2.0 / std::tan(22.5 * 3.14159265358979 / 180) / (50 - z);
    // The projection is 16:9 like this window, so pixels are square.
    return pixelAt(static_cast<int>(WIDTH / 2.0 + x * scale), static_cast<int>(HEIGHT / 2.0 + y * scale));
}

TEST(RenderTarget, ClearsWithTheColourSetBeforeAndSetsTheNext) {
    openScene();
    const int id = ryl_loadFBO(32, 16);
    EXPECT_EQ(id, 0);
    glClearColor(0, 1, 0, 1);
    const unsigned texture = ryl_enableFBO(id, 1, 0, 0);
    EXPECT_EQ(viewportWidth(), 32);
    EXPECT_EQ(modelview(), CAMERA);
    EXPECT_EQ(pixelAt(3, 3), (Pixel{0, 255, 0, 255}));
    glRotatef(30, 1, 0, 0);
    ryl_disableFBO(WIDTH + 0.9f, HEIGHT + 0.2f, 0, 0, 1);
    EXPECT_EQ(viewportWidth(), WIDTH);
    EXPECT_EQ(modelview(), CAMERA);
    EXPECT_TRUE(isColour(pixelAt(3, 3), 255, 0, 0));
    EXPECT_EQ(ryl_enableFBO(id, 0, 0, 0), texture);
    EXPECT_EQ(pixelAt(3, 3), (Pixel{0, 0, 255, 0}));

    // Drawn upright: what is at the top of the target is at the top of the quad that shows it.
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 8, 32, 8);
    clearTo(1, 1, 1);
    glDisable(GL_SCISSOR_TEST);
    ryl_disableFBO(WIDTH, HEIGHT, 0, 0, 0);
    clearTo(0.5f, 0.5f, 0.5f);
    glColor4f(1, 1, 1, 1);
    ryl_draw2DTexture(0, 0, 0, 20, 10, texture);
    EXPECT_TRUE(isColour(pixelOf(0, 6), 255, 255, 255));
    EXPECT_TRUE(isColour(pixelOf(0, -6), 128, 128, 128));
}

TEST(RenderTarget, The65thEndsTheProgram) {
    const ChildResult result = runInChild([] {
        openScene();
        for (int i = 0; i < 64; ++i)
            if (ryl_loadFBO(4, 4) != i) std::exit(1);
        ryl_loadFBO(4, 4);
    });
    EXPECT_EQ(result.output, "Maximum numbers of fbo's reached.. exiting\n");
    EXPECT_EQ(result.status, 255);
}

TEST(Lights, Light0StaysSetWhenLightingGoesOff) {
    openScene();
    ryl_setLight0(2);
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING) && glIsEnabled(GL_LIGHT0));
    std::array<float, 4> colour{};
    glGetLightfv(GL_LIGHT0, GL_AMBIENT, colour.data());
    EXPECT_EQ(colour, (std::array{0.2f, 0.2f, 0.2f, 1.0f}));
    glGetLightfv(GL_LIGHT0, GL_DIFFUSE, colour.data());
    EXPECT_EQ(colour, (std::array{0.8f, 0.8f, 0.8f, 1.0f}));
    glGetLightfv(GL_LIGHT0, GL_SPECULAR, colour.data());
    EXPECT_EQ(colour, (std::array{0.5f, 0.5f, 0.5f, 1.0f}));
    ryl_setLight0(0);
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    EXPECT_TRUE(glIsEnabled(GL_LIGHT0));
}

TEST(Quad, LiesWhereItSaysInTheCallersColour) {
    openScene();
    const unsigned texture = ryl_loadBlack();
    clearTo(1, 1, 1);
    glEnable(GL_TEXTURE_2D);
    const auto before = modelview();
    ryl_draw2DTexture(10, -5, -0.1f, 6, 4, texture);  // 10 to the left, 5 down
    EXPECT_EQ(modelview(), before);
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    int filter = 0;
    for (const GLenum name : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
        glGetTexParameteriv(GL_TEXTURE_2D, name, &filter);
        EXPECT_EQ(filter, GL_LINEAR);
    }
    for (const auto& [x, y] : {std::pair{-10, -5}, {-15, -5}, {-5, -5}, {-10, -8}, {-10, -2}})
        EXPECT_TRUE(isColour(pixelOf(x, y), 0, 0, 0)) << x << ' ' << y;
    for (const auto& [x, y] : {std::pair{-17, -5}, {-3, -5}, {-10, -10}, {-10, 0}, {10, 5}})
        EXPECT_TRUE(isColour(pixelOf(x, y), 255, 255, 255)) << x << ' ' << y;

    glColor4f(1, 1, 1, 0.5f);
    ryl_draw2DTexture(-15, 0, 0, 4, 4, texture);
    EXPECT_TRUE(isColour(pixelOf(15, 0), 128, 128, 128));

    // A quad with negative z lies before one with positive z, whatever the order.
    clearTo(1, 1, 1);
    glColor4f(1, 1, 1, 1);
    ryl_draw2DTexture(0, 0, -0.1f, 4, 4, texture);
    glColor4f(1, 0, 0, 1);
    glRectf(-4, -4, 4, 4);
    EXPECT_TRUE(isColour(pixelOf(0, 0), 0, 0, 0));
}

TEST(MotionBlur, WeighsThePicturesBeforeInTheValuesOfTheScreen) {
    openScene();
    clearTo(1, 1, 1);
    ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
    EXPECT_TRUE(isColour(pixelAt(5, 5), 255, 255, 255, 0)) << "nothing is kept yet";
    for (const int level : {51, 10, 2, 0}) {
        clearTo(0, 0, 0);
        ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
        for (const int x : {0, WIDTH / 2, WIDTH - 1})
            EXPECT_TRUE(isColour(pixelAt(x, HEIGHT - 1), level, level, level, 0)) << level;
    }
    clearTo(1, 1, 1);
    ryl_blendPicture(WIDTH, HEIGHT, 0);
    EXPECT_TRUE(isColour(pixelAt(5, 5), 255, 255, 255, 0)) << "weight 0 leaves the picture";
}

TEST(MotionBlur, LandsTexelOnPixelAndLeavesTheStateAlone) {
    openScene();
    glEnable(GL_SCISSOR_TEST);
    glScissor(17, 31, 1, 1);
    clearTo(1, 1, 1);
    glDisable(GL_SCISSOR_TEST);
    ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
    const auto matrix = modelview();
    clearTo(0, 0, 0);
    glColor4f(0.1f, 0.2f, 0.3f, 0.4f);
    glEnable(GL_FOG);
    glEnable(GL_LIGHTING);
    ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
    EXPECT_TRUE(isColour(pixelAt(17, 31), 51, 51, 51, 0));
    for (const auto& [x, y] : {std::pair{16, 31}, {18, 31}, {17, 30}, {17, 32}})
        EXPECT_TRUE(isColour(pixelAt(x, y), 0, 0, 0, 0));
    EXPECT_EQ(modelview(), matrix);
    EXPECT_TRUE(glIsEnabled(GL_FOG) && glIsEnabled(GL_LIGHTING) && glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    std::array<float, 4> colour{};
    glGetFloatv(GL_CURRENT_COLOR, colour.data());
    EXPECT_EQ(colour, (std::array{0.1f, 0.2f, 0.3f, 0.4f}));
}

int inkedPixels() {
    int count = 0;
    for (int x = 0; x < WIDTH; ++x)
        for (int y = 0; y < HEIGHT; ++y) count += isColour(pixelAt(x, y), 0, 0, 0) ? 1 : 0;
    return count;
}

TEST(PolygonText, StandsAtItsPlaceInTheCallersColour) {
    openScene();
    clearTo(1, 1, 1);
    glColor4f(0, 0, 0, 1);
    const auto before = modelview();
    ryl_drawPolygonText("HHH", -4, 3, 0);
    EXPECT_EQ(modelview(), before);
    EXPECT_GT(inkedPixels(), 20);
    EXPECT_TRUE(isColour(pixelOf(-10, 4), 255, 255, 255)) << "starts at x";
    EXPECT_TRUE(isColour(pixelOf(0, 1), 255, 255, 255)) << "stands on y";
}

TEST(PolygonText, WithoutTheFontFileNothingIsDrawn) {
    const TempDir empty;
    openScene();
    std::filesystem::current_path(empty.path());
    clearTo(1, 1, 1);
    glColor4f(0, 0, 0, 1);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ryl_drawPolygonText("HHH", 0, 0, 0);
    ryl_infoText(-35, -20);
    EXPECT_EQ(inkedPixels(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PAUSED AT : 0ms\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Typewriter, ShowsACharacterPerTenthOfASecond) {
    openScene();
    SOUND_ON = 0;
    // Ink in the columns of each of the four letters, two units or so apart.
    const auto draw = [](const char* text) {
        clearTo(1, 1, 1);
        glColor4f(0, 0, 0, 1);
        ryl_typeWriterText(text, -30, 0, 0);
        int right = 0;
        for (int x = 0; x < WIDTH; ++x)
            for (int y = 40; y < 60; ++y)
                if (isColour(pixelAt(x, y), 0, 0, 0)) right = x;
        return right;
    };
    SOUND_MUTE_TIMER = 1000;
    EXPECT_EQ(draw("HHHHHHHHHHHH"), 0) << "the first call draws nothing";
    SOUND_MUTE_TIMER = 1099;
    EXPECT_EQ(draw("HHHHHHHHHHHH"), 0);
    SOUND_MUTE_TIMER = 1250;
    const int two = draw("HHHHHHHHHHHH");
    EXPECT_GT(two, 0);
    SOUND_MUTE_TIMER = 9000;
    const int all = draw("HHHHHHHHHHHH");
    EXPECT_GT(all, 3 * two);
    SOUND_MUTE_TIMER = 1299;
    EXPECT_EQ(draw("HHHHHHHHHHHH"), two) << "seeks back with the clock";
    SOUND_MUTE_TIMER = 500;
    EXPECT_EQ(draw("HHHHHHHHHHHH"), 0) << "before the text's start";
    SOUND_MUTE_TIMER = 9000;
    EXPECT_EQ(draw("iiiiiiiiiiii"), all) << "a text of the same length is not noticed";
    EXPECT_EQ(draw("HHHHHHHHHHH"), 0) << "another length starts over";
    SOUND_MUTE_TIMER = 9250;
    EXPECT_EQ(draw("HHHHHHHHHHH"), two);
}

TEST(PauseLine, IsRedAtTheRasterPositionOverEverything) {
    openScene();
    clearTo(1, 1, 1);
    glTranslatef(0, 0, 10);
    glColor4f(0, 0, 1, 1);
    glRectf(-60, -60, 60, 60);  // nearer than the line
    glTranslatef(0, 0, -10);
    glColor3f(1, 0, 0);
    testing::internal::CaptureStdout();
    ryl_infoText(-35, -20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PAUSED AT : 0ms\n");
    int red = 0, above = 0;
    for (int x = 0; x < WIDTH; ++x)
        for (int y = 0; y < HEIGHT; ++y)
            if (isColour(pixelAt(x, y), 255, 0, 0)) ++(y < 30 ? red : above);
    EXPECT_GT(red, 50);
    EXPECT_EQ(above, 0);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
}

}  // namespace
