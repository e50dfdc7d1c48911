// Images to textures, by what the GL holds afterwards; pictures to files; and what a bad file ends with.
#include "child.h"
#include "gl_window.h"
#include "picture.h"
#include "temp_dir.h"
#include "textures.h"

#include <GL/glew.h>
#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int WIDTH = 123, HEIGHT = 40;  // a width that no alignment but 1 reads right

using Texel = std::array<unsigned char, 4>;

// The bound texture's texels, row 0 first.
std::vector<Texel> texels() {
    int width = 0, height = 0, filter = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
    EXPECT_EQ(filter, GL_NEAREST);
    std::vector<Texel> all(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, all.data());
    return all;
}

std::string pngBytes(gdImage* image) {
    int size = 0;
    void* bytes = gdImagePngPtr(image, &size);
    std::string text(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    gdFree(bytes);
    gdImageDestroy(image);
    return text;
}

// An uncompressed true-colour image; `changes` are bytes put elsewhere into its header.
std::string tga(int width, int height, int depth, const std::string& pixels,
                const std::vector<std::pair<std::size_t, int>>& changes = {}) {
    std::string bytes(18, '\0');
    for (const auto& [at, value] : {std::pair<std::size_t, int>{2, 2},
                                    {12, width % 256},
                                    {13, width / 256},
                                    {14, height % 256},
                                    {15, height / 256},
                                    {16, depth}})
        bytes[at] = static_cast<char>(value);
    for (const auto& [at, value] : changes) bytes[at] = static_cast<char>(value);
    return bytes + pixels;
}

TEST(Png, KeepsColoursAndRowsAndStretchesAlpha) {
    openTestWindow(16, 16);
    const TempDir folder;
    gdImage* image = gdImageCreateTrueColor(3, 2);
    gdImageAlphaBlending(image, 0);
    gdImageSaveAlpha(image, 1);
    for (int i = 0; i < 6; ++i) gdImageSetPixel(image, i % 3, i / 3, gdTrueColorAlpha(10 * i, 20, 30, 25 * i));
    const std::string path = folder.write("alpha.png", pngBytes(image));
    const unsigned texture = ryl_loadPNG(path.c_str());
    EXPECT_EQ(texels(), (std::vector<Texel>{{0, 20, 30, 255},
                                            {10, 20, 30, 204},
                                            {20, 20, 30, 154},
                                            {30, 20, 30, 104},
                                            {40, 20, 30, 54},
                                            {50, 20, 30, 4}}));
    EXPECT_NE(ryl_loadPNG(path.c_str()), texture) << "every load makes a texture of its own";

    image = gdImageCreate(2, 1);
    gdImageSetPixel(image, 0, 0, gdImageColorAllocate(image, 1, 2, 3));
    gdImageSetPixel(image, 1, 0, gdImageColorAllocateAlpha(image, 200, 100, 50, 127));
    ryl_loadPNG(folder.write("palette.png", pngBytes(image)).c_str());
    EXPECT_EQ(texels(), (std::vector<Texel>{{1, 2, 3, 255}, {200, 100, 50, 0}}));
}

TEST(Tga, SwapsRedAndBlueAndKeepsStoredRowOrder) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string path = folder.write("odd.tga", tga(3, 2, 24, "abcdefghijklmnopqr"));
    testing::internal::CaptureStdout();
    ryl_loadTGA(path.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[*] texture " + path + " loaded...\n");
    EXPECT_EQ(texels()[0], (Texel{'c', 'b', 'a', 255}));
    EXPECT_EQ(texels()[3], (Texel{'l', 'k', 'j', 255}));
    EXPECT_EQ(texels()[5], (Texel{'r', 'q', 'p', 255}));
    int alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 4);
    ryl_loadTGA(folder.write("alpha.tga", tga(1, 1, 32, "abcd", {{17, 0x20}})).c_str());
    EXPECT_EQ(texels()[0], (Texel{'c', 'b', 'a', 'd'}));
}

