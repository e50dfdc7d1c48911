// main.cpp - the demo: its loading chain, its timeline, and the road of one frame

#include "endings.h"
#include "fbo.h"
#include "glm/glm.h"
#include "layers.h"
#include "ryl.h"
#include "scenes/scenes.h"
#include "textures.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace {

// What the scenes remember: the opening's zoom, and the floor pattern of each greetings scene.
struct SceneMemory {
    float scale = 0;
    int seed[3] = {100, 100, 100};

    bool operator==(const SceneMemory&) const = default;
};

// What a frame follows from, besides what is loaded.
struct Moment {
    float time, paused;   // of the demo: ms, and not 0 in a pause
    float width, height;  // pixels
    int queue;
    float loadingTime, gColor, windowGrey;
    SceneMemory memory;

    bool operator==(const Moment&) const = default;
};

// ---- What outlives a frame; one record, static in drawScene. Nothing is ever released. ----------------------------

struct Demo {
    // Loading. A step is done when its counter is not 0.
    int loaded = 0;
    int l_texture = 0, l_shader = 0, l_models = 0, l_music = 0, l_fbo = 0;
    float progress = 0;  // length of the loading bar, scene units

    // Timeline.
    int queue = -1;             // the current scene; none while loading, after the last, or before the first
    int songStartPosition = 0;  // where a start scene jumps to, ms of demo time
    float loadingTime = 0;      // where the current scene starts, seconds of demo time

    // Picture.
    float gColor = 0;      // grey that the next frame clears the scene target to
    float windowGrey = 0;  // grey that the next frame clears the window to
    float mblur = 0;       // weight of the pictures before in the motion blur

    // What the frame shows: what its scene has laid out for the window, no picture without a scene; over it the loading bar.
    PictureLayers layers = {};
    float bar = 0;  // length, scene units; 0: none

    int FBO = 0;  // the scene target
    unsigned textureBackground = 0, textureOverlay = 0, textureBlack = 0;
    OpeningImages images = {};
    GLMmodel* cube_model = nullptr;
    unsigned cubeList = 0;  // the model as drawn, flat

    SceneMemory memory = {};
    bool unseen = false;  // the frame leaves nothing in the picture of any frame that is kept
    Moment moment = {};   // of the frame before
    int stillFrames = 0;  // in a row that had the moment of the one before
};

// ---- The timeline -------------------------------------------------------------------------------------------------

constexpr float WHITE = 1, BLACK = 0;

struct Scene {
    float sceneTime;   // length, seconds
    float level;       // grey of the window behind the scene: its pictures fade to it
    float targetGrey;  // grey, and alpha, of the empty scene target. Transparent black shows what is behind.
    void (*draw)(const SceneFrame& frame, Demo& demo);
    void (*remember)(float t, SceneMemory& memory) = nullptr;  // what drawing leaves there, without drawing
};

constexpr const char* GREETINGS[] = {
    "hello to you out there in front of the screen, lean back, turn the sound up and let some thousand cubes say hello",
    "greetings fly out to all who code at night, to pixel painters, chip musicians, shader tamers, bug hunters and daydreamers",
    "love to all who share what they make, and to all who watch         code, graphics and sound by the ryl crew. good night",
};

template <int GREETING>
void drawGreeting(const SceneFrame& frame, Demo& demo) {
    drawCubeField(frame, GREETINGS[GREETING], demo.memory.seed[GREETING]);
}
template <int GREETING>
void rememberGreeting(float t, SceneMemory& memory) {
    memory.seed[GREETING] = seedAfterCubeField(t, memory.seed[GREETING]);
}
void drawOpening(const SceneFrame& frame, Demo& demo) { drawRibbons(frame, demo.images, demo.memory.scale); }
void rememberOpening(float t, SceneMemory& memory) { memory.scale = zoomAfterRibbons(t, memory.scale); }

constexpr Scene TIMELINE[] = {
    {10.4f, WHITE, WHITE, drawOpening, rememberOpening},
    {20.4f, WHITE, BLACK, drawGreeting<0>, rememberGreeting<0>},
    {30.4f, WHITE, BLACK, [](const SceneFrame& f, Demo&) { drawCubeWall(f, false); }},
    {20.4f, WHITE, BLACK, drawGreeting<1>, rememberGreeting<1>},
    {25.0f, WHITE, BLACK, [](const SceneFrame& f, Demo&) { drawCubeWall(f, true); }},
    {25.4f, WHITE, BLACK, drawGreeting<2>, rememberGreeting<2>},
    {14, BLACK, BLACK, [](const SceneFrame&, Demo&) {}},  // the end: CLOSING_S into it the program is over
    {14, BLACK, BLACK, [](const SceneFrame&, Demo&) {}},  // from here on only by "-s"
    {14, BLACK, BLACK, [](const SceneFrame&, Demo&) {}},
    {14, BLACK, BLACK, [](const SceneFrame&, Demo&) {}},
};
constexpr int SCENES = std::size(TIMELINE);
constexpr int CLOSING_SCENE = 6;
constexpr float CLOSING_S = 5;
constexpr float REWIND_LIMIT_S = -3;  // a scene time below this hands back to the scene before
constexpr float SCENE_BLUR = 0.2f;

