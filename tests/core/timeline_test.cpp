// The rules by which scenes follow each other, on a timeline of three.
#include "timeline.h"

#include "child.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <string>

namespace {

float demoTime = 0, startWith = 0;  // ms; "-s"
bool isCapturing = false;
int jumps = 0;

struct Row {
    float sceneTime;
};
constexpr Row ROWS[] = {{10.4f}, {20.4f}, {30.4f}};  // begin at 0, 10.4 and 30.8 s

// The scenes that play in a frame at demo time `ms`, with their times in ms.
std::string playedAt(Timeline& timeline, float ms) {
    demoTime = ms;
    std::string played;
    const bool goesOn = ryl_playScenes(timeline, ROWS, [&](const Row& row, float t) {
        played +=
            (played.empty() ? "" : ", ") + std::to_string(&row - ROWS) + " " + std::to_string(std::lround(1000 * t));
    });
    return played + (goesOn ? "" : " over");
}

Timeline startAt(int scene) {
    Timeline timeline;
    startWith = static_cast<float>(scene);
    ryl_startTimeline(timeline, ROWS);
    return timeline;
}

struct Loads {
    int first = 0, second = 0, runs = 0;
};
constexpr LoadStep<Loads> STEPS[] = {{&Loads::first, [](Loads& loads) { ++loads.runs; }}, {&Loads::second, nullptr}};

}  // namespace

float ryl_Get(int selector) { return selector == RYL_TIME ? demoTime : startWith; }
void ryl_setDemoLength(float) {}
void ryl_startMusic() {}
int ryl_jumpCount() { return jumps; }
void ryl_skipTo(int ms) { demoTime = isCapturing ? demoTime : static_cast<float>(ms); }

TEST(Timeline, LoadsAStepAFrameAndIsReadyWithAFullBar) {
    for (const double full : {0.3, 5.9}) {
        Timeline timeline;
        Loads loads;
        EXPECT_FALSE(ryl_loadStep(timeline, STEPS, loads, full)) << "the second step is to come";
        EXPECT_EQ(loads.second, 0);
        EXPECT_FLOAT_EQ(timeline.progress, static_cast<float>(full / 3 + 0.2));
        int frames = 1;
        while (++frames < 100 && !ryl_loadStep(timeline, STEPS, loads, full)) continue;
        EXPECT_EQ(frames, full < 1 ? 2 : 10);
        EXPECT_EQ(loads.runs, 1);
    }
}

TEST(Timeline, HandsOverWithinTheFrameAndBackInTheNext) {
    Timeline timeline = startAt(0);
    const struct {
        float ms;
        std::string played;
    } frames[] = {
        {10400, "0 10400"},                                                       // not yet after its length
        {10425, "0 10425, 1 25"}, {31000, "1 20600, 2 200"}, {27800, "2 -3000"},  // not yet before -3 s
        {27775, "2 -3025"},       {27775, "1 17375"},        {61300, "1 50900, 2 30500 over"},
        {61300, " over"},
    };
    for (const auto& [ms, played] : frames) EXPECT_EQ(playedAt(timeline, ms), played);
    Timeline rewound = startAt(0);
    EXPECT_EQ(playedAt(rewound, -3025), "0 -3025");
    EXPECT_EQ(playedAt(rewound, 0), "");
}

TEST(Timeline, StartsWithASceneAtItsWholeSecond) {
    const struct {
        int scene, second;
        std::string played;
    } cases[] = {{2, 30, "2 0"}, {1, 10, "1 0"}, {99, 60, " over"}, {2147483647, 60, " over"}};
    for (const auto& [scene, second, played] : cases) {
        const ChildResult result = runInChild([scene = scene, second = second] {
            Timeline timeline = startAt(scene);
            EXPECT_EQ(demoTime, 1000.0f * static_cast<float>(second));
            std::cout << playedAt(timeline, demoTime);
        });
        EXPECT_EQ(result.output, "## got queue " + std::to_string(scene) +
                                     "\nsong start pos = " + std::to_string(second) + "000\n" + played);
    }
    Timeline none = startAt(-1);
    EXPECT_EQ(playedAt(none, 0), "");
}

TEST(Timeline, FallsBackToTheFirstSceneWhereTheClockCannotBeMoved) {
    isCapturing = true;
    Timeline timeline = startAt(2);
    EXPECT_EQ(playedAt(timeline, 825), "2 -29175");
    EXPECT_EQ(playedAt(timeline, 850), "1 -8750");
    EXPECT_EQ(playedAt(timeline, 875), "0 1675");
}

TEST(Timeline, FollowsAJumpStraightToTheScene) {
    Timeline timeline = startAt(2);
    EXPECT_EQ(playedAt(timeline, 30000), "2 0");
    ++jumps;
    EXPECT_EQ(playedAt(timeline, 30700), "1 20300") << "not 700 ms into the scene that began early";
    ++jumps;
    EXPECT_EQ(playedAt(timeline, 10401), "1 1");
    ++jumps;
    EXPECT_EQ(playedAt(timeline, 0), "0 0");
}

TEST(Timeline, FadesInAndOut) {
    const struct {
        float t, in, out, opacity;
    } cases[] = {{-1, 2, 1, 0},        {0.5f, 2, 1, 0.25f}, {5, 2, 1, 1},
                 {9.75f, 2, 1, 0.25f}, {11, 0, 1, 0},       {11, 0, 0, 1}};
    for (const auto& [t, in, out, opacity] : cases) EXPECT_EQ(ryl_fade(t, 10, in, out), opacity) << t;
}
