// main.cpp - the demo: its loading chain, its timeline, and one frame

#include "endings.h"
#include "fbo.h"
#include "glm/glm.h"
#include "layers.h"
#include "live.h"
#include "ryl.h"
#include "scenes/scenes.h"
#include "textures.h"
#include "timeline.h"

#include <GL/freeglut.h>

#include <cstdlib>

namespace {

// What the scenes remember: the opening's zoom and the floor pattern of each greetings scene.
struct SceneMemory {
    float scale = 0;
    int seed[3] = {100, 100, 100};

    bool operator==(const SceneMemory&) const = default;
};

// All that decides a frame, besides what is loaded.
struct Moment {
    float time, paused;   // ms of demo time; not 0 in a pause
    float width, height;  // pixels
    int queue;
    float loadingTime, gColor, windowGrey;
    SceneMemory memory;
    int reloads;

    bool operator==(const Moment&) const = default;
};

// ---- What outlives a frame; one record, static in drawScene. Nothing is ever released. ----------------------------

struct Demo {
    int l_texture = 0, l_shader = 0, l_models = 0, l_music = 0, l_fbo = 0;  // loading steps; not 0: done
    Timeline timeline = {};

    // Picture.
    float gColor = 0;      // grey that the next frame clears the scene target to
    float windowGrey = 0;  // grey that the next frame clears the window to
    float mblur = 0;       // weight of the frame before in the motion blur

    // What the frame shows: the layers that its scene has laid out, and the loading bar over them.
    PictureLayers layers = {};
    float bar = 0;  // length, scene units; 0: none

    int FBO = 0;  // the scene target
    unsigned textureBackground = 0, textureOverlay = 0, textureBlack = 0;
    OpeningImages images = {};
    GLMmodel* cube_model = nullptr;
    unsigned cubeList = 0;  // display list of the model, flat