TEST(Images, BadFilesEndTheProgramWithTheirReason) {
    const TempDir folder;
    const fs::path missing = folder.path() / "none";
    const std::string unreadable = "[!] Unable to load ", corrupt = " was a corrupt image =/\n",
                      noMemory = "[!] Unable to allocate memory for tga ";
    const struct {
        unsigned (*load)(const char* path);
        std::string path, before, after;
    } cases[] = {
        {ryl_loadPNG, folder.write("text.png", "this is no image"), "[! ", "] Unable to load image"},
        {ryl_loadPNG, missing, "[! ", "] file not found.\n"},
        {ryl_loadPNG, folder.path(), "[! ", "] file not found.\n"},
        {ryl_loadTGA, missing, "[! ", "] file not found \n"},
        {ryl_loadTGA, folder.write("empty", ""), unreadable, ""},
        {ryl_loadTGA, folder.write("header", tga(1, 1, 24, "").substr(0, 17)), unreadable, ""},
        {ryl_loadTGA, folder.write("run-length", tga(1, 1, 24, "abc", {{2, 10}})), unreadable, ""},
        {ryl_loadTGA, folder.write("with-id", tga(1, 1, 24, "abc", {{0, 1}})), unreadable, ""},
        {ryl_loadTGA, folder.write("width", tga(0, 1, 24, "abc")), "[!] ", corrupt},
        {ryl_loadTGA, folder.write("height", tga(1, 0, 24, "abc")), "[!] ", corrupt},
        {ryl_loadTGA, folder.write("depth", tga(1, 1, 16, "abc")), "[!] ", corrupt},
        {ryl_loadTGA, folder.write("short", tga(2, 2, 24, "too short")), noMemory, "...\n"},
        {ryl_loadTGA, folder.write("huge", tga(65535, 65535, 32, "far too short")), noMemory, "...\n"},
    };
    for (const auto& bad : cases) {
        const ChildResult result = runInChild([&] { bad.load(bad.path.c_str()); });
        EXPECT_EQ(result.output, bad.before + bad.path + bad.after);
        EXPECT_EQ(result.status, 255);
    }
}

// ---- Screenshots --------------------------------------------------------------------------------------------------

// A picture whose pixel at column x, row y (from the bottom) is (2x, 6y, 77).
void drawPicture() {
    openTestWindow(WIDTH, HEIGHT);
    glEnable(GL_SCISSOR_TEST);
    for (int x = 0; x < WIDTH; ++x)
        for (int y = 0; y < HEIGHT; ++y) {
            glScissor(x, y, 1, 1);
            glClearColor(static_cast<float>(2 * x) / 255, static_cast<float>(6 * y) / 255, 77.0f / 255, 1);
            glClear(GL_COLOR_BUFFER_BIT);
        }
    glDisable(GL_SCISSOR_TEST);
}

// Row 0 of the file is the bottom row of the screen; what lies outside the window is black.
void expectPicture(const std::string& path, int width, int height) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    gdImage* image = gdImageCreateFromPng(file);
    std::fclose(file);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(gdImageSX(image), width);
    EXPECT_EQ(gdImageSY(image), height);
    int wrong = 0;
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
            wrong +=
                gdImageGetPixel(image, x, y) != (x < WIDTH && y < HEIGHT ? gdTrueColor(2 * x, 6 * y, 77) : 0) ? 1 : 0;
    EXPECT_EQ(wrong, 0);
    gdImageDestroy(image);
}

std::string printedBy(int width, int height, const std::string& path, int level) {
    testing::internal::CaptureStdout();
    ryl_screenshot(width, height, path.c_str(), level);
    return testing::internal::GetCapturedStdout();
}

TEST(Screenshot, HoldsThePictureLastDrawnBottomRowFirst) {
    drawPicture();
    const TempDir folder;
    const std::string file = folder.write("picture.png", "an older file");
    EXPECT_EQ(printedBy(WIDTH, HEIGHT, file, 0), "");
    const auto stored = fs::file_size(file);
    expectPicture(file, WIDTH, HEIGHT);
    EXPECT_EQ(printedBy(WIDTH + 30, HEIGHT + 20, file, 9), "");
    EXPECT_LT(fs::file_size(file), stored);
    expectPicture(file, WIDTH + 30, HEIGHT + 20);

    ryl_blendPicture(WIDTH + 30, HEIGHT + 20, 0);
    glClearColor(1, 1, 1, 1);  // as after a swap that flips: something else
    glClear(GL_COLOR_BUFFER_BIT);
    ryl_screenshot(WIDTH + 30, HEIGHT + 20, file.c_str(), 1);
    expectPicture(file, WIDTH + 30, HEIGHT + 20);
    EXPECT_TRUE(isColour(pixelAt(0, 0), 255, 255, 255)) << "the window is bound again";
}

TEST(Screenshot, ThatCannotBeWrittenGivesAMessageAndNoTornFile) {
    drawPicture();
    const TempDir folder;
    const std::string file = folder.write("refused.png", "an older file");
    for (const int level : {-1, 10}) {
        EXPECT_EQ(printedBy(WIDTH, HEIGHT, file, level),
                  "[!] Major fuckup detected in ryl_screenshot, given compressionlevel was faily. redo\n");
        EXPECT_EQ(fs::file_size(file), 0U);
    }
    EXPECT_EQ(printedBy(WIDTH, HEIGHT, "no-such-folder/1.png", 0),
              "couldn't open no-such-folder/1.png for writing. screenshot not performed\n");
    EXPECT_EQ(printedBy(0, 100, file, 0), "[/] no memory for a picture of 0 x 100. screenshot not performed\n");

    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, RLIM_INFINITY};  // as on a full disk
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(printedBy(WIDTH, HEIGHT, file, 0), "[/] couldn't write " + file + ". screenshot not performed\n");
    EXPECT_FALSE(fs::exists(file));
}

}  // namespace
