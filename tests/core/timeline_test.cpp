// The loading chain, the timeline and the road of a frame: drawScene with recorders in the place of everything that it
// calls, the GL included. Each case runs in a process of its own, so drawScene starts anew.
#include "child.h"
#include "scenes/scenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

void drawScene();

namespace {

std::vector<std::string> calls;
std::map<int, float> answers = {{1, 640.0f}, {2, 360.0f}, {4, 0.0f}, {5, 0.0f}, {6, 0.0f}};

template <typename... Values>
void record(const char* format, Values... values) {
    char line[200];
    std::snprintf(line, sizeof line, format, values...);
    calls.emplace_back(line);
}

bool isCapturing = false;

bool isLoaded() { return std::find(calls.begin(), calls.end(), "startMusic") != calls.end(); }

// Calls drawScene until loading is over; the first frame of the start scene is then drawn. Returns the calls it took.
int load(int startScene = 0) {
    answers[4] = static_cast<float>(startScene);
    int frames = 0;
    while (!isLoaded() && frames < 1000) {
        drawScene();
        ++frames;
    }
    return frames;
}

// Draws one frame at demo time `ms` and returns what was called for it that starts with one of the words.
std::vector<std::string> frameAt(double ms, const std::vector<std::string>& words = {"scene"}) {
    answers[5] = static_cast<float>(ms);
    calls.clear();
    drawScene();
    std::vector<std::string> found;
    for (const std::string& call : calls)
        if (std::any_of(words.begin(), words.end(), [&](const std::string& word) { return call.starts_with(word); }))
            found.push_back(call);
    return found;
}

using Lines = std::vector<std::string>;

}  // namespace

// ---- The recorders ------------------------------------------------------------------------------------------------

float ryl_Get(int selector) { return answers.at(selector); }
void ryl_init(int, char**, void (*)(void)) {}
void ryl_loadMusic(const char* file) { record("loadMusic %s", file); }
void ryl_startMusic() { record("startMusic"); }
void ryl_skipTo(int ms) {
    record("skipTo %d", ms);
    if (!isCapturing) answers[5] = static_cast<float>(ms);
}
void ryl_setDemoLength(float seconds) { record("length %g", static_cast<double>(seconds)); }
void ryl_infoText(float x, float y) { record("pauseLine %g %g", static_cast<double>(x), static_cast<double>(y)); }
void ryl_draw2DTexture(float x, float y, float z, float w, float h, unsigned texture) {
    record("quad %g %g %.1f %g %.3f texture %u", static_cast<double>(x), static_cast<double>(y),
           static_cast<double>(z), static_cast<double>(w), static_cast<double>(h), texture);
}
unsigned ryl_loadPNG(const char* path) {
    record("loadPNG %s", path);
    return 11;
}
unsigned ryl_loadBlack() {
    record("loadBlack");
    return 12;
}
GLMmodel* glmReadOBJ(const char* path) {
    record("readOBJ %s", path);
    return nullptr;
}
int ryl_loadFBO(int width, int height) {
    record("loadFBO %d %d", width, height);
    return 5;
}
unsigned ryl_enableFBO(int id, float red, float, float) {
    record("target %d %g", id, static_cast<double>(red));
    return 13;
}
void ryl_disableFBO(float, float, float red, float, float) { record("window %g", static_cast<double>(red)); }
void ryl_blendPicture(int width, int height, float weight) {
    record("blend %d %d %g", width, height, static_cast<double>(weight));
}
void drawRibbons(const SceneFrame& frame, const OpeningImages&, float& scale) {
    record("scene ribbons %.3f scale %g", static_cast<double>(frame.t), static_cast<double>(scale));
    scale += 1;
}
void drawCubeField(const SceneFrame& frame, const char* line, int& seed) {
    record("scene field %.3f %c seed %d", static_cast<double>(frame.t), line[0], seed);
    seed += 1;
}
void drawCubeWall(const SceneFrame& frame, bool bobbing) {
    record("scene wall %.3f %s", static_cast<double>(frame.t), bobbing ? "bobbing" : "still");
}