    SceneMemory memory = {};
    bool unseen = false;  // no kept picture shows anything of this frame
    Moment moment = {};   // of the frame before
    int stillFrames = 0;  // how many frames in a row have had the same moment
};

// ---- The timeline -------------------------------------------------------------------------------------------------

constexpr float WHITE = 1, BLACK = 0;

// The order is that of the columns below.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Scene {
    float sceneTime;   // length, seconds
    float level;       // grey of the window behind the scene; the scene fades to it
    float targetGrey;  // grey and alpha of the empty scene target; transparent black shows the window behind
    void (*draw)(const SceneFrame& frame, Demo& demo);
    void (*remember)(float t, SceneMemory& memory) = nullptr;  // changes the memory as draw does, draws nothing
    float end = 0;  // the program ends when the scene is older than this, seconds; 0: it does not
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
void drawNothing(const SceneFrame&, Demo&) {}
void rememberOpening(float t, SceneMemory& memory) { memory.scale = zoomAfterRibbons(t, memory.scale); }

constexpr Scene TIMELINE[] = {
    {10.4f, WHITE, WHITE, drawOpening, rememberOpening},
    {20.4f, WHITE, BLACK, drawGreeting<0>, rememberGreeting<0>},
    {30.4f, WHITE, BLACK, [](const SceneFrame& f, Demo&) { drawCubeWall(f, false); }},
    {20.4f, WHITE, BLACK, drawGreeting<1>, rememberGreeting<1>},
    {25.0f, WHITE, BLACK, [](const SceneFrame& f, Demo&) { drawCubeWall(f, true); }},
    {25.4f, WHITE, BLACK, drawGreeting<2>, rememberGreeting<2>},
    {14, BLACK, BLACK, drawNothing, nullptr, 5},  // the end
    {14, BLACK, BLACK, drawNothing},              // this and the next two: only by "-s"
    {14, BLACK, BLACK, drawNothing},
    {14, BLACK, BLACK, drawNothing},
};
constexpr float SCENE_BLUR = 0.2f;

// Half widths and heights of the rectangles on the window, which shows +-36.8 by +-20.7 scene units. The picture
// reaches beyond both sides and leaves a band above and below. The overlay is nearer to the camera and covers the
// visible part of the picture.
constexpr float PICTURE_HALF_WIDTH = 48, PICTURE_HALF_HEIGHT = 17.1f;
constexpr float OVERLAY_HALF_WIDTH = 37.5f, OVERLAY_HALF_HEIGHT = 17.202f, OVERLAY_Z = 0.1f;

// ---- What the window shows ----------------------------------------------------------------------------------------

int windowWidth() { return static_cast<int>(ryl_Get(RYL_WIDTH)); }
int windowHeight() { return static_cast<int>(ryl_Get(RYL_HEIGHT)); }

// Lays out the scene's picture, which fades out over its last second. White scenes have black bands and the overlay
// as well.
PictureLayers layersOf(const Demo& demo, const Scene& scene, float t, unsigned picture) {
    constexpr float BLACK_FADED_S = 13, FADE_S = 1;
    const bool isWhiteScene = scene.level == WHITE;
    return {.windowGrey = scene.level,
            .opacity = ryl_fade(t, isWhiteScene ? scene.sceneTime : BLACK_FADED_S, 0, FADE_S),
            .picture = {picture, 0, PICTURE_HALF_WIDTH, PICTURE_HALF_HEIGHT},
            .bands = isWhiteScene ? demo.textureBlack : 0,
            .overlay = {isWhiteScene ? demo.textureOverlay : 0, OVERLAY_Z, OVERLAY_HALF_WIDTH, OVERLAY_HALF_HEIGHT}};
}

// Half the length of the full bar, scene units. The bar is centred and has one unit for each 17 pixels of the window,
// even if it is then longer than the view.
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

// Draws each scene, and a frame with a pause line, once and unseen, so that the driver compiles and loads before the
// show. The full blur leaves only the frame before in the picture.
void rehearse(const Demo& demo) {
    constexpr float UNSEEN = 1, MIDDLE_S = 6;
    Demo rehearsed = demo;  // takes what the scenes remember
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

constexpr LoadStep<Demo> LOADING[] = {
    {&Demo::l_texture, loadPictures}, {&Demo::l_shader, nullptr},      {&Demo::l_models, nullptr},
    {&Demo::l_music, loadSoundtrack}, {&Demo::l_fbo, makeSceneTarget},
};

void load(Demo& demo) {
    const bool ready = ryl_loadStep(demo.timeline, LOADING, demo, 2 * barHalf());
    demo.mblur = 0;
    demo.bar = demo.timeline.progress;
    if (ready) ryl_startTimeline(demo.timeline, TIMELINE);
}

// ---- Frames that are not kept -------------------------------------------------------------------------------------
//
// The motion blur rounds, so where colours do not change, a trace of earlier colours stays: over the same frame a
// kept 22 stays 22 and a kept 23 stays 23. The white at the end of a scene and the black cut after it wipe such
// traces out. So a picture depends on no frame before the end of the scene before.

// Whether the frame at demo time `ms` leaves nothing in the pictures that are kept.
bool isUnseen(float ms) {
    constexpr float MS = 1000, FADE_S = 1;  // the fade to white; the cut is over by then too
    const auto keptFrom = static_cast<float>(ryl_keptFrom());
    const SceneStart kept = ryl_sceneAt(ryl_sceneLengths(TIMELINE), keptFrom / MS - FADE_S);
    return ms < keptFrom && ms < MS * (kept.start - FADE_S);
}

// ---- One frame ----------------------------------------------------------------------------------------------------
//
// Every clear uses the colour that was set before it. The scene target is cleared to the gColor of the frame before;
// the window to the windowGrey of the frame before, or to that of the layers that the scene lays out.

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

// Binds the scene target and returns its texture; 0 if the frame is unseen.
unsigned beginScene(Demo& demo, float level) {
    demo.gColor = level;
    demo.mblur = SCENE_BLUR;
    if (demo.unseen) return 0;
    return ryl_enableFBO(demo.FBO, demo.gColor, demo.gColor, demo.gColor);
}

void layOut(Demo& demo, const PictureLayers& layers) {
    demo.layers = layers;
    demo.bar = 0;
    // If another scene follows within this frame, the next clear is that of the scene target: opaque black, the cut.
    glClearColor(0, 0, 0, 1);
    demo.windowGrey = BLACK;
}

void playScene(Demo& demo, const Scene& scene, float t) {
    const unsigned picture = beginScene(demo, scene.level);
    if (!demo.unseen)
        scene.draw({t, demo.cubeList}, demo);
    else if (scene.remember != nullptr)
        scene.remember(t, demo.memory);
    demo.gColor = scene.targetGrey;
    layOut(demo, layersOf(demo, scene, t, picture));
    if (scene.end > 0 && t > scene.end) std::exit(0);
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

// ---- Standing still -----------------------------------------------------------------------------------------------
//
// In a pause all frames have the same moment, unless a scene changes what it remembers.

void noteMoment(Demo& demo) {
    const Moment now = {ryl_Get(RYL_TIME),   ryl_Get(RYL_PAUSED),       ryl_Get(RYL_WIDTH), ryl_Get(RYL_HEIGHT),
                        demo.timeline.queue, demo.timeline.loadingTime, demo.gColor,        demo.windowGrey,
                        demo.memory,         ryl_reloadCount()};
    demo.stillFrames = now == demo.moment ? demo.stillFrames + 1 : 0;
    demo.moment = now;
}

// Whether the motion blur has come to rest too, so that the next frame equals the kept one.
bool isStandingStill(const Demo& demo) {
    constexpr int BLUR_FRAMES = 10;  // twice what the blur takes from white to black
    return demo.timeline.loaded != 0 && demo.moment.paused != 0 && demo.stillFrames > BLUR_FRAMES;
}

// Returns false and does nothing if no picture is kept.
bool showAgain() {
    constexpr float OUT_OF_SIGHT = 1000;  // nothing is drawn from there
    if (!ryl_repeatFrame(windowWidth(), windowHeight())) return false;
    ryl_infoText(OUT_OF_SIGHT, OUT_OF_SIGHT);  // for its console line; the picture already shows the text
    glutSwapBuffers();
    return true;
}

}  // namespace

// The display callback. If a scene is over, the next one draws in the same frame; a step back takes effect in the
// next frame.
void drawScene() {
    static Demo demo;
    noteMoment(demo);
    if (isStandingStill(demo) && showAgain()) return;
    beginFrame(demo);
    if (demo.timeline.loaded == 0) load(demo);
    ryl_playScenes(demo.timeline, TIMELINE, [](const Scene& scene, float t) { playScene(demo, scene, t); });
    endFrame(demo);
}

int main(int argc, char** argv) {
    ryl_watchEndings();  // before a file can take the number of a closed standard stream
    ryl_decodeAhead({BACKGROUND_FILE, OVERLAY_FILE, SPHERES_FILE, BANNER_FILE, SUMMER_FILE});
    ryl_init(argc, argv, drawScene);
    return 0;
}