// Halves of the rectangles on the window, scene units, of which it shows +-36.8 by +-20.7. The picture reaches beyond both
// sides and leaves a band above and below; the overlay, nearer to the camera, covers just the picture that is seen.
constexpr float PICTURE_HALF_WIDTH = 48, PICTURE_HALF_HEIGHT = 17.1f;
constexpr float OVERLAY_HALF_WIDTH = 37.5f, OVERLAY_HALF_HEIGHT = 17.202f, OVERLAY_Z = 0.1f;

// ---- What comes on the window -------------------------------------------------------------------------------------

int windowWidth() { return static_cast<int>(ryl_Get(RYL_WIDTH)); }
int windowHeight() { return static_cast<int>(ryl_Get(RYL_HEIGHT)); }

// Lays out what comes on the window: the scene's picture, fading out over its last second; in the white scenes between
// black bands and under the overlay, in the black ones alone.
PictureLayers layersOf(const Demo& demo, const Scene& scene, float t, unsigned picture) {
    constexpr float BLACK_FADE_S = 13;
    const bool isWhiteScene = scene.level == WHITE;
    return {.windowGrey = scene.level,
            .opacity = (isWhiteScene ? scene.sceneTime : BLACK_FADE_S) - t,
            .picture = {picture, 0, PICTURE_HALF_WIDTH, PICTURE_HALF_HEIGHT},
            .bands = isWhiteScene ? demo.textureBlack : 0,
            .overlay = {isWhiteScene ? demo.textureOverlay : 0, OVERLAY_Z, OVERLAY_HALF_WIDTH, OVERLAY_HALF_HEIGHT}};
}

// The full bar has a scene unit for 17 of the window's pixels, centred, whatever part of it the view shows.
double barHalf() { return ryl_Get(RYL_WIDTH) / 34.0; }

void drawBar(float progress) {
    constexpr double STEP = 0.1;
    glColor4f(1, 0, 0, 1);
    glBegin(GL_TRIANGLE_STRIP);
    for (auto x = static_cast<float>(-barHalf()); x < -barHalf() + progress; x = static_cast<float>(x + STEP)) {
        glVertex3f(x, 0.5f, 0);
        glVertex3f(x, -0.5f, 0);
    }
    glEnd();
}

void drawPauseLine() {
    glColor3f(1, 0, 0);
    ryl_infoText(-35, -20);
}

// Draws once, unseen, what would else be compiled and loaded when the show comes to it: each scene, and a frame with a pause
// line. With that blur there is nothing in the picture but the one before.
void rehearse(const Demo& demo) {
    constexpr float UNSEEN = 1, MIDDLE_S = 6;
    Demo rehearsed = demo;  // for what the scenes remember
    glPushAttrib(GL_COLOR_BUFFER_BIT);
    for (const Scene& scene : TIMELINE) {
        const unsigned picture = ryl_enableFBO(demo.FBO, BLACK, BLACK, BLACK);
        scene.draw({MIDDLE_S, demo.cubeList}, rehearsed);
        ryl_finishFrame(windowWidth(), windowHeight(), layersOf(demo, scene, 0, picture), UNSEEN);
    }
    ryl_finishFrame(windowWidth(), windowHeight(), layersOf(demo, TIMELINE[0], 0, demo.textureOverlay), UNSEEN,
                    ryl_rehearseInfoText);
    glPopAttrib();
}

// ---- Loading: one step a frame, so that the bar moves between them ------------------------------------------------

constexpr char BACKGROUND_FILE[] = "data/images/background.png";  // drawn by no scene
constexpr char OVERLAY_FILE[] = "data/images/focus_overlay2.png";
constexpr char SPHERES_FILE[] = "data/images/spheres.png";
constexpr char BANNER_FILE[] = "data/images/banner.png";
constexpr char SUMMER_FILE[] = "data/images/summer.png";

