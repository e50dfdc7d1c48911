// Every scene drawn by the real content on the real GL: what must be in the picture is there, and the GL has nothing to
// complain of.
#include "gl_window.h"
#include "ryl.h"

#include <GL/glew.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

void drawScene();

namespace {

constexpr int WIDTH = 320, HEIGHT = 180;

// The picture at `ms`, drawn until the motion blur has settled.
std::vector<Pixel> pictureAt(int ms) {
    SOUND_MUTE_TIMER = ms;
    for (int i = 0; i < 5; ++i) {
        drawScene();
        const GLenum error = glGetError();
        EXPECT_EQ(error, static_cast<GLenum>(GL_NO_ERROR)) << gluErrorString(error) << " at " << ms << " ms";
    }
    std::vector<Pixel> pixels;
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) pixels.push_back(pixelAt(x, y));
    return pixels;
}

void load() {
    openTestWindow(WIDTH, HEIGHT);
    SOUND_ON = 0;
    ryl_initRendering();
    ryl_handleResize(WIDTH, HEIGHT);
    testing::internal::CaptureStdout();
    for (int i = 0; i < 100 && DEMO_LENGTH == 0; ++i) drawScene();
    testing::internal::GetCapturedStdout();
    ASSERT_GT(DEMO_LENGTH, 0);
}

// Share of the picture, 0 to 1, for which `matches` holds.
double share(const std::vector<Pixel>& pixels, const std::function<bool(const Pixel&)>& matches) {
    int count = 0;
    for (const Pixel& pixel : pixels) count += matches(pixel) ? 1 : 0;
    return static_cast<double>(count) / static_cast<double>(pixels.size());
}

bool isWhite(const Pixel& p) { return p.red > 235 && p.green > 235 && p.blue > 235; }
bool isBlack(const Pixel& p) { return p.red < 5 && p.green < 5 && p.blue < 5; }
bool isGreen(const Pixel& p) { return p.green > p.red + 30 && p.green > p.blue + 30; }
bool isMagenta(const Pixel& p) { return p.red > p.green + 40 && p.blue > p.green + 40; }
bool isRibbon(const Pixel& p) { return p.green < 60 && p.red + p.blue > 120; }

// What every full composite leaves free: the bands above and below the picture, 3.6 of 41.4 units each.
constexpr double BANDS = 0.17;

TEST(Scenes, OpeningHasImagesOnWhiteThenRibbons) {
    load();
    const auto images = pictureAt(4000);
    EXPECT_NEAR(share(images, isBlack), BANDS, 0.06);
    EXPECT_GT(share(images, isWhite), 0.25);
    EXPECT_LT(share(images, isRibbon), 0.3);
    EXPECT_GT(share(pictureAt(8000), isRibbon), 0.4);
    EXPECT_GT(share(pictureAt(10390), isWhite), 0.6) << "fades to white";
}

TEST(Scenes, CubeFieldsHaveGreenCubesInWhiteFogAndBlackText) {
    load();
    for (const int ms : {20400, 71200, 120000}) {
        const auto picture = pictureAt(ms);
        EXPECT_GT(share(picture, isWhite), 0.15) << ms;
        EXPECT_GT(share(picture, isGreen), 0.01) << ms;
        EXPECT_LT(share(picture, isMagenta), 0.2) << ms;
    }
}

TEST(Scenes, CubeWallsAreMagentaInWhiteFog) {
    load();
    for (const int ms : {41000, 95000}) {
        const auto picture = pictureAt(ms);
        EXPECT_GT(share(picture, isMagenta), 0.04) << ms;
        EXPECT_GT(share(picture, isWhite), 0.15) << ms;
    }
}

TEST(Scenes, TheEndIsBlack) {
    load();
    EXPECT_EQ(share(pictureAt(134000), isBlack), 1.0);
    for (const int ms : {150000, 170000, 180000, 200000}) EXPECT_EQ(share(pictureAt(ms), isBlack), 1.0) << ms;
}

// A scene must leave the GL as it found it, or the scenes after a seek look different from those of a straight run.
TEST(Scenes, LookTheSameAfterASeekThroughTheOthers) {
    load();
    pictureAt(5700);
    const auto before = pictureAt(9000);
    for (const int ms : {20000, 41000, 95000, 133000}) pictureAt(ms);
    const auto wall = pictureAt(133000);
    for (const int ms : {128500, 106000 - 3500, 80000, 78000, 57000, 27000, 7000}) pictureAt(ms);
    // The scene's start was summed forwards and back, so edges may move by a hair.
    const auto after = pictureAt(9000);
    int different = 0;
    for (std::size_t i = 0; i < after.size(); ++i)
        different += isColour(after[i], before[i].red, before[i].green, before[i].blue, 2) ? 0 : 1;
    EXPECT_LT(different, WIDTH * HEIGHT / 1000);
    EXPECT_EQ(share(wall, isBlack), 1.0);
}

}  // namespace