extern "C" {
void glutSwapBuffers() { record("swap"); }
void glClear(unsigned) { record("clear"); }
void glClearColor(float red, float, float, float alpha) {
    record("clearColour %g %g", static_cast<double>(red), static_cast<double>(alpha));
}
void glColor3f(float, float, float) {}
void glColor4f(float red, float, float, float alpha) {
    record("colour %g %.2f", static_cast<double>(red), static_cast<double>(alpha));
}
void glMatrixMode(unsigned) {}
void glLoadIdentity() {}
void glTranslatef(float, float, float z) { record("camera %g", static_cast<double>(z)); }
void glBegin(unsigned) { record("bar"); }
void glVertex3f(float, float, float) {}
void glEnd() {}
}

// ---- Loading ------------------------------------------------------------------------------------------------------

TEST(Loading, TakesOneStepAFrame) {
    const std::vector<Lines> steps = {
        {"loadPNG data/images/background.png", "loadPNG data/images/focus_overlay2.png",
         "loadPNG data/images/spheres.png", "loadPNG data/images/banner.png", "loadPNG data/images/summer.png",
         "loadBlack", "readOBJ data/cubeobj.obj"},
        {},
        {},
        {"loadMusic data/tune.mp3"},
        {"loadFBO 640 360"},
        {},
    };
    for (const Lines& step : steps) EXPECT_EQ(frameAt(0, {"load", "read", "scene", "length"}), step);
    const Lines frame = {"clear", "clearColour 0 0", "camera -50", "colour 1 1.00", "bar", "blend 640 360 0", "swap"};
    EXPECT_EQ(frameAt(0, {""}), frame);
}

TEST(Loading, LastsAsLongAsTheBarNeedsButNeverLessThanItsSteps) {
    for (const auto& [width, frames] : {std::pair{640.0f, 32}, {1280.0f, 63}, {20.0f, 5}}) {
        const ChildResult result = runInChild([width = width] {
            answers[1] = width;
            std::printf("%d", load());
        });
        EXPECT_EQ(result.output, std::to_string(frames));
    }
}

TEST(Loading, EndsWithTheTimelineAndTheFirstFrame) {
    load();
    const auto start = std::find(calls.begin(), calls.end(), "length 10.4");
    const Lines expected = {"length 10.4", "length 20.4", "length 30.4", "length 20.4", "length 25",  "length 25.4",
                            "length 14",   "length 14",   "length 14",   "length 14",   "startMusic", "target 5 1"};
    ASSERT_GE(calls.end() - start, static_cast<std::ptrdiff_t>(expected.size()));
    EXPECT_EQ(Lines(start, start + static_cast<std::ptrdiff_t>(expected.size())), expected);
    EXPECT_EQ(calls[calls.size() - 2], "blend 640 360 0.2");
}

// ---- A frame ------------------------------------------------------------------------------------------------------

TEST(Frame, OfAWhiteSceneGoesThroughTargetAndComposite) {
    load();
    frameAt(1000);
    EXPECT_EQ(frameAt(10000, {""}),
              (Lines{"clear", "clearColour 1 1", "camera -50", "target 5 1", "scene ribbons 10.000 scale 2",
                     "window 0.1", "clearColour 0 1", "colour 1 0.40", "quad 0 0 0.0 48 17.100 texture 13",
                     "quad 0 0 0.1 100 100.000 texture 12", "quad 0 0 -0.1 37.5 17.202 texture 11",
                     "blend 640 360 0.2", "swap"}));
}

TEST(Frame, OfABlackSceneHasNeitherBackingNorOverlay) {
    load(7);
    EXPECT_EQ(frameAt(148000, {"colour", "quad", "target", "window"}),
              (Lines{"target 5 0", "window 0", "colour 1 9.00", "quad 0 0 0.0 48 17.100 texture 13"}));
}

