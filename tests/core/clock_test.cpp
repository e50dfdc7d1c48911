// The demo clock, the scene table and the framework's query, without a window.
#include "child.h"
#include "ryl.h"
#include "ryl_sound.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

TEST(Get, AnswersEachSelectorAndNaNForTheRest) {
    ryl_globalX = 800;
    ryl_globalY = 600;
    S_SCENE = 4;
    SOUND_ON = 0;
    SOUND_MUTE_TIMER = 1234;
    EXPECT_EQ(ryl_Get(1), 800.0f);
    EXPECT_EQ(ryl_Get(2), 600.0f);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(ryl_Get(3)), std::bit_cast<std::uint32_t>(1.7777778f));
    EXPECT_EQ(ryl_Get(4), 4.0f);
    EXPECT_EQ(ryl_Get(5), 1234.0f);
    EXPECT_EQ(ryl_Get(6), 0.0f);
    CAPTURE = 1;
    CAPTURE_W = 1280;
    CAPTURE_H = 720;
    EXPECT_EQ(ryl_Get(1), 1280.0f);
    EXPECT_EQ(ryl_Get(2), 720.0f);
    for (const int other : {0, 7, -1, 1000}) EXPECT_TRUE(std::isnan(ryl_Get(other))) << other;
}

TEST(Get, PauseFollowsTheSoundSwitchInEveryMode) {
    SOUND_PAUSED = 1;
    for (const int capture : {0, 1}) {
        CAPTURE = capture;
        SOUND_ON = 1;
        EXPECT_EQ(ryl_Get(6), 1.0f);
        SOUND_ON = 0;
        EXPECT_EQ(ryl_Get(6), 0.0f);
    }
}

TEST(SceneTable, RoundsEachLengthDownFromItsSinglePrecisionValue) {
    testing::internal::CaptureStdout();
    ryl_setDemoLength(20.4f);
    EXPECT_EQ(DEMO_LENGTH, 20399);
    ryl_setDemoLength(30.4f);
    EXPECT_EQ(DEMO_LENGTH, 50798);
    ryl_setDemoLength(25.0f);
    EXPECT_EQ(DEMO_LENGTH, 75798);
    EXPECT_EQ(SCENE_TIME[1], 30.4f);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "DEV: DEMO_LENGTH = 20399 SCENE_TIME[0] = 20.400000\n"
                                                      "DEV: DEMO_LENGTH = 50798 SCENE_TIME[1] = 30.400000\n"
                                                      "DEV: DEMO_LENGTH = 75798 SCENE_TIME[2] = 25.000000\n");
}

TEST(SilentClock, JumpsWithoutBoundsEvenBeforeItRuns) {
    SOUND_ON = 0;
    ryl_skipTo(5000);
    EXPECT_EQ(ryl_getTime(), 5000);
    ryl_skipTo(-7);
    EXPECT_EQ(ryl_getTime(), -7);
    ryl_startMusic();
    ryl_startMusic();
    EXPECT_EQ(SOUND_MUTE_START, 2);
}

TEST(CaptureClock, CannotBeMovedAndMakesNoSound) {
    CAPTURE = 1;
    CAPTURE_TIMER = 75;
    ryl_loadMusic("data/no-such-file.mp3");
    ryl_startMusic();
    ryl_skipTo(5000);
    EXPECT_EQ(ryl_getTime(), 75);
    EXPECT_EQ(system0, nullptr);
    EXPECT_EQ(SOUND_MUTE_START, 0);
}

TEST(SoundClock, StandsAtZeroUntilThereIsASoundtrack) {
    testing::internal::CaptureStdout();
    ryl_startMusic();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[/] No soundfile loaded.\n");
    ryl_skipTo(1000);
    EXPECT_EQ(ryl_getTime(), 0);
    EXPECT_EQ(SONGLENGTH, 0U);
}

TEST(SoundClock, SkipsWithinTheSongOnly) {
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    ryl_loadMusic("data/tune.mp3");
    ryl_skipTo(1000);  // not started: stays where it is
    EXPECT_EQ(ryl_getTime(), 0);
    ryl_startMusic();
    ASSERT_GE(SONGLENGTH, 190000U);
    FMOD_Channel_SetPaused(channel0, 1);
    const int length = static_cast<int>(SONGLENGTH);
    ryl_skipTo(30000);
    EXPECT_EQ(ryl_getTime(), 30000);
    ryl_skipTo(-1);
    ryl_skipTo(length + 1);
    EXPECT_EQ(ryl_getTime(), 30000);
    ryl_skipTo(length);
    EXPECT_EQ(ryl_getTime(), length);
}

TEST(Soundtrack, MissingFileEndsTheProgramWithTheLibrarysWords) {
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    const ChildResult result = runInChild([] { ryl_loadMusic("data/no-such-file.mp3"); });
    EXPECT_EQ(result.status, 255);
    EXPECT_TRUE(result.output.starts_with("[!] FMOD error! (")) << result.output;
    EXPECT_NE(result.output.find("not found"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.back(), '\n');
}

}  // namespace
