// --live: what a saved file changes, and that one that is broken or half written changes nothing.
#include "live.h"

#include "child.h"
#include "gl_window.h"
#include "live_view.h"
#include "printed.h"
#include "ryl.h"
#include "ryl_sound.h"
#include "shader.h"
#include "temp_dir.h"
#include "texts.h"
#include "textures.h"
#include "tracks.h"

#include <GL/glew.h>
// GLEW before anything that includes gl.h.
#include <GL/freeglut.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <gd.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr int SIDE = 64;
constexpr int RED = 0xff0000, GREEN = 0x00ff00;

// Loads again what was saved, as every tick does, until something was or went wrong; false after ten seconds.
bool reloads() {
    const int before = ryl_reloadCount();
    const std::string errors = ryl_liveErrors();
    for (int wait = 0; wait < 2000; ++wait) {
        ryl_reloadSaved();
        if (ryl_reloadCount() != before || ryl_liveErrors() != errors) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

std::string png(int colour) {
    gdImage* image = gdImageCreateTrueColor(16, 16);
    gdImageFilledRectangle(image, 0, 0, 15, 15, colour);
    int size = 0;
    void* bytes = gdImagePngPtr(image, &size);
    std::string png(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    gdFree(bytes);
    gdImageDestroy(image);
    return png;
}

std::string tga(int red, int green) {
    std::string bytes(18, '\0');
    bytes[2] = 2;
    bytes[12] = bytes[14] = 1;
    bytes[16] = 24;
    return bytes + '\0' + static_cast<char>(green) + static_cast<char>(red);
}

Pixel shown(unsigned texture) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glColor4f(1, 1, 1, 1);
    glLoadIdentity();
    ryl_draw2DTexture(0, 0, 0, 1, 1, texture);
    return pixelAt(SIDE / 2, SIDE / 2);
}

constexpr Pixel RED_PIXEL = {255, 0, 0, 255}, GREEN_PIXEL = {0, 255, 0, 255};

void openWindow() {
    openTestWindow(SIDE, SIDE);
    ryl_initRendering();
    ryl_startLive(true);
}

TEST(Live, PicturesKeepTheirTextureAndTheLastGoodImage) {
    openWindow();
    const TempDir dir;
    const std::string path = dir.write("a.png", png(RED)), image = dir.write("a.tga", tga(255, 0));
    fs::create_symlink(path, dir.path() / "link.png");
    const unsigned texture = ryl_loadPNG((dir.path() / "link.png").c_str()), other = ryl_loadTGA(image.c_str());
    EXPECT_EQ(shown(texture), RED_PIXEL);
    dir.write("a.png", png(GREEN));
    ASSERT_TRUE(reloads());
    EXPECT_EQ(shown(texture), GREEN_PIXEL) << "saved in place, behind a link";
    fs::rename(dir.write("new", png(RED)), path);
    ASSERT_TRUE(reloads());
    EXPECT_EQ(shown(texture), RED_PIXEL) << "replaced by renaming";
    dir.write("a.png", "");
    dir.write("a.tga", tga(0, 255).substr(0, 20));
    ASSERT_TRUE(reloads());
    EXPECT_EQ(ryl_liveErrors(), "[!] Unable to allocate memory for tga " + image + "...\n");
    EXPECT_EQ(shown(other), RED_PIXEL);
    EXPECT_EQ(shown(texture), RED_PIXEL) << "an empty file is one that is being written";
    dir.write("a.tga", tga(0, 255));
    dir.write("a.png", png(GREEN).substr(0, 60));
    while (ryl_liveErrors() != "[! " + (dir.path() / "link.png").string() + "] Unable to load image\n")
        ASSERT_TRUE(reloads());
    EXPECT_EQ(shown(other), GREEN_PIXEL);
    for (int save = 0; save < 200; ++save) {
        dir.write("a.png", png(save % 2 == 0 ? GREEN : RED));
        ASSERT_TRUE(reloads());
    }
    EXPECT_EQ(shown(texture), RED_PIXEL);
    EXPECT_EQ(ryl_loadBlack(), std::max(texture, other) + 1) << "no other texture was made";
}

std::string fragment(const std::string& colour) {
    return "uniform float level;\nvoid main() { gl_FragColor = " + colour + "; }\n";
}

TEST(Live, ShadersKeepTheirIdTheirUniformsAndTheLastGoodProgram) {
    openWindow();
    const TempDir dir;
    const std::string path = dir.write("a.frag", fragment("vec4(level, 0.0, 0.0, 1.0)"));
    const int id = ryl_loadShader(nullptr, path.c_str());
    const float level = 1;
    ryl_enableShader(id);
    ryl_shader_sendUniformValue(id, "level", &level, 1);  // once
    const auto drawn = [] {
        glRectf(-1, -1, 1, 1);
        return pixelAt(SIDE / 2, SIDE / 2);
    };
    glDisable(GL_DEPTH_TEST);
    EXPECT_EQ(drawn(), RED_PIXEL);
    for (int save = 0; save < 200; ++save) {
        dir.write("a.frag", fragment(save % 2 == 0 ? "vec4(level, 0.0, 0.0, 1.0)" : "vec4(0.0, level, 0.0, 1.0)"));
        ASSERT_TRUE(reloads());
    }
    EXPECT_EQ(drawn(), GREEN_PIXEL);
    dir.write("a.frag", fragment("vec4(level)") + "x");
    EXPECT_NE(printedBy([] { EXPECT_TRUE(reloads()); }).find("[! " + path + "] "), std::string::npos);
    EXPECT_EQ(drawn(), GREEN_PIXEL);
    dir.write("a.frag", fragment("vec4(level, 0.0, 0.0, 1.0)"));
    ASSERT_TRUE(reloads());
    EXPECT_EQ(ryl_liveErrors(), "");
    const std::string broken = dir.write("b.frag", "x");
    ryl_loadShader(nullptr, broken.c_str());
    EXPECT_TRUE(ryl_liveErrors().starts_with("[! " + broken + "] ")) << "broken from the start";
    EXPECT_EQ(drawn(), RED_PIXEL);
    EXPECT_EQ(CURRENT_ID, id + 1);
}

TEST(Live, TextsAndTracksAreLoadedAgainUnlessTheyAreWrong) {
    const TempDir dir;
    const std::string path = dir.write("a.tracks", "track a\n0 1\ntrack b\n0 2\n");
    const std::string& text = ryl_loadText(dir.write("a.txt", "first\n").c_str());
    ryl_loadTracks(path.c_str());
    ryl_startLive(true);  // as in programs that load before ryl_init
    dir.write("a.txt", "second\nline\n");
    ASSERT_TRUE(reloads());
    EXPECT_EQ(text, "second\nline");
    dir.write("a.tracks", "track a\n0 5\ntrack b\n0");
    ASSERT_TRUE(reloads());
    EXPECT_EQ(ryl_liveErrors(), "[! " + path + "] line 4: a row is a time, a value and perhaps a curve\n");
    EXPECT_EQ(ryl_track("a", 0), 1);
    dir.write("a.tracks", "track a\n0 5\n");
    ASSERT_TRUE(reloads());
    EXPECT_EQ(ryl_track("a", 0), 5);
    EXPECT_EQ(ryl_track("b", 0), 0) << "is no longer there";
}

TEST(Live, IsOffWithoutTheOption) {
    ryl_startLive(false);
    const TempDir dir;
    const std::string& text = ryl_loadText(dir.write("a.txt", "first").c_str());
    dir.write("a.txt", "second");
    ryl_reloadSaved();
    EXPECT_EQ(text, "first");
    EXPECT_EQ(ryl_reloadCount(), 0);
}

TEST(Live, TheTuneGoesOnFromWhereItWas) {
    setenv("RYL_SOUND", "none", 1);
    openWindow();
    const TempDir dir;
    const std::string tune = readFile("data/tune.mp3"), path = dir.write("a.mp3", tune);
    ryl_loadMusic(path.c_str());
    ryl_startMusic();
    ryl_skipTo(60000);
    ryl_handleKeypress(' ', 0, 0);
    const int paused = ryl_getTime();
    EXPECT_GE(paused, 60000);
    const unsigned length = SONGLENGTH;
    dir.write("a.mp3", tune.substr(0, tune.size() / 2));
    ASSERT_TRUE(reloads());
    EXPECT_EQ(ryl_liveErrors(), "[! " + path + "] the file is cut short.\n");
    dir.write("a.mp3", "no mp3 at all");
    while (ryl_liveErrors().find("The file is not an mp3") == std::string::npos) ASSERT_TRUE(reloads());
    EXPECT_EQ(SONGLENGTH, length);
    for (int save = 0; save < 3; ++save) {
        dir.write("a.mp3", tune + std::string(200, '\0'));
        ASSERT_TRUE(reloads());
    }
    EXPECT_EQ(ryl_liveErrors(), "");
    EXPECT_EQ(ryl_getTime(), paused) << "still paused";
    ryl_handleKeypress(' ', 0, 0);
    for (int wait = 0; wait < 2000 && ryl_getTime() == paused; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_GT(ryl_getTime(), paused);
}

// The colour on the screen itself, whatever window it belongs to.
int onScreen(Display* display, int x, int y) {
    XImage* image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    const auto pixel = image != nullptr ? static_cast<int>(XGetPixel(image, 0, 0) & 0xffffff) : -1;
    if (image != nullptr) XDestroyImage(image);
    return pixel;
}

TEST(Live, ErrorsAreOnTheScreenUntilTheFileIsRight) {
    openWindow();
    glutDisplayFunc([] {
        glClearColor(0, 0, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glutSwapBuffers();
    });
    const int window = glutGetWindow();
    Display* const display = XOpenDisplay(nullptr);
    const TempDir dir;
    ryl_loadTracks(dir.write("a.tracks", "track a\n0 1\n").c_str());
    const auto becomes = [&](int colour) {
        for (int wait = 0; wait < 500; ++wait) {
            glutMainLoopEvent();
            ryl_updateLive();
            glutPostRedisplay();
            const int left = glutGet(GLUT_WINDOW_X), top = glutGet(GLUT_WINDOW_Y);
            if (onScreen(display, left + 1, top + 1) == colour) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    };
    constexpr int DARK_RED = 0x660000, BLUE = 0x0000ff;
    EXPECT_TRUE(becomes(BLUE));
    for (int time = 0; time < 2; ++time) {
        dir.write("a.tracks", "track a\n0 x\n");
        EXPECT_TRUE(becomes(DARK_RED));
        EXPECT_EQ(glutGetWindow(), window);
        dir.write("a.tracks", "track a\n0 2\n");
        EXPECT_TRUE(becomes(BLUE));
    }
    XCloseDisplay(display);
}

}  // namespace
