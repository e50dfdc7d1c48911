// The scenes, call by call: order, nesting, what each formula feeds, and when a floor cell asks which pattern.
#include "gl_recorder.h"
#include "scenes/scenes.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// What the noise answers; constant unless a test says otherwise.
std::function<float(float x, float y, int seed)> noiseAnswer = [](float, float, int) { return 0.25f; };

// Calls of what is not the GL are written down among the GL's own: as a colour no scene sets.
Lines others;
void note(const std::string& what) {
    others.push_back(what);
    glColor4f(-1, static_cast<float>(others.size() - 1), 0, 0);
}

// All calls, the notes in their places.
Lines allCalls() {
    Lines calls = recordedCalls();
    for (std::string& call : calls) {
        int index = 0;
        if (std::sscanf(call.c_str(), "glColor4f -1 %d", &index) == 1) call = others[static_cast<std::size_t>(index)];
    }
    return calls;
}

int count(const Lines& calls, const std::string& start) {
    return static_cast<int>(
        std::count_if(calls.begin(), calls.end(), [&](const std::string& call) { return call.starts_with(start); }));
}

Lines drawnBy(const std::function<void()>& draw) {
    startRecording();
    others.clear();
    draw();
    const Lines calls = allCalls();
    EXPECT_EQ(count(calls, "glPushMatrix"), count(calls, "glPopMatrix"));
    return calls;
}

Lines part(const Lines& calls, std::size_t from, std::size_t length) {
    const auto start = calls.begin() + static_cast<std::ptrdiff_t>(std::min(from, calls.size()));
    return {start, start + static_cast<std::ptrdiff_t>(std::min(length, calls.size() - from))};
}

std::size_t find(const Lines& calls, const std::string& call, std::size_t from = 0) {
    const auto found = std::find(calls.begin() + static_cast<std::ptrdiff_t>(from), calls.end(), call);
    return static_cast<std::size_t>(found - calls.begin());
}

const Lines INTO_THE_FOG = {"glEnable LIGHTING",
                            "glEnable LIGHT0",
                            "glLightfv LIGHT0 AMBIENT 0.2 0.2 0.2 1",
                            "glLightfv LIGHT0 DIFFUSE 0.8 0.8 0.8 1",
                            "glLightfv LIGHT0 SPECULAR 0.5 0.5 0.5 1",
                            "glEnable FOG",
                            "glFogi FOG_MODE EXP2",
                            "glFogfv FOG_COLOR 1 1 1 1",
                            "glFogf FOG_DENSITY 0.02",
                            "glHint FOG_HINT NICEST"};
const Lines OUT_OF_THE_FOG = {"glPopMatrix", "glDisable LIGHTING", "glPopMatrix", "glDisable FOG",
                              "glPolygonMode FRONT_AND_BACK FILL"};

// The first swarm cube at t = 1 with the noise at 0.25.
const Lines SWARM_CUBE = {"glPushMatrix",
                          "glTranslatef 12.5 12.5 12.5",
                          "glRotatef 50 0.25 0.25 0.25",
                          "glColor4f 0.25 0.25 0.25 1",
                          "glmDraw 1",
                          "glPopMatrix"};

}  // namespace

float ryl_perlin2DNoise(float x, float y, int seed) { return noiseAnswer(x, y, seed); }
void glmDraw(const GLMmodel*, int mode) { note("glmDraw " + std::to_string(mode)); }
void ryl_drawPolygonText(const char* text, float x, float y, float z) {
    note(std::string("text ") + text + " " + std::to_string(static_cast<int>(x)) + " " +
         std::to_string(static_cast<int>(y)) + " " + std::to_string(static_cast<int>(z)));
}
void ryl_draw2DTexture(float, float, float, float, float, unsigned texture) {
    note("quad " + std::to_string(texture));
}
void glutSolidCube(double side) { note("glutSolidCube " + std::to_string(side).substr(0, 3)); }

TEST(Opening, ZoomsTheRibbonsUpOnceAndKeepsTheImagesStill) {
    float scale = 0;
    const auto draw = [&](float t) { return drawnBy([&] { drawRibbons({t, nullptr}, {1, 2, 3}, scale); }); };
    Lines calls = draw(5.375f);
    EXPECT_EQ(scale, 0.0f) << "not yet";
    EXPECT_EQ(part(calls, 0, 4), (Lines{"glPushMatrix", "glPushMatrix", "glScalef 0 0 0", "glRotatef 5.375 0 0 1"}));
    EXPECT_EQ(count(calls, "glBegin TRIANGLE_STRIP"), 100);
    EXPECT_EQ(count(calls, "glVertex3f"), 100 * 200);
    EXPECT_EQ(part(calls, calls.size() - 6, 6),
              (Lines{"glPopMatrix", "glColor4f 1 1 1 2.15", "quad 1", "quad 2", "quad 3", "glPopMatrix"}));
    draw(5.5f);
    EXPECT_FLOAT_EQ(scale, 0.2f);
    draw(5.99f);
    const float full = scale;
    EXPECT_GE(full, 1.1f);
    draw(8);
    draw(-1);
    EXPECT_EQ(scale, full) << "frozen for good";
}

