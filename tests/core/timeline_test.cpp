// The loading chain, the timeline and one frame: drawScene with recorders in place of everything that it calls, the
// GL included. Each case runs in a process of its own, so drawScene starts anew.
#include "child.h"
#include "glm/glm.h"
#include "layers.h"
#include "scenes/scenes.h"
#include "textures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

void drawScene();

namespace {

using Words = std::set<std::string>;

std::string calls;  // since the frame's beginning, in a row
Words watched;      // the only ones written down; all when empty
std::map<int, float> answers = {{1, 640.0f}, {2, 360.0f}, {4, 0.0f}, {5, 0.0f}, {6, 0.0f}};  // of ryl_Get
int keptFrom = 0;                                                                            // ms
bool isCapturing = false, isKeeping = true, isStarted = false;

template <typename... Arguments>
void record(const std::string& name, Arguments... arguments) {
    if (!watched.empty() && !watched.contains(name)) return;
    std::ostringstream line;
    line << (calls.empty() ? "" : ", ") << name;
    ((line << ' ' << arguments), ...);
    calls += line.str();
}
template <typename Answer, typename... Arguments>
Answer answer(Answer value, Arguments... arguments) {
    record(arguments...);
    return value;
}

long milliseconds(const SceneFrame& frame) { return std::lround(1000 * frame.t); }

// Draws one frame at demo time `ms` and returns what was called for it.
std::string frameAt(float ms, const Words& words = {"ribbons", "field", "wall"}) {
    answers[5] = ms;
    watched = words;
    calls.clear();
    drawScene();
    return calls;
}

// Calls drawScene until loading is over; the first frame of the start scene is then drawn. Returns the calls it took.
int load(int startScene = 0) {
    answers[4] = static_cast<float>(startScene);
    int frames = 0;
    for (; !isStarted && frames < 1000; ++frames) drawScene();
    return frames;
}

}  // namespace

// ---- The recorders ------------------------------------------------------------------------------------------------

float ryl_Get(int selector) { return answers.at(selector); }
int ryl_keptFrom() { return keptFrom; }
void ryl_watchEndings() {}
void ryl_init(int, char**, void (*)(void)) {}
void ryl_loadMusic(const char* file) { record("loadMusic", file); }
void ryl_startMusic() { isStarted = true; }
void ryl_skipTo(int ms) { answers[5] = isCapturing ? answers[5] : static_cast<float>(ms); }
void ryl_setDemoLength(float) {}
void ryl_infoText(float x, float y) { record("pauseLine", x, y); }
void ryl_decodeAhead(const std::vector<std::string>&) {}
unsigned ryl_loadPNG(const char* path) {
    static unsigned texture = 20;
    return answer(++texture, "loadPNG", path);
}
unsigned ryl_loadBlack() { return answer(12U, "loadBlack"); }
GLMmodel* glmReadOBJ(const char* path) { return answer(nullptr, "readOBJ", path); }
unsigned glmList(const GLMmodel*, int mode) { return answer(14U, "list", mode); }
int ryl_loadFBO(int width, int height) { return answer(5, "loadFBO", width, height); }
unsigned ryl_enableFBO(int id, float red, float, float) { return answer(13U, "target", id, red); }
void ryl_finishFrame(int width, int height, const PictureLayers& layers, float blur, const DrawOver& over) {
    record("finish", width, height, layers.windowGrey, layers.opacity, layers.picture.texture, layers.bands,
           layers.overlay.texture, blur);
    if (over) over();
}
void ryl_rehearseInfoText() { record("unseenPauseLine", isStarted); }
bool ryl_repeatFrame(int width, int height) { return answer(isKeeping, "again", width, height); }
void drawRibbons(const SceneFrame& frame, const OpeningImages& images, float&) {
    record("ribbons", milliseconds(frame), images.spheres, images.banner, images.summer);
}
void drawCubeField(const SceneFrame& frame, const char* line, int& seed) {
    record("field", milliseconds(frame), line[0], seed++);
}
float zoomAfterRibbons(float, float scale) { return scale; }
int seedAfterCubeField(float, int seed) { return seed + 1; }
void drawCubeWall(const SceneFrame& frame, bool bobbing) { record("wall", milliseconds(frame), bobbing); }

extern "C" {
void glutSwapBuffers() { record("swap"); }
void glPushAttrib(unsigned) {}
void glPopAttrib() {}
void glClearColor(float red, float, float, float) { record("clearColour", red); }
void glColor3f(float, float, float) {}
void glColor4f(float, float, float, float) {}
void glMatrixMode(unsigned) {}
void glLoadIdentity() {}
void glTranslatef(float, float, float z) { record("camera", z); }
void glBegin(unsigned) { record("bar"); }
void glVertex3f(float, float, float) {}
void glEnd() {}
}

TEST(Loading, TakesOneStepAFrameUntilTheBarIsFull) {
    const std::string images = "loadPNG data/images/background.png, loadPNG data/images/focus_overlay2.png, "
                               "loadPNG data/images/spheres.png, loadPNG data/images/banner.png, "
                               "loadPNG data/images/summer.png, loadBlack, readOBJ data/cubeobj.obj, list 1";
    for (const std::string& step :
         {images, {}, {}, std::string("loadMusic data/tune.mp3"), std::string("loadFBO 640 360")})
        EXPECT_EQ(frameAt(0, {"loadPNG", "loadBlack", "readOBJ", "list", "loadMusic", "loadFBO"}), step);
    EXPECT_EQ(frameAt(0, {}), "clearColour 0, camera -50, finish 640 360 0 1 0 0 0 0, bar, swap");
    answers[6] = 1;
    EXPECT_EQ(frameAt(0, {"bar", "pauseLine"}), "bar, pauseLine -35 -20");
    EXPECT_EQ(load(), 25) << "paused or not";
}

