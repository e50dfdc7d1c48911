// What is on the screen, by its pixels: the toolkit, the scenes, one frame, the demo.
#include "child.h"
#include "fbo.h"
#include "fonts.h"
#include "gl_window.h"
#include "glm/glm.h"
#include "layers.h"
#include "lighting.h"
#include "picture.h"
#include "plain_scenes.h"
#include "printed.h"
#include "ryl.h"
#include "scenes/scenes.h"
#include "temp_dir.h"
#include "textures.h"

#include <GL/glew.h>
// GLEW before anything that includes gl.h.
#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace fs = std::filesystem;

void drawScene();

namespace {

constexpr int WIDTH = 640, HEIGHT = 360;

using Bytes = std::vector<unsigned char>;  // R, G, B, A, bottom row first
using Colour = std::array<int, 3>;
constexpr Colour BLACK = {0, 0, 0}, WHITE = {255, 255, 255}, RED = {255, 0, 0}, GREEN = {1, 255, 1},
                 BLUE = {1, 1, 255};

void clearTo(float grey) {
    glClearColor(grey, grey, grey, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

// The framework's window and camera, white.
void openScreen() {
    openTestWindow(WIDTH, HEIGHT);
    ryl_initRendering();
    ryl_handleResize(WIDTH, HEIGHT);
    glMatrixMode(GL_MODELVIEW);
    glTranslatef(0, 0, -50);
    clearTo(1);
}

Bytes pixels() {
    Bytes bytes(static_cast<std::size_t>(WIDTH) * HEIGHT * 4);
    glReadPixels(0, 0, WIDTH, HEIGHT, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    return bytes;
}

// How many components differ by more than `levels`.
int different(const Bytes& a, const Bytes& b, int levels) {
    int count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) count += std::abs(a[i] - b[i]) > levels ? 1 : 0;
    return count;
}

// The pixels of one colour: their share of the picture, and the box around them in scene units.
struct Ink {
    double share = 0, left = 99, right = -99, bottom = 99, top = -99;
};
Ink ink(const Colour& colour, const Bytes& picture = pixels(), int tolerance = 1) {
    constexpr double UNIT = 41.421 / HEIGHT;  // the side of a pixel, 50 units from the camera under 45 degrees
    Ink found;
    for (int i = 0; i < WIDTH * HEIGHT; ++i) {
        const unsigned char* p = &picture[static_cast<std::size_t>(i) * 4];
        if (!isColour({p[0], p[1], p[2], p[3]}, colour[0], colour[1], colour[2], tolerance)) continue;
        const int column = i % WIDTH, row = i / WIDTH;
        const double x = (column + 0.5 - WIDTH / 2.0) * UNIT, y = (row + 0.5 - HEIGHT / 2.0) * UNIT;
        found = {found.share + 1.0 / WIDTH / HEIGHT, std::min(found.left, x), std::max(found.right, x),
                 std::min(found.bottom, y), std::max(found.top, y)};
    }
    return found;
}

void expectBox(const Ink& ink, double left, double right, double bottom, double top, double tolerance = 0.2) {
    EXPECT_NEAR(ink.left, left, tolerance);
    EXPECT_NEAR(ink.right, right, tolerance);
    EXPECT_NEAR(ink.bottom, bottom, tolerance);
    EXPECT_NEAR(ink.top, top, tolerance);
}

// What drawing leaves as it was.
std::vector<double> glState() {
    std::vector<double> all;
    for (const GLenum name : {GL_MODELVIEW_MATRIX, GL_MATRIX_MODE, GL_VIEWPORT, GL_CURRENT_PROGRAM, GL_TEXTURE_2D,
                              GL_FRAMEBUFFER_BINDING, GL_ACTIVE_TEXTURE, GL_BLEND, GL_BLEND_SRC, GL_BLEND_DST,
                              GL_DEPTH_TEST, GL_DEPTH_WRITEMASK, GL_FOG, GL_CURRENT_COLOR, GL_COLOR_CLEAR_VALUE}) {
        double values[16] = {};
        glGetDoublev(name, values);
        all.insert(all.end(), values, values + 16);
    }
    return all;
}

// ---- The toolkit --------------------------------------------------------------------------------------------------

TEST(RenderTarget, ClearsWithTheColourSetBeforeAndSetsTheNext) {
    openScreen();
    const auto window = glState();
    const int id = ryl_loadFBO(32, 16);
    glClearColor(0, 1, 0, 1);
    const unsigned texture = ryl_enableFBO(id, 1, 0, 0);
    EXPECT_EQ(pixelAt(3, 3), (Pixel{0, 255, 0, 255}));
    glRotatef(30, 1, 0, 0);
    ryl_disableFBO(WIDTH + 0.9f, HEIGHT + 0.2f, 0, 0, 1);
    EXPECT_PRED5(isColour, pixelAt(3, 3), 255, 0, 0, 1);
    EXPECT_EQ(ryl_enableFBO(id, 0, 0, 0), texture);
    EXPECT_EQ(pixelAt(3, 3), (Pixel{0, 0, 255, 0}));
    glRectf(-40, 0, 40, 40);  // the upper half, white
    ryl_disableFBO(WIDTH, HEIGHT, 1, 1, 1);
    glClearColor(1, 1, 1, 1);
    EXPECT_EQ(glState(), window);
    ryl_draw2DTexture(0, 0, 0, 20, 10, texture);
    expectBox(ink(WHITE), -20, 20, 0, 10, 0.8);
}

TEST(Quad, LiesWhereItSaysInTheCallersColour) {
    openScreen();
    const unsigned texture = ryl_loadBlack();
    const auto before = glState();
    ryl_draw2DTexture(10, -5, -0.1f, 6, 4, texture);  // 10 to the left, 5 down
    EXPECT_EQ(glState(), before);
    expectBox(ink(BLACK), -16, -4, -9, -1);
    glColor4f(1, 1, 1, 0.5f);
    ryl_draw2DTexture(-15, 0, 0, 4, 4, texture);
    expectBox(ink({128, 128, 128}), 11, 19, -4, 4);
    glColor4f(1, 0, 0, 1);
    glRectf(-20, -20, 0, 0);
    expectBox(ink(BLACK), -16, -4, -9, -1);  // negative z is nearer
}

TEST(MotionBlur, WeighsThePicturesBeforeInTheValuesOfTheScreen) {
    openScreen();
    for (const int level : {255, 51, 10, 2, 0}) {  // the first picture only is kept
        ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
        EXPECT_GT(ink({level, level, level}, pixels(), 0).share, 0.99999) << level;
        clearTo(0);
    }
}

TEST(RenderTarget, After64OfThemEndsTheProcess) {
    const ChildResult result = runInChild([] {
        openScreen();
        for (int i = 0; i < 65; ++i) std::printf("%d ", ryl_loadFBO(2, 2));
    });
    EXPECT_EQ(result.status, 255);
    EXPECT_TRUE(result.output.ends_with("62 63 Maximum numbers of fbo's reached.. exiting\n")) << result.output;
}

TEST(RenderTarget, OfASizeThatTheGlRefusesIsEmptyUntilTheNextSize) {
    openScreen();
    ColourTarget target;
    EXPECT_TRUE(ryl_resizeTarget(target, 8, 4, TargetDepth::bits24));
    EXPECT_FALSE(ryl_resizeTarget(target, 1 << 20, 4, TargetDepth::bits24));
    EXPECT_EQ(target.width, 0);
    EXPECT_TRUE(ryl_resizeTarget(target, 4, 8));
    EXPECT_EQ(target.height, 8);
}

TEST(MotionBlur, ThatCannotBeHadIsReportedOnce) {
    openScreen();
    EXPECT_EQ(printedBy([] {
                  for (int i = 0; i < 2; ++i) ryl_finishFrame(1 << 20, 4, {.windowGrey = 1}, 0);
              }),
              "[/] This GL cannot keep a picture of 1048576 x 4: there is no motion blur.\n");
}

TEST(Text, StandsAtItsPlaceInTheCallersColour) {
    openScreen();
    glColor4f(0, 0, 0, 1);
    const auto before = glState();
    ryl_drawPolygonText("HHH", -4, 3, 0);
    EXPECT_EQ(glState(), before);
    expectBox(ink(BLACK), -3.7, 6, 3, 5.9, 0.3);
}

TEST(PauseLine, IsPrintedAndStandsOverEverything) {
    openScreen();
    glColor4f(0, 0, 1, 1);
    glBegin(GL_TRIANGLES);
    for (const auto& [x, y] : {std::pair{-99, -99}, {99, -99}, {0, 99}})
        glVertex3i(x, y, 10);  // nearer than the line
    glEnd();
    glColor3f(1, 0, 0);
    EXPECT_EQ(printedBy([] { ryl_infoText(-35, -20); }), "PAUSED AT : 0ms\n");
    expectBox(ink(RED), -34.5, -11.5, -20.5, -18, 1);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
}

TEST(Typewriter, ShowsACharacterPerTenthOfASecond) {
    openScreen();
    SOUND_ON = 0;
    const std::string text(12, 'H');
    const auto edgeAt = [](int ms, const std::string& line) {
        SOUND_MUTE_TIMER = ms;
        clearTo(1);
        glColor4f(0, 0, 0, 1);
        ryl_typeWriterText(line.c_str(), -30, 0, 0);
        return ink(BLACK).right;
    };
    const double none = edgeAt(1000, text), two = edgeAt(1250, text), all = edgeAt(9000, text);
    EXPECT_EQ(none, Ink().right) << "the first call draws nothing";
    EXPECT_EQ(edgeAt(1099, text), none);
    EXPECT_GT(all + 30, 5 * (two + 30));
    EXPECT_EQ(edgeAt(500, text), none) << "before the text's start";
    EXPECT_EQ(edgeAt(9000, std::string(12, 'i')), all) << "a text of the same length is not noticed";
    EXPECT_EQ(edgeAt(9000, std::string(11, 'H')), none) << "another length starts over";
    EXPECT_EQ(edgeAt(9250, std::string(11, 'H')), two);
}

TEST(TextureFont, LaysOutGlyphsAndKeepsPlacesFree) {
    openScreen();
    const TempDir folder;
    const std::string header("\0\0\2\0\0\0\0\0\0\0\0\0\4\0\1\0\30\0", 18);  // four texels: red, green, blue, white
    ryl_loadTextureFont(folder.write("a.tga", header + "\1\1\xff\1\xff\1\xff\1\1\xff\xff\xff").c_str(), 4);
    clearTo(0);
    ryl_text("zB c3!Da", 2.5f, -9, 0, 0, 0, 0, 0);
    expectBox(ink(GREEN), -7.5, -5.5, -1, 1);  // capitals draw as small letters
    expectBox(ink(BLUE), -2.5, -0.5, -1, 1);   // a blank keeps its place, as does what has no glyph
    expectBox(ink(WHITE), 5, 7, -1, 1);
    expectBox(ink(RED), 7.5, 9.5, -1, 1);
    clearTo(0);
    ryl_text("ab", 2.5, 0, 0, 0, 0, 0, 180);
    expectBox(ink(GREEN), -3.5, -1.5, -1, 1);  // turned by half a turn the line runs to the left
}

TEST(Text, FontTestShowsTheWholeStripOnASquare) {
    openScreen();
    const TempDir folder;
    fs::create_directory(folder.path() / "data");
    folder.write("data/font.tga", std::string("\0\0\2\0\0\0\0\0\0\0\0\0\2\0\1\0\x18\0", 18) + std::string(6, '\0'));
    fs::current_path(folder.path());
    const std::string printed = printedBy([] {
        for (int i = 0; i < 2; ++i) {
            clearTo(1);
            ryl_testTextureFont();
            expectBox(ink(BLACK), 0, 10, 0, 10);
        }
    });
    EXPECT_TRUE(printed.starts_with("[*] texture data/font.tga loaded...\n")) << printed;
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 2) << "loaded once, its name in a line: " << printed;
}

TEST(Lights, OfOnesOwnAddDiffuseAndAmbientLight) {
    openScreen();
    LightData light = {};
    ryl_setLightData(light.ambient, 1, 1, 1, 1);  // not sent
    ryl_setLightData(light.diffuse, 0.4f, 0, 0, 1);
    ryl_setLightData(light.position, 0, 0, 1, 0);
    ryl_setAmbientLight(0, 0.2f, 0, 1);
    ryl_enableLight(&light, 3);
    glNormal3f(0, 0, 1);
    glColor3f(1, 1, 1);
    glRectf(-5, -5, 5, 5);
    EXPECT_TRUE(glIsEnabled(GL_LIGHT3));
    EXPECT_FALSE(glIsEnabled(GL_LIGHT0));
    expectBox(ink({102, 51, 0}), -5, 5, -5, 5);
}

TEST(Lights, Light0StaysOnWhenLightingIsTurnedOff) {
    openScreen();
    for (const int on : {2, 0}) ryl_setLight0(on);
    EXPECT_TRUE(glIsEnabled(GL_LIGHT0));
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
}

// ---- The scenes ---------------------------------------------------------------------------------------------------

// What `draw` draws on a white scene target.
Bytes drawnBy(const std::function<void()>& draw) {
    static const int target = ryl_loadFBO(WIDTH, HEIGHT);
    glClearColor(1, 1, 1, 0);
    ryl_enableFBO(target, 0, 0, 0);
    draw();
    return pixels();
}

unsigned cubeList() {
    GLMmodel* model = glmReadOBJ("data/cubeobj.obj");
    const unsigned list = glmList(model, GLM_FLAT);
    glmDelete(model);
    return list;
}

TEST(Scenes, WallsLookLikeThePlainOnes) {
    constexpr int FEW = WIDTH * HEIGHT * 4 / 10000;
    openScreen();
    const unsigned cube = cubeList();
    // The bobbing slab reaches through the near plane at 9.74, 14.92, and from 22 s on.
    for (const float t : {-2.5f, 0.3f, 6.958f, 9.74f, 14.92f, 19.0f, 22.34f, 22.62f, 23.081f, 23.3f})
        for (const bool bobbing : {false, true}) {
            const Bytes picture = drawnBy([&] { drawCubeWall({t, cube}, bobbing); });
            const Bytes plain = drawnBy([&] { plain::drawCubeWall({t, cube}, bobbing); });
            EXPECT_LE(different(picture, plain, 1), FEW) << "wall at " << t << (bobbing ? ", bobbing" : "");
        }
}

TEST(Scenes, FieldsShowTheGreenCubes) {
    openScreen();
    int seed = 100;
    const unsigned cube = cubeList();
    for (const float t : {4.15f, 9.4f, 17.0f}) {
        const Bytes picture = drawnBy([&] { drawCubeField({t, cube}, "hello", seed); });
        EXPECT_NEAR(ink({50, 200, 50}, picture, 90).share, 0.1, 0.09) << t;
    }
}

TEST(Scenes, KeepTheFloorPatternForAThirdOfASecond) {
    openScreen();
    int seed = 100;
    for (const auto& [t, after] : {std::pair{0.5f, 100}, {0.334f, 500}, {0.34f, 500}, {0.0f, 900}, {0.66f, 900}}) {
        drawCubeField({t, 0}, "", seed);
        EXPECT_EQ(seed, after) << t;
    }
}

TEST(Scenes, KeepTheZoomOfTheRibbons) {
    openScreen();
    float scale = 0;
    for (const auto& [t, zoom] :
         {std::pair{5.39f, 0.0f}, {5.5f, 0.2f}, {5.96f, 1.12f}, {5.5f, 1.12f}, {8.0f, 1.12f}}) {
        drawRibbons({t, 0}, {}, scale);
        EXPECT_NEAR(scale, zoom, 1e-5f) << t;
    }
}

// ---- A frame finished in one pass ---------------------------------------------------------------------------------

unsigned noiseTexture(int width, int height) {
    static std::mt19937 random(1);
    Bytes texels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    std::generate(texels.begin(), texels.end(), [&] { return static_cast<unsigned char>(random()); });
    unsigned texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    return texture;
}

PictureLayers noiseLayers() {
    return {.windowGrey = 1,
            .opacity = 1,
            .picture = {noiseTexture(WIDTH, HEIGHT), 0, 48, 17.1f},
            .bands = ryl_loadBlack(),
            .overlay = {noiseTexture(99, 77), 0.1f, 37.5f, 17}};
}

const DrawOver NOTHING_OVER = [] {};  // but so the frame is drawn layer by layer

TEST(Frame, LooksTheSameInOnePassAndLayerByLayer) {
    openScreen();
    PictureLayers layers = noiseLayers();
    const PictureLayers before = {.windowGrey = 1, .picture = {noiseTexture(WIDTH, HEIGHT), 0, 40, 22}};
    const auto frame = [&](const DrawOver& over) {
        ryl_finishFrame(WIDTH, HEIGHT, before, 0, NOTHING_OVER);  // noise is kept
        const auto state = glState();
        ryl_finishFrame(WIDTH, HEIGHT, layers, 0.2f, over);
        EXPECT_EQ(glState(), state);
        return pixels();
    };
    glColor4f(1, 1, 1, 0.2f);
    for (const float opacity : {7.0f, 1.0f, 0.62f, 0.13f, 0.0f, -1.0f}) {
        layers.opacity = opacity;
        layers.picture.halfWidth = 68 - layers.picture.halfWidth;  // 48, with bands above and below, or 20
        layers.overlay.halfWidth = 57 - layers.overlay.halfWidth;
        EXPECT_EQ(different(frame({}), frame(NOTHING_OVER), 2), 0) << "opacity " << opacity;
    }
}

constexpr int WIDER = WIDTH + 8;
int lastPixelKept() {  // in the upper right corner
    Bytes picture(static_cast<std::size_t>(WIDER) * HEIGHT * 4);
    EXPECT_TRUE(ryl_readPicture(WIDER, HEIGHT, picture.data()));
    return picture[picture.size() - 2];
}

TEST(Frame, IsWholeBeyondTheWindow) {
    openScreen();
    for (const PictureLayers& layers : {PictureLayers{.windowGrey = 1}, noiseLayers()})
        for (const DrawOver& over : {DrawOver(), DrawOver([] { glRectf(-99, -99, 99, 99); })}) {
            glColor4f(1, 1, 1, 1);
            ryl_finishFrame(WIDER, HEIGHT, {}, 0);
            EXPECT_EQ(lastPixelKept(), 0);
            ryl_finishFrame(WIDER, HEIGHT, layers, 0, over);
            EXPECT_EQ(lastPixelKept(), over || layers.bands == 0 ? 255 : 0);
            ryl_blendPicture(WIDER, HEIGHT, 0);
            EXPECT_EQ(lastPixelKept(), 0) << "read from the window, which has no such pixel";
        }
}

TEST(Frame, UnderFullBlurIsUnseen) {
    openScreen();
    ryl_finishFrame(WIDTH, HEIGHT, noiseLayers(), 0);
    const Bytes before = pixels();
    for (const DrawOver& over : {DrawOver(), DrawOver(ryl_rehearseInfoText)}) {
        EXPECT_EQ(printedBy([&] { ryl_finishFrame(WIDTH, HEIGHT, noiseLayers(), 1, over); }), "");
        EXPECT_EQ(different(pixels(), before, 0), 0);
    }
    ryl_finishFrame(WIDTH, HEIGHT, {.windowGrey = 1}, 0, ryl_rehearseInfoText);
    EXPECT_GT(ink(WHITE, pixels(), 0).share, 0.99999) << "so is the line itself";
}

// ---- The demo -----------------------------------------------------------------------------------------------------

Bytes shown;  // by the last swap

// The picture at `ms`, after the motion blur has come to rest.
Bytes pictureAt(int ms) {
    SOUND_MUTE_TIMER = ms;
    for (int i = 0; i < 5; ++i) drawScene();
    return shown;
}

void openDemo() {
    openScreen();
    SOUND_ON = 0;
    while (DEMO_LENGTH == 0) drawScene();
}

TEST(Demo, LoadsUnderABarThatGrowsFromTheLeft) {
    openScreen();
    SOUND_ON = 0;
    double bar = -99;
    for (int frame = 1; drawScene(), DEMO_LENGTH == 0; ++frame) {
        const Ink red = ink(RED, shown);
        EXPECT_NEAR(red.left, -18.8, 0.2);  // centred when full: a 17th of the window's pixels
        ASSERT_GT(red.right, bar) << "grows with frame " << frame;
        bar = red.right;
    }
}

TEST(Demo, ShowsTheImagesBetweenBandsThenTheRibbonsAndBlackAtTheEnd) {
    openDemo();
    const Bytes images = pictureAt(4000);
    EXPECT_NEAR(ink(BLACK, images, 5).share, 0.17, 0.06) << "the bands above and below";
    EXPECT_GT(ink(WHITE, images, 20).share, 0.25);
    pictureAt(5700);
    EXPECT_LT(ink(WHITE, pictureAt(9000), 20).share, 0.1);
    constexpr int BLACK_SCENES_MS = 4 * 14000;
    EXPECT_GT(ink(BLACK, pictureAt(DEMO_LENGTH - BLACK_SCENES_MS + 1000), 0).share, 0.99999);
}

TEST(Demo, ShowsTheSamePictureAfterAllScenes) {
    openDemo();
    pictureAt(5700);
    const Bytes ribbons = pictureAt(9000);
    for (const int ms : {133000, 128500, 102500, 80000, 78000, 57000, 27000, 7000}) pictureAt(ms);
    EXPECT_LT(different(pictureAt(9000), ribbons, 2), WIDTH * HEIGHT / 1000) << "a scene has changed the GL's state";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(Demo, ShowsWhatStandsStillAsItWas) {
    openDemo();
    SOUND_MUTE_PAUSE = 1;
    pictureAt(9000);
    const Bytes paused = pictureAt(9000);
    EXPECT_EQ(different(pictureAt(9000), paused, 0), 0);
}

}  // namespace

// In place of GLUT's. Afterwards the back buffer holds another picture, as it may after a swap.
void glutSwapBuffers() {
    shown = pixels();
    glPushAttrib(GL_COLOR_BUFFER_BIT);
    clearTo(0.3f);
    glPopAttrib();
}