TEST(CubeWall, DrawsLargeCubeSlabAndSwarmInsideTheRoll) {
    const Lines calls = drawnBy([] { drawCubeWall({1, nullptr}, false); });
    EXPECT_EQ(part(calls, 0, INTO_THE_FOG.size()), INTO_THE_FOG);
    EXPECT_EQ(part(calls, INTO_THE_FOG.size(), 9),
              (Lines{"glRotatef 2.5 0 0 1", "glPushMatrix", "glColor4f 1 1 1 1", "glPushMatrix", "glPushMatrix",
                     "glTranslatef 0.375 0 30", "glRotatef -300 1 0 0", "glmDraw 1", "glPopMatrix"}));
    EXPECT_EQ(part(calls, INTO_THE_FOG.size() + 9, 5),
              (Lines{"glPushMatrix", "glTranslatef -8.75 -3 -100", "glColor4f 1 -0.580611 1 1", "glutSolidCube 0.9",
                     "glPopMatrix"}));
    EXPECT_EQ(calls[INTO_THE_FOG.size() + 9 + 5 + 1], "glTranslatef -8.75 -3 -99") << "rows inside columns";
    EXPECT_EQ(count(calls, "glutSolidCube"), 3000);
    EXPECT_EQ(count(calls, "glmDraw"), 101);
    const std::size_t lastSlab = find(calls, "glTranslatef 10.25 -3 49");
    EXPECT_EQ(part(calls, lastSlab + 4, SWARM_CUBE.size()), SWARM_CUBE);
    EXPECT_EQ(part(calls, calls.size() - OUT_OF_THE_FOG.size(), OUT_OF_THE_FOG.size()), OUT_OF_THE_FOG);
}

TEST(CubeWall, BobsOnItsOwnNoise) {
    noiseAnswer = [](float x, float, int seed) { return seed == 32 ? x : 0.0f; };
    const Lines calls = drawnBy([] { drawCubeWall({2, nullptr}, true); });
    EXPECT_NE(find(calls, "glTranslatef 3.45 3.5 30"), calls.size());   // 1.5 * 2.3, 5 * 1.3 - 3
    EXPECT_NE(find(calls, "glTranslatef 10 -2 0"), calls.size());       // column -10: 5 * 4 - 10; 5 * 1 - 7
    EXPECT_NE(find(calls, "glTranslatef 10.5 -1.5 10"), calls.size());  // row 10 is shifted and lifted on
}

TEST(CubeField, GoesFromRowToTextToFloorToSwarm) {
    int seed = 100;
    // Front cubes at x = sin 20 + 10 + 50 - 300: none is near enough.
    const Lines calls = drawnBy([&] { drawCubeField({1, nullptr}, "hi", seed); });
    EXPECT_EQ(part(calls, 0, INTO_THE_FOG.size()), INTO_THE_FOG);
    EXPECT_EQ(
        part(calls, INTO_THE_FOG.size(), 15),
        (Lines{"glPushMatrix", "glPopMatrix", "glPushMatrix", "glColor4f 0 0 0 1", "text hi 10 -15 0", "glPopMatrix",
               "glPushMatrix", "glRotatef 50 0.25 0.25 0.25", "glColor4f 1 1 1 1", "glPushMatrix", "glPushMatrix",
               "glTranslatef -100 -10 -100", "glColor4f 0 0.2 0 1", "glmDraw 1", "glPopMatrix"}));
    const std::size_t lastCell = find(calls, "glTranslatef 90 -10 90");
    EXPECT_EQ(part(calls, lastCell + 4, SWARM_CUBE.size()), SWARM_CUBE);
    EXPECT_EQ(count(calls, "glmDraw"), 400 + 100);
    EXPECT_EQ(part(calls, calls.size() - OUT_OF_THE_FOG.size(), OUT_OF_THE_FOG.size()), OUT_OF_THE_FOG);
}

TEST(CubeField, FrontCubesAreDrawnWithinThirtyUnitsOnly) {
    int seed = 100;
    noiseAnswer = [](float x, float, int noiseSeed) {
        // x = 200 n - 300 at t = 0: -50, -25, 0, 25, 50.
        return noiseSeed == 222 ? 1.25f + 0.125f * std::min(x, 4.0f) : 0.0f;
    };
    const Lines calls = drawnBy([&] { drawCubeField({0, nullptr}, "hi", seed); });
    EXPECT_EQ(count(calls, "glutSolidCube 3.0"), 3);
    EXPECT_EQ(part(calls, INTO_THE_FOG.size() + 1, 6),
              (Lines{"glPushMatrix", "glColor4f 0 1 0 1", "glTranslatef -25 0 20", "glRotatef 0 0 1 0.01",
                     "glutSolidCube 3.0", "glPopMatrix"}));
}

TEST(CubeField, SeedAdvancesWithEveryCellJustAfterABeat) {
    std::vector<int> asked;
    noiseAnswer = [&](float x, float y, int noiseSeed) {
        if (noiseSeed >= 1000) asked.push_back(noiseSeed);
        return noiseSeed >= 1000 && x == -100 && y == -100 ? 0.5f : 0.75f;
    };
    int seed = 1000;
    const auto draw = [&](float t) {
        asked.clear();
        return drawnBy([&] { drawCubeField({t, nullptr}, "hi", seed); });
    };
    Lines calls = draw(0);
    ASSERT_EQ(asked.size(), 400U);
    for (int i = 0; i < 400; ++i) EXPECT_EQ(asked[static_cast<std::size_t>(i)], 1000 + i);
    EXPECT_EQ(seed, 1400);
    EXPECT_EQ(count(calls, "glColor4f 0 0.2 0 1"), 1) << "exactly one half is not above one half";
    EXPECT_EQ(count(calls, "glScalef 1 1 1"), 399);

    calls = draw(0.5f);  // half a beat on
    EXPECT_EQ(seed, 1400);
    EXPECT_TRUE(std::all_of(asked.begin(), asked.end(), [](int s) { return s == 1400; }));
    EXPECT_EQ(count(calls, "glScalef 0.5 0.5 0.5"), 399);
    draw(0.004f);  // 1.2 hundredths of a beat on
    EXPECT_EQ(seed, 1400);
}