TEST(Loading, RehearsesUnseenAllThatTheShowDraws) {
    for (int step = 1; step < 5; ++step) frameAt(0);
    EXPECT_EQ(
        frameAt(0, {"ribbons", "field", "wall", "unseenPauseLine"}),
        "ribbons 6000 23 24 25, field 6000 h 100, wall 6000 0, field 6000 g 100, wall 6000 1, field 6000 l 100, "
        "unseenPauseLine 0");
    EXPECT_EQ(frameAt(0, {"field"}), "") << "once";
    load();
    EXPECT_EQ(frameAt(10425, {"field"}), "field 25 h 100") << "scenes remember nothing of it";
}

TEST(Frame, BringsTheScenesPictureToTheWindow) {
    load();
    EXPECT_EQ(frameAt(10000, {}), "clearColour 1, camera -50, target 5 1, ribbons 10000 23 24 25, clearColour 0, "
                                  "finish 640 360 1 0.4 13 12 22 0.2, swap");
    answers[6] = 1;
    EXPECT_EQ(frameAt(10000, {"finish", "pauseLine"}), "finish 640 360 1 0.4 13 12 22 0.2, pauseLine -35 -20");
    answers[6] = 0;
    frameAt(133000);
    EXPECT_EQ(frameAt(133000, {"target", "finish"}), "target 5 0, finish 640 360 0 12 13 0 0 0.2");
}

TEST(Frame, IsShownAgainWhilePausedOnceTheMotionBlurRests) {
    // Until the frame is not drawn but shown again; 20 when that does not come.
    const auto stillFrames = [](float ms) {
        int frames = 0;
        while (frames < 20 && !frameAt(ms, {"target"}).empty()) ++frames;
        return frames;
    };
    load();
    for (int i = 0; i < 20; ++i) frameAt(10000);
    EXPECT_EQ(stillFrames(10000), 20) << "not paused";
    answers[6] = 1;
    EXPECT_EQ(stillFrames(10000), 11);
    EXPECT_EQ(frameAt(10000, {}), "again 640 360, pauseLine 1000 1000, swap");
    answers[1] = 639;
    EXPECT_EQ(stillFrames(10000), 11) << "another size";
    EXPECT_EQ(stillFrames(9000), 11) << "another time";
    isKeeping = false;
    EXPECT_EQ(stillFrames(9000), 20);
    isKeeping = true;
    frameAt(15000);
    EXPECT_EQ(stillFrames(15000), 20) << "the floor pattern goes on";
}

TEST(Frame, ThatLeavesNothingIsRememberedButNotDrawn) {
    keptFrom = 31800;  // a second into the walls, which follow the greetings of 10.4 to 30.8 s
    EXPECT_NE(frameAt(0, {"loadPNG"}), "");
    EXPECT_EQ(load(), 31) << "as many as always";
    EXPECT_EQ(frameAt(9375, {}), "clearColour 1, camera -50, clearColour 0");
    keptFrom = 31825;
    EXPECT_EQ(frameAt(10425, {}), "clearColour 1, camera -50, clearColour 0, clearColour 0")
        << "the greetings have begun";
    const Words drawing = {"target", "field", "finish", "swap"};
    EXPECT_EQ(frameAt(29775, drawing), "");
    EXPECT_EQ(frameAt(29800, drawing), "target 5 1, field 19400 h 102, finish 640 360 1 1 13 12 22 0.2, swap");
}

TEST(Timeline, HandsOverWithinTheFrameAndBackInTheNext) {
    load();
    EXPECT_EQ(frameAt(10400), "ribbons 10400 23 24 25") << "not yet after its length";
    EXPECT_EQ(frameAt(10425), "ribbons 10425 23 24 25, field 25 h 100");
    EXPECT_EQ(frameAt(82000), "field 71600 h 101, wall 51200 0, field 20800 g 100, wall 400 1");
    EXPECT_EQ(frameAt(107000), "wall 25400 1, field 400 l 100");
    EXPECT_EQ(frameAt(103600), "field -3000 l 101") << "not yet below -3 s";
    EXPECT_EQ(frameAt(78500), "field -28100 l 102");
    EXPECT_EQ(frameAt(78500), "wall -3100 1");
    EXPECT_EQ(frameAt(78500), "field 17300 g 101");
    for (int scene = 3; scene >= 0; --scene) frameAt(-3500);
    EXPECT_EQ(frameAt(5000, {"finish", "ribbons"}), "finish 640 360 0 1 0 0 0 0.2") << "left backwards, the cut";
    EXPECT_EQ(frameAt(5000, {"finish", "ribbons"}), "finish 640 360 1 1 0 0 0 0.2") << "left backwards";
}

TEST(Timeline, StartsWithASceneAtItsWholeSecond) {
    const struct {
        int scene, second;
        std::string drawn;
    } cases[] = {{2, 30, "wall 0 0"}, {5, 105, "field 0 l 101"}, {99, 186, ""}, {2147483647, 186, ""}};
    for (const auto& start : cases) {
        const ChildResult result = runInChild([&] {
            load(start.scene);
            std::cout << frameAt(1000.0f * static_cast<float>(start.second));
        });
        EXPECT_EQ(result.output, "## got queue " + std::to_string(start.scene) +
                                     "\nsong start pos = " + std::to_string(start.second) + "000\n" + start.drawn);
    }
}

TEST(Timeline, StartsWithASceneWhereTheClockCannotBeMoved) {
    isCapturing = true;
    answers[5] = 800;
    load(2);
    EXPECT_EQ(frameAt(825), "field -8775 h 100");
    EXPECT_EQ(frameAt(850), "ribbons 1650 23 24 25");
}
