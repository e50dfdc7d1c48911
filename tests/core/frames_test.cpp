// The frames as they are seen: the scenes against their plain versions, a frame finished in one pass against its layers
// drawn one by one, and the whole demo, from the loading bar to the end and after seeks.
#include "fbo.h"
#include "layers.h"
#include "picture.h"
#include "plain_scenes.h"
#include "scenes/scenes.h"
#include "screen.h"
#include "textures.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <utility>

void drawScene();

namespace {

constexpr int WIDTH = 640, HEIGHT = 360;

// What `draw` leaves in the scene target, which was white before.
Bytes drawnBy(const std::function<void()>& draw) {
    static const int target = ryl_loadFBO(WIDTH, HEIGHT);
    glClearColor(1, 1, 1, 0);
    ryl_enableFBO(target, 0, 0, 0);
    draw();
    return pixels();
}

TEST(Scenes, LookLikeThePlainOnes) {
    constexpr int FEW = WIDTH * HEIGHT * 4 / 10000;
    openScreen(WIDTH, HEIGHT);
    GLMmodel* model = glmReadOBJ("data/cubeobj.obj");
    const unsigned cube = glmList(model, GLM_FLAT);
    // On a beat, just after one, and between two; the line of text crosses the picture in the first five seconds.
    for (const float t : {-2.9f, 0.0f, 1.003f, 1.2f, 4.15f, 9.3334f, 17.0f}) {
        int seed = 100, plainSeed = 100;
        const Bytes picture = drawnBy([&] { drawCubeField({t, cube}, "hello, hello", seed); });
        const Bytes plain = drawnBy([&] { plain::drawCubeField(t, model, "hello, hello", plainSeed); });
        EXPECT_LE(different(picture, plain, 1), FEW) << "field at " << t;
    }
    // Where it bobs, the slab reaches through the near plane at 9.74, 14.92, and from 22 s on.
    for (const float t : {-2.5f, 0.3f, 6.958f, 9.74f, 14.92f, 19.0f, 22.34f, 22.62f, 23.081f, 23.3f})
        for (const bool bobbing : {false, true}) {
            const Bytes picture = drawnBy([&] { drawCubeWall({t, cube}, bobbing); });
            const Bytes plain = drawnBy([&] { plain::drawCubeWall(t, model, bobbing); });
            EXPECT_LE(different(picture, plain, 1), FEW) << "wall at " << t << (bobbing ? ", bobbing" : "");
        }
}

TEST(Scenes, KeepFloorPatternAndZoomBetweenFrames) {
    openScreen(WIDTH, HEIGHT);
    int seed = 100;
    for (const auto& [t, after] : {std::pair{0.5f, 100}, {0.334f, 500}, {0.34f, 500}, {0.0f, 900}, {0.66f, 900}}) {
        drawCubeField({t, 0}, "", seed);
        EXPECT_EQ(seed, after) << t;
    }
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
    for (unsigned char& component : texels) component = static_cast<unsigned char>(random());
    unsigned texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    return texture;
}

void drawLayer(const PictureLayer& layer) {
    ryl_draw2DTexture(0, 0, -layer.z, layer.halfWidth, layer.halfHeight, layer.texture);
}

// A picture of noise is kept; the window has the grey.
void keepNoise(unsigned noise, float grey) {
    glClearColor(0, 0, 0, 1);
    ryl_disableFBO(WIDTH, HEIGHT, grey, grey, grey);
    glColor4f(1, 1, 1, 1);
    drawLayer({noise, 0, 40, 22});
    ryl_blendPicture(WIDTH, HEIGHT, 0);
    ryl_disableFBO(WIDTH, HEIGHT, 0, 0, 0);
}

TEST(Layers, InOnePassLookAsOneByOneAndLeaveTheStateAlone) {
    openScreen(WIDTH, HEIGHT);
    const unsigned black = ryl_loadBlack(), noise = noiseTexture(WIDTH, HEIGHT);
    PictureLayers layers = {
        1, 0, {noiseTexture(WIDTH, HEIGHT), 0, 48, 17.1f}, {noiseTexture(99, 77), 0.1f, 37.5f, 17}};
    EXPECT_FALSE(ryl_blendLayers(WIDTH, HEIGHT, layers, 0.2f)) << "nothing is kept yet";
    for (const float opacity : {7.0f, 1.0f, 0.62f, 0.13f, 0.0f, -1.0f}) {
        layers.opacity = opacity;
        layers.picture.halfWidth = 68 - layers.picture.halfWidth;  // 48, with bands above and below, or 20
        keepNoise(noise, layers.ground);
        glColor4f(1, 1, 1, opacity);
        drawLayer(layers.picture);
        drawLayer({black, -0.1f, 100, 100});
        drawLayer(layers.overlay);
        ryl_blendPicture(WIDTH, HEIGHT, 0.2f);
        const Bytes expected = pixels();
        keepNoise(noise, layers.ground);
        const auto before = glState();
        ASSERT_TRUE(ryl_blendLayers(WIDTH, HEIGHT, layers, 0.2f));
        EXPECT_EQ(glState(), before);
        EXPECT_EQ(different(pixels(), expected, 2), 0) << "opacity " << opacity;
    }
}

// ---- The demo -----------------------------------------------------------------------------------------------------

// Share of the picture that is within `tolerance` levels of the colour, 0 to 1.
double share(const Bytes& picture, int red, int green, int blue, int tolerance = 20) {
    int count = 0;
    for (std::size_t i = 0; i < picture.size(); i += 4)
        count += isColour({picture[i], picture[i + 1], picture[i + 2], 0}, red, green, blue, tolerance) ? 1 : 0;
    return static_cast<double>(count) / WIDTH / HEIGHT;
}

// The picture at `ms`, drawn until the motion blur has settled.
Bytes pictureAt(int ms) {
    SOUND_MUTE_TIMER = ms;
    for (int i = 0; i < 5; ++i) drawScene();
    return pixels();
}

TEST(Demo, ShowsABarThenImagesThenRibbonsAndLooksTheSameAfterSeeks) {
    openScreen(WIDTH, HEIGHT);
    SOUND_ON = 0;
    double red = 0;
    for (int frame = 1; drawScene(), DEMO_LENGTH == 0; ++frame) {
        const double before = std::exchange(red, share(pixels(), 255, 0, 0));
        ASSERT_GT(red, before) << "the bar grows, frame " << frame;
    }
    const Bytes images = pictureAt(4000);
    EXPECT_NEAR(share(images, 0, 0, 0), 0.17, 0.06) << "the bands above and below";
    EXPECT_GT(share(images, 255, 255, 255), 0.25);
    pictureAt(5700);
    const Bytes ribbons = pictureAt(9000);
    EXPECT_LT(share(ribbons, 255, 255, 255), 0.1);
    EXPECT_GT(share(pictureAt(10390), 255, 255, 255), 0.6) << "fades to white";
    EXPECT_EQ(share(pictureAt(133000), 0, 0, 0, 0), 1.0);
    for (const int ms : {128500, 102500, 80000, 78000, 57000, 27000, 7000}) pictureAt(ms);
    EXPECT_LT(different(pictureAt(9000), ribbons, 2), WIDTH * HEIGHT / 1000) << "a scene has changed the GL's state";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

}  // namespace