TEST(Frame, ShowsThePauseLineUnderTheBlend) {
    load();
    for (const float paused : {1.0f, NAN}) {
        answers[6] = paused;
        EXPECT_EQ(frameAt(1000, {"pauseLine", "blend"}), (Lines{"pauseLine -35 -20", "blend 640 360 0.2"}));
    }
    answers[6] = 0;
    EXPECT_EQ(frameAt(1000, {"pauseLine"}), Lines{});
}

// ---- The timeline -------------------------------------------------------------------------------------------------

TEST(Timeline, HandsOverWithinTheFrameAndStrictlyAfterTheLength) {
    load();
    EXPECT_EQ(frameAt(10400), Lines{"scene ribbons 10.400 scale 1"});
    EXPECT_EQ(frameAt(10425), (Lines{"scene ribbons 10.425 scale 2", "scene field 0.025 h seed 100"}));
    EXPECT_EQ(frameAt(10450), Lines{"scene field 0.050 h seed 101"});
}

TEST(Timeline, PassesThroughEverySceneOfALongJumpForward) {
    load();
    EXPECT_EQ(frameAt(82000),
              (Lines{"scene ribbons 82.000 scale 1", "scene field 71.600 h seed 100", "scene wall 51.200 still",
                     "scene field 20.800 g seed 100", "scene wall 0.400 bobbing"}));
    EXPECT_EQ(frameAt(107000), (Lines{"scene wall 25.400 bobbing", "scene field 0.400 l seed 100"}));
}

TEST(Timeline, GoesBackASceneAFrameBelowMinusThree) {
    load(3);
    EXPECT_EQ(frameAt(57000), Lines{"scene field -3.000 g seed 101"});
    EXPECT_EQ(frameAt(56000), Lines{"scene field -4.000 g seed 102"});
    EXPECT_EQ(frameAt(56000), Lines{"scene wall 26.400 still"});
    EXPECT_EQ(frameAt(60500), (Lines{"scene wall 30.900 still", "scene field 0.500 g seed 103"}))
        << "a scene's memory outlives the visit";
}

TEST(Timeline, LeftBackwardsDrawsNothingMore) {
    load();
    frameAt(-3500);
    EXPECT_EQ(frameAt(-3500), Lines{});
    EXPECT_EQ(frameAt(5000), Lines{});
    EXPECT_EQ(frameAt(5000, {"clear", "swap"}), (Lines{"clear", "clearColour 1 1", "swap"}));
}

TEST(Timeline, StartSceneJumpsByWholeSeconds) {
    testing::internal::CaptureStdout();
    load(2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "## got queue 2\nsong start pos = 30000\n");
    EXPECT_NE(std::find(calls.begin(), calls.end(), "skipTo 30000"), calls.end());
    EXPECT_EQ(frameAt(30000), Lines{"scene wall 0.000 still"});
}

TEST(Timeline, HasNoSceneBeforeTheFirstOrAfterTheLast) {
    for (const int scene : {-4, 10}) {
        const ChildResult result = runInChild([scene] {
            load(scene);
            if (!frameAt(186000, {"target"}).empty()) std::exit(1);
        });
        EXPECT_EQ(result.status, 0) << scene;
    }
}

TEST(Timeline, StartSceneFallsBackWhereTheClockCannotBeMoved) {
    isCapturing = true;
    answers[5] = 800;
    load(2);
    EXPECT_EQ(frameAt(825), Lines{"scene field -8.775 h seed 100"});
    EXPECT_EQ(frameAt(850), Lines{"scene ribbons 1.650 scale 0"});
}

TEST(Timeline, EndsTheProgramFiveSecondsIntoTheClosingScene) {
    const ChildResult result = runInChild([] {
        load(6);
        frameAt(135000);
        if (frameAt(135025, {"swap"}).empty()) std::exit(2);
        std::exit(3);
    });
    EXPECT_EQ(result.status, 0);
}
