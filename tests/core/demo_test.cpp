// The demo's loading chain and one frame: drawScene with recorders in place of everything that it calls, the GL
// included. Each case runs in a process of its own, so drawScene starts anew.
#include "glm/glm.h"
#include "layers.h"
#include "scenes/scenes.h"
#include "textures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numeric>
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
bool isKeeping = true, isStarted = false;
std::vector<float> lengths;  // that the timeline has registered, seconds

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

// Where scene k begins, ms. Known once the demo is loaded.
float startOf(std::size_t k) {
    return 1000 * std::accumulate(lengths.begin(), lengths.begin() + static_cast<std::ptrdiff_t>(k), 0.0f);
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
int ryl_jumpCount() { return 0; }
int ryl_keptFrom() { return keptFrom; }
void ryl_watchEndings() {}
void ryl_init(int, char**, void (*)(void)) {}
void ryl_loadMusic(const char* file) { record("loadMusic", file); }
void ryl_startMusic() { isStarted = true; }
void ryl_skipTo(int ms) { answers[5] = static_cast<float>(ms); }
void ryl_setDemoLength(float seconds) { lengths.push_back(seconds); }
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
    EXPECT_EQ(frameAt(startOf(1) + 25, {"field"}), "field 25 h 100") << "scenes remember nothing of it";
}

TEST(Frame, BringsTheScenesPictureToTheWindow) {
    load();
    EXPECT_EQ(frameAt(10000, {}), "clearColour 1, camera -50, target 5 1, ribbons 10000 23 24 25, clearColour 0, "
                                  "finish 640 360 1 0.4 13 12 22 0.2, swap");
    answers[6] = 1;
    EXPECT_EQ(frameAt(10000, {"finish", "pauseLine"}), "finish 640 360 1 0.4 13 12 22 0.2, pauseLine -35 -20");
    answers[6] = 0;
    constexpr std::size_t BLACK_SCENES = 4;
    const float closing = startOf(lengths.size() - BLACK_SCENES) + 1000;
    frameAt(closing);
    EXPECT_EQ(frameAt(closing, {"target", "finish"}), "target 5 0, finish 640 360 0 1 13 0 0 0.2");
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
    frameAt(startOf(1) + 5000);
    EXPECT_EQ(stillFrames(startOf(1) + 5000), 20) << "the floor pattern goes on";
}

TEST(Frame, ThatLeavesNothingIsRememberedButNotDrawn) {
    keptFrom = 1000000;
    EXPECT_NE(frameAt(0, {"loadPNG"}), "");
    EXPECT_EQ(load(), 31) << "as many as always";
    const float greetings = startOf(1), walls = startOf(2);
    keptFrom = static_cast<int>(walls) + 1000;  // which are over then, and their last second is not
    EXPECT_EQ(frameAt(greetings - 1025, {}), "clearColour 1, camera -50, clearColour 0");
    keptFrom = static_cast<int>(walls) + 1025;
    EXPECT_EQ(frameAt(greetings + 25, {}), "clearColour 1, camera -50, clearColour 0, clearColour 0");
    const Words drawing = {"target", "field", "finish", "swap"};
    EXPECT_EQ(frameAt(walls - 1025, drawing), "");
    EXPECT_EQ(frameAt(walls - 1000, drawing), "target 5 1, field 19400 h 102, finish 640 360 1 1 13 12 22 0.2, swap");
}

TEST(Frame, IsTheWindowsColourAloneBeforeTheFirstScene) {
    load();
    EXPECT_EQ(frameAt(startOf(1) + 25),
              "ribbons " + std::to_string(std::lround(startOf(1)) + 25) + " 23 24 25, field 25 h 100");
    for (int scene = 1; scene >= 0; --scene) frameAt(-3500);
    EXPECT_EQ(frameAt(5000, {"finish", "ribbons"}), "finish 640 360 0 1 0 0 0 0.2") << "the cut";
    EXPECT_EQ(frameAt(5000, {"finish", "ribbons"}), "finish 640 360 1 1 0 0 0 0.2");
}
