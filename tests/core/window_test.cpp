// Reshape, keys and timer ticks in a real window; the window's own clock never runs here, ticks are called.
#include "gl_window.h"
#include "ryl.h"
#include "ryl_sound.h"
#include "temp_dir.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr int WIDTH = 64, HEIGHT = 48;

std::array<int, 4> viewport() {
    std::array<int, 4> box{};
    glGetIntegerv(GL_VIEWPORT, box.data());
    return box;
}

void press(unsigned char key) { ryl_handleKeypress(key, 0, 0); }
void pressSpecial(int key) { ryl_handleSpecialKeys(key, 0, 0); }
int cursor() { return glutGet(GLUT_WINDOW_CURSOR); }

TEST(Reshape, FitsTheWindowAndKeepsTheWideProjection) {
    openTestWindow(WIDTH, HEIGHT);
    ryl_handleResize(800, 600);
    EXPECT_EQ(viewport(), (std::array{0, 0, 800, 600}));
    EXPECT_EQ(ryl_Get(1), 800.0f);
    EXPECT_EQ(ryl_Get(2), 600.0f);
    std::array<float, 16> projection{};
    glGetFloatv(GL_PROJECTION_MATRIX, projection.data());
    EXPECT_NEAR(projection[5] / projection[0], 16.0 / 9.0, 1e-6);
    EXPECT_NEAR(projection[5], 2.414214, 1e-5);  // 1 / tan(22.5 degrees)
    EXPECT_NEAR(projection[10], -201.0 / 199.0, 1e-6);
    int matrixMode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &matrixMode);
    EXPECT_EQ(matrixMode, GL_PROJECTION);
    CAPTURE = 1;
    CAPTURE_W = 1280;
    CAPTURE_H = 720;
    ryl_handleResize(800, 600);
    EXPECT_EQ(viewport(), (std::array{0, 0, 1280, 720}));
    EXPECT_EQ(ryl_globalX, 1280);
    EXPECT_EQ(ryl_globalY, 720);
}

TEST(SilentMode, PausesAndSeeks) {
    openTestWindow(WIDTH, HEIGHT);
    SOUND_ON = 0;
    ryl_update(0);
    EXPECT_EQ(ryl_getTime(), 0) << "runs before it is started";
    ryl_startMusic();
    ryl_update(0);
    ryl_update(0);
    EXPECT_EQ(ryl_getTime(), 50);

    press(' ');
    EXPECT_EQ(ryl_Get(6), 1.0f);
    EXPECT_EQ(cursor(), GLUT_CURSOR_CROSSHAIR);
    ryl_update(0);
    EXPECT_EQ(ryl_getTime(), 50);
    pressSpecial(GLUT_KEY_RIGHT);
    EXPECT_EQ(ryl_getTime(), 1050) << "seeks act while paused";
    press(' ');
    EXPECT_EQ(ryl_Get(6), 0.0f);
    EXPECT_EQ(cursor(), GLUT_CURSOR_NONE);

    for (const auto& [from, to] : {std::pair{500, 0}, {1000, 0}, {1500, 500}}) {
        SOUND_MUTE_TIMER = from;
        pressSpecial(GLUT_KEY_LEFT);
        EXPECT_EQ(SOUND_MUTE_TIMER, to);
    }
    DEMO_LENGTH = 1000;
    pressSpecial(GLUT_KEY_RIGHT);
    EXPECT_EQ(SOUND_MUTE_TIMER, 1500) << "the silent clock has no end";
    press('x');
    pressSpecial(GLUT_KEY_UP);
    EXPECT_EQ(SOUND_MUTE_TIMER, 1500);
}

TEST(SoundMode, PausesTheChannelAndSeeksStrictlyInsideSongAndDemo) {
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    openTestWindow(WIDTH, HEIGHT);
    press(' ');
    EXPECT_EQ(ryl_Get(6), 0.0f) << "nothing to pause before there is a channel";
    pressSpecial(GLUT_KEY_LEFT);
    pressSpecial(GLUT_KEY_RIGHT);

    ryl_loadMusic("data/tune.mp3");
    ryl_startMusic();
    press(' ');
    EXPECT_EQ(ryl_Get(6), 1.0f);
    EXPECT_EQ(cursor(), GLUT_CURSOR_CROSSHAIR);
    DEMO_LENGTH = 10000;
    for (const auto& [from, to] : {std::pair{8999, 9999}, {9000, 9000}}) {
        ryl_skipTo(from);
        pressSpecial(GLUT_KEY_RIGHT);
        EXPECT_EQ(ryl_getTime(), to);
    }
    DEMO_LENGTH = static_cast<int>(SONGLENGTH) + 10000;
    ryl_skipTo(static_cast<int>(SONGLENGTH) - 1000);
    pressSpecial(GLUT_KEY_RIGHT);
    EXPECT_EQ(ryl_getTime(), static_cast<int>(SONGLENGTH) - 1000);
    for (const auto& [from, to] : {std::pair{1001, 1}, {1000, 0}, {300, 0}}) {
        ryl_skipTo(from);
        pressSpecial(GLUT_KEY_LEFT);
        EXPECT_EQ(ryl_getTime(), to);
    }
    press(' ');
    EXPECT_EQ(ryl_Get(6), 0.0f);
    EXPECT_EQ(cursor(), GLUT_CURSOR_NONE);
}

TEST(CaptureMode, WritesNumberedFramesOnAClockThatNothingMoves) {
    const TempDir folder;
    openTestWindow(WIDTH, HEIGHT);
    fs::current_path(folder.path());
    CAPTURE = 1;
    SOUND_ON = 0;
    CAPTURE_W = WIDTH;
    CAPTURE_H = HEIGHT;
    testing::internal::CaptureStdout();
    ryl_startMusic();
    ryl_update(0);
    fs::create_directory("capture");
    for (int tick = 2; tick <= 11; ++tick) ryl_update(0);
    press(' ');
    pressSpecial(GLUT_KEY_RIGHT);
    pressSpecial(GLUT_KEY_LEFT);
    EXPECT_EQ(ryl_getTime(), 275);
    EXPECT_EQ(SOUND_MUTE_TIMER, 0);
    const std::string lines = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(lines.starts_with("couldn't open capture/1.png for writing. screenshot not performed\n"
                                  "[CAPTURE] frame 1\n[CAPTURE] frame 2\n"))
        << lines;
    EXPECT_TRUE(lines.ends_with("[CAPTURE] frame 10\n[CAPTURE] frame 11\n")) << lines;
    EXPECT_FALSE(fs::exists("capture/1.png"));
    EXPECT_TRUE(fs::exists("capture/2.png") && fs::exists("capture/11.png"));
}

}  // namespace