void loadPictures(Demo& demo) {
    demo.textureBackground = ryl_loadPNG(BACKGROUND_FILE);
    demo.textureOverlay = ryl_loadPNG(OVERLAY_FILE);
    demo.images.spheres = ryl_loadPNG(SPHERES_FILE);
    demo.images.banner = ryl_loadPNG(BANNER_FILE);
    demo.images.summer = ryl_loadPNG(SUMMER_FILE);
    demo.textureBlack = ryl_loadBlack();
    demo.cube_model = glmReadOBJ("data/cubeobj.obj");
    demo.cubeList = glmList(demo.cube_model, GLM_FLAT);
}

void loadSoundtrack(Demo&) { ryl_loadMusic("data/tune.mp3"); }

void makeSceneTarget(Demo& demo) {
    demo.FBO = ryl_loadFBO(windowWidth(), windowHeight());
    rehearse(demo);
}

struct LoadStep {
    int Demo::*done;
    void (*run)(Demo& demo);  // null: nothing to load
};
constexpr LoadStep LOADING[] = {
    {&Demo::l_texture, loadPictures}, {&Demo::l_shader, nullptr},      {&Demo::l_models, nullptr},
    {&Demo::l_music, loadSoundtrack}, {&Demo::l_fbo, makeSceneTarget},
};

// Five steps supply five sixths of the bar, the growth of every frame the rest.
void loadStep(Demo& demo) {
    constexpr double GROWTH = 0.2;
    constexpr int SHARES = 6;
    const double full = 2 * barHalf();
    for (const auto& [done, run] : LOADING) {
        if ((demo.*done)++ != 0) continue;
        if (run != nullptr) run(demo);
        demo.progress = static_cast<float>(demo.progress + full / SHARES);
        break;
    }
    if (full > demo.progress) demo.progress = static_cast<float>(demo.progress + GROWTH);
}

bool isEverythingLoaded(const Demo& demo) {
    return std::all_of(std::begin(LOADING), std::end(LOADING),
                       [&](const LoadStep& step) { return demo.*step.done != 0; });
}

// Whole seconds of every scene before `queue`: a start scene begins a little before its place in the soundtrack.
int startPosition(int queue) {
    int position = 0;
    for (int i = 0; i < std::min(queue, SCENES); ++i) position += static_cast<int>(TIMELINE[i].sceneTime) * 1000;
    return position;
}

// The number that "-s" gave went through a float, which may lie just beyond an int.
int startScene() {
    const float scene = ryl_Get(RYL_START_SCENE);
    constexpr int LAST = std::numeric_limits<int>::max();
    return scene >= static_cast<float>(LAST) ? LAST : static_cast<int>(scene);
}

void startTimeline(Demo& demo) {
    demo.queue = startScene();
    demo.loaded = 1;
    for (const Scene& scene : TIMELINE) ryl_setDemoLength(scene.sceneTime);
    ryl_startMusic();
    if (demo.queue <= 0) return;
    std::printf("## got queue %d\n", demo.queue);
    demo.songStartPosition = startPosition(demo.queue);
    std::printf("song start pos = %d\n", demo.songStartPosition);
    ryl_skipTo(demo.songStartPosition);
    const int startSecond = demo.songStartPosition / 1000;
    demo.loadingTime = static_cast<float>(startSecond);
}

void load(Demo& demo) {
    loadStep(demo);
    demo.mblur = 0;
    demo.bar = demo.progress;
    // In a window of less than a hundred pixels the bar is full before the last step.
    if (demo.progress >= 2 * barHalf() && isEverythingLoaded(demo)) startTimeline(demo);
}

// ---- Frames that are not kept -------------------------------------------------------------------------------------
//
// Where colours rest, the motion blur keeps a trace of what they came from for as long as they rest, because it rounds: 22
// stays 22, and 23 stays 23, under either. The white that a scene fades to and the black of the cut behind it wipe that out,
// so a picture depends on no frame before the end of the scene before.

// Where the scene of that demo time begins, seconds; the first at 0.
float startOfScene(float time) {
    float start = 0;
    for (const Scene& scene : TIMELINE) {
        if (start + scene.sceneTime >= time) break;
        start += scene.sceneTime;
    }
    return start;
}

// Whether the frame at demo time `ms` leaves nothing in the pictures that are kept.
bool isUnseen(float ms) {
    constexpr float MS = 1000, FADE_S = 1;  // and the cut, which is over by then as well
    const auto keptFrom = static_cast<float>(ryl_keptFrom());
    return ms < keptFrom && ms < MS * (startOfScene(keptFrom / MS - FADE_S) - FADE_S);
}

// ---- One frame ----------------------------------------------------------------------------------------------------
//
// Every clear uses the colour that was set before it: the scene target is cleared to the grey that the frame before left
// in gColor, the window to the one that the frame before left in windowGrey, or that its scene lays out.

