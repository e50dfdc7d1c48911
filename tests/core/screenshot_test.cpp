// Pictures to files: orientation, sizes, levels, and what goes wrong.
#include "gl_window.h"
#include "picture.h"
#include "temp_dir.h"
#include "textures.h"

#include <GL/glew.h>
#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <cstdio>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr int WIDTH = 123, HEIGHT = 40;  // a width that no alignment but 1 reads right

// A picture whose pixel at column x, row y (from the bottom) is (2x, 6y, 77).
void drawPicture() {
    glEnable(GL_SCISSOR_TEST);
    for (int x = 0; x < WIDTH; ++x)
        for (int y = 0; y < HEIGHT; ++y) {
            glScissor(x, y, 1, 1);
            glClearColor(static_cast<float>(2 * x) / 255, static_cast<float>(6 * y) / 255, 77.0f / 255, 1);
            glClear(GL_COLOR_BUFFER_BIT);
        }
    glDisable(GL_SCISSOR_TEST);
}

gdImage* readImage(const fs::path& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    gdImage* image = file != nullptr ? gdImageCreateFromPng(file) : nullptr;
    if (file != nullptr) std::fclose(file);
    return image;
}

// Row 0 of the file is the bottom row of the screen.
void expectPicture(gdImage* image, int width, int height) {
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(gdImageSX(image), width);
    EXPECT_EQ(gdImageSY(image), height);
    int wrong = 0;
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y) {
            const bool inside = x < WIDTH && y < HEIGHT;
            const int expected = inside ? gdTrueColor(2 * x, 6 * y, 77) : 0;
            wrong += gdImageGetPixel(image, x, y) != expected ? 1 : 0;
        }
    EXPECT_EQ(wrong, 0);
    gdImageDestroy(image);
}

TEST(Screenshot, WritesTheScreenBottomRowFirstAtEveryLevel) {
    openTestWindow(WIDTH, HEIGHT);
    const TempDir folder;
    const std::string file = folder.write("picture.png", "an older file");
    drawPicture();
    ryl_screenshot(WIDTH, HEIGHT, file.c_str(), 0);
    const auto stored = fs::file_size(file);
    expectPicture(readImage(file), WIDTH, HEIGHT);
    ryl_screenshot(WIDTH, HEIGHT, file.c_str(), 9);
    EXPECT_LT(fs::file_size(file), stored);
    expectPicture(readImage(file), WIDTH, HEIGHT);
}

TEST(Screenshot, IsBlackOutsideTheWindow) {
    openTestWindow(WIDTH, HEIGHT);
    const TempDir folder;
    const fs::path file = folder.path() / "large.png";
    drawPicture();
    ryl_screenshot(WIDTH + 30, HEIGHT + 20, file.c_str(), 1);
    expectPicture(readImage(file), WIDTH + 30, HEIGHT + 20);
    ryl_blendPicture(WIDTH + 30, HEIGHT + 20, 0);
    ryl_screenshot(WIDTH + 30, HEIGHT + 20, file.c_str(), 1);
    expectPicture(readImage(file), WIDTH + 30, HEIGHT + 20);
}

TEST(Screenshot, ShowsThePictureLastDrawnWhateverTheBackBufferHolds) {
    openTestWindow(WIDTH, HEIGHT);
    const TempDir folder;
    const fs::path file = folder.path() / "kept.png";
    drawPicture();
    ryl_blendPicture(WIDTH, HEIGHT, 0);
    glClearColor(1, 1, 1, 1);  // as after a swap that flips: something else
    glClear(GL_COLOR_BUFFER_BIT);
    ryl_screenshot(WIDTH, HEIGHT, file.c_str(), 1);
    expectPicture(readImage(file), WIDTH, HEIGHT);
    EXPECT_TRUE(isColour(pixelAt(0, 0), 255, 255, 255)) << "the window is bound again";
}

TEST(Screenshot, RefusedLevelLeavesAnEmptyFile) {
    openTestWindow(WIDTH, HEIGHT);
    const TempDir folder;
    for (const int level : {-1, 10}) {
        const std::string file = folder.write("refused.png", "an older file");
        testing::internal::CaptureStdout();
        ryl_screenshot(WIDTH, HEIGHT, file.c_str(), level);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "[!] Major fuckup detected in ryl_screenshot, given compressionlevel was faily. redo\n");
        EXPECT_EQ(fs::file_size(file), 0U);
    }
}

TEST(Screenshot, FilesThatCannotBeWrittenGiveAMessageAndNoTornFile) {
    openTestWindow(WIDTH, HEIGHT);
    const TempDir folder;
    testing::internal::CaptureStdout();
    ryl_screenshot(WIDTH, HEIGHT, "no-such-folder/1.png", 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "couldn't open no-such-folder/1.png for writing. screenshot not performed\n");

    const std::string file = (folder.path() / "torn.png").string();
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    testing::internal::CaptureStdout();
    ryl_screenshot(WIDTH, HEIGHT, file.c_str(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[/] couldn't write " + file + ". screenshot not performed\n");
    EXPECT_FALSE(fs::exists(file));

    testing::internal::CaptureStdout();
    ryl_screenshot(0, 100, file.c_str(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[/] no memory for a picture of 0 x 100. screenshot not performed\n");
}

}  // namespace
