// The demo clock in its three modes, and the keys. Cases call the ticks, because no timer runs.
#include "frame_writer.h"
#include "gl_window.h"
#include "printed.h"
#include "ryl.h"
#include "ryl_sound.h"
#include "temp_dir.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr int WIDTH = 64, HEIGHT = 48;

void press(unsigned char key) { ryl_handleKeypress(key, 0, 0); }

// The time after one press of `key` at time `from`.
int timeAfter(int key, int from) {
    ryl_skipTo(from);
    ryl_handleSpecialKeys(key, 0, 0);
    return ryl_getTime();
}

void expectPaused(bool paused) {
    EXPECT_EQ(ryl_Get(RYL_PAUSED), paused ? 1.0f : 0.0f);
    EXPECT_EQ(glutGet(GLUT_WINDOW_CURSOR), paused ? GLUT_CURSOR_CROSSHAIR : GLUT_CURSOR_NONE);
}

TEST(SilentMode, RunsFromItsStartOnAndStandsWhilePaused) {
    openTestWindow(WIDTH, HEIGHT);
    SOUND_ON = 0;
    ryl_update(0);
    EXPECT_EQ(ryl_getTime(), 0) << "runs before it is started";
    ryl_startMusic();
    for (int tick = 0; tick < 2; ++tick) ryl_update(0);
    press(' ');
    expectPaused(true);
    ryl_update(0);
    EXPECT_EQ(ryl_Get(RYL_TIME), 50.0f);
    press(' ');
    expectPaused(false);
}

TEST(SilentMode, SeeksByASecondNotBelowZeroAndWithoutAnEnd) {
    openTestWindow(WIDTH, HEIGHT);
    SOUND_ON = 0;
    ryl_startMusic();
    press(' ');
    expectPaused(true);
    DEMO_LENGTH = 1000;
    EXPECT_EQ(timeAfter(GLUT_KEY_LEFT, 500), 0);
    EXPECT_EQ(timeAfter(GLUT_KEY_LEFT, 1500), 500);
    EXPECT_EQ(timeAfter(GLUT_KEY_RIGHT, 500), 1500);
    EXPECT_EQ(timeAfter(GLUT_KEY_UP, -7), -7);
}

TEST(SoundMode, WithoutASongHasNothingToPauseOrSeekIn) {
    openTestWindow(WIDTH, HEIGHT);
    EXPECT_EQ(printedBy(ryl_startMusic), "[/] No soundfile loaded.\n");
    press(' ');
    EXPECT_EQ(ryl_Get(RYL_PAUSED), 0.0f);
    EXPECT_EQ(timeAfter(GLUT_KEY_RIGHT, 1000), 0);
}

void openPausedSong() {
    setenv("RYL_SOUND", "none", 1);
    openTestWindow(WIDTH, HEIGHT);
    ryl_loadMusic("data/tune.mp3");
    ryl_startMusic();
    press(' ');
    expectPaused(true);
}

TEST(SoundMode, SeeksStrictlyInsideSongAndDemo) {
    openPausedSong();
    const int length = static_cast<int>(SONGLENGTH);
    ASSERT_GE(length, 190000);
    DEMO_LENGTH = 10000;
    EXPECT_EQ(timeAfter(GLUT_KEY_RIGHT, 8999), 9999);
    EXPECT_EQ(timeAfter(GLUT_KEY_RIGHT, 9000), 9000);
    EXPECT_EQ(timeAfter(GLUT_KEY_LEFT, 1001), 1);
    EXPECT_EQ(timeAfter(GLUT_KEY_LEFT, 300), 0);
    EXPECT_EQ(timeAfter(GLUT_KEY_UP, length), length);
    for (const int outside : {length + 1, -1}) EXPECT_EQ(timeAfter(GLUT_KEY_UP, outside), length);
    DEMO_LENGTH = length + 10000;
    EXPECT_EQ(timeAfter(GLUT_KEY_RIGHT, length - 1000), length - 1000);
    press(' ');
    expectPaused(false);
}

TEST(SoundMode, DelayMovesThePictureAndNotTheSound) {
    openPausedSong();
    PICTURE_DELAY = 700;
    ryl_skipTo(5000);
    EXPECT_EQ(ryl_getTime(), 4300);
    DEMO_LENGTH = 100000;
    EXPECT_EQ(timeAfter(GLUT_KEY_RIGHT, 5000), 5300) << "the sound moves by a second";
    PICTURE_DELAY = -700;
    EXPECT_EQ(ryl_getTime(), 6700);
    PICTURE_DELAY = 700;
    ryl_skipTo(100);
    EXPECT_EQ(ryl_getTime(), 0);
}

TEST(CaptureMode, WritesNumberedFramesOnAClockThatNothingMoves) {
    const TempDir folder;
    openTestWindow(WIDTH, HEIGHT);
    fs::current_path(folder.path());
    fs::create_directory("capture");
    CAPTURE = 1;
    CAPTURE_W = WIDTH;
    CAPTURE_H = HEIGHT;
    ryl_loadMusic("data/no-such-file.mp3");
    ryl_startMusic();
    EXPECT_EQ(printedBy([] {
                  for (int tick = 0; tick < 2; ++tick) ryl_update(0);
                  ryl_finishFrames();
              }),
              "[CAPTURE] frame 1\n[CAPTURE] frame 2\n");
    press(' ');
    for (const int key : {GLUT_KEY_LEFT, GLUT_KEY_RIGHT}) EXPECT_EQ(timeAfter(key, 5000), 50);
    for (const char* file : {"capture/1.png", "capture/2.png"}) EXPECT_TRUE(fs::exists(file)) << file;
}

}  // namespace