void beginFrame(Demo& demo) {
    demo.unseen = isUnseen(ryl_Get(RYL_TIME));
    demo.layers = {.windowGrey = demo.windowGrey};
    demo.bar = 0;
    demo.windowGrey = demo.gColor;
    glClearColor(demo.gColor, demo.gColor, demo.gColor, demo.gColor);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(0, 0, -RYL_CAMERA_Z);
}

// Binds the scene target, if there is something to be drawn on it. Returns its texture.
unsigned beginScene(Demo& demo, float level) {
    demo.gColor = level;
    demo.mblur = SCENE_BLUR;
    if (demo.unseen) return 0;
    return ryl_enableFBO(demo.FBO, demo.gColor, demo.gColor, demo.gColor);
}

void layOut(Demo& demo, const PictureLayers& layers) {
    demo.layers = layers;
    demo.bar = 0;
    // The next clear is that of the scene target, if this frame goes on with another scene: opaque black, the cut.
    glClearColor(0, 0, 0, 1);
    demo.windowGrey = BLACK;
}

void handOver(Demo& demo, int k, float t) {
    if (t > TIMELINE[k].sceneTime) {
        demo.queue += 1;
        demo.loadingTime += TIMELINE[k].sceneTime;
    }
    if (t < REWIND_LIMIT_S) {
        demo.queue -= 1;
        if (k > 0) demo.loadingTime -= TIMELINE[k - 1].sceneTime;
    }
}

void playScene(Demo& demo, int k) {
    const Scene& scene = TIMELINE[k];
    const auto t = static_cast<float>(ryl_Get(RYL_TIME) / 1000.0 - demo.loadingTime);
    const unsigned picture = beginScene(demo, scene.level);
    if (!demo.unseen)
        scene.draw({t, demo.cubeList}, demo);
    else if (scene.remember != nullptr)
        scene.remember(t, demo.memory);
    demo.gColor = scene.targetGrey;
    layOut(demo, layersOf(demo, scene, t, picture));
    if (k == CLOSING_SCENE && t > CLOSING_S) std::exit(0);
    handOver(demo, k, t);
}

void endFrame(const Demo& demo) {
    if (demo.unseen) return;
    const bool paused = ryl_Get(RYL_PAUSED) != 0;
    const auto drawOver = [&] {
        if (demo.bar > 0) drawBar(demo.bar);
        if (paused) drawPauseLine();
    };
    const bool hasOver = demo.bar > 0 || paused;
    ryl_finishFrame(windowWidth(), windowHeight(), demo.layers, demo.mblur,
                    hasOver ? DrawOver(drawOver) : DrawOver());
    glutSwapBuffers();
}

// ---- Standing still: paused, every frame follows from the same moment, unless a scene changes what it remembers ---

void noteMoment(Demo& demo) {
    const Moment now = {ryl_Get(RYL_TIME), ryl_Get(RYL_PAUSED), ryl_Get(RYL_WIDTH), ryl_Get(RYL_HEIGHT), demo.queue,
                        demo.loadingTime,  demo.gColor,         demo.windowGrey,    demo.memory};
    demo.stillFrames = now == demo.moment ? demo.stillFrames + 1 : 0;
    demo.moment = now;
}

// Whether the motion blur rests as well, so that the next frame is the one that is kept.
bool isStandingStill(const Demo& demo) {
    constexpr int BLUR_FRAMES = 10;  // twice what it takes from white to black
    return demo.loaded != 0 && demo.moment.paused != 0 && demo.stillFrames > BLUR_FRAMES;
}

// Returns false and does nothing where no picture is kept.
bool showAgain() {
    constexpr float OUT_OF_SIGHT = 1000;  // nothing is drawn from there
    if (!ryl_repeatFrame(windowWidth(), windowHeight())) return false;
    ryl_infoText(OUT_OF_SIGHT, OUT_OF_SIGHT);  // for the console; the picture has its line
    glutSwapBuffers();
    return true;
}

}  // namespace

// The display callback. A scene that hands over lets the next one draw in the same frame; one that hands back
// waits for the next frame.
void drawScene() {
    static Demo demo;
    noteMoment(demo);
    if (isStandingStill(demo) && showAgain()) return;
    beginFrame(demo);
    if (demo.loaded == 0) load(demo);
    for (int k = 0; k < SCENES; ++k)
        if (demo.queue == k) playScene(demo, k);
    endFrame(demo);
}

int main(int argc, char** argv) {
    ryl_watchEndings();  // before a file can take the number of a closed standard stream
    ryl_decodeAhead({BACKGROUND_FILE, OVERLAY_FILE, SPHERES_FILE, BANNER_FILE, SUMMER_FILE});
    ryl_init(argc, argv, drawScene);
    return 0;
}
