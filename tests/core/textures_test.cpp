// Images to textures, by what the GL holds afterwards; pictures to files; and what a bad file ends with.
#include "child.h"
#include "fonts.h"
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

// An uncompressed true-colour image of less than 256 pixels a side.
std::string tga(int width, int height, int depth, const std::string& pixels) {
    std::string header(18, '\0');
    header[2] = 2;
    header[12] = static_cast<char>(width);
    header[14] = static_cast<char>(height);
    header[16] = static_cast<char>(depth);
    return header + pixels;
}

// With other bytes in the header, from `at` on.
std::string changed(std::string bytes, std::size_t at, const std::string& others) {
    return bytes.replace(at, others.size(), others);
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
    ryl_loadTGA(folder.write("alpha.tga", changed(tga(1, 1, 32, "abcd"), 17, " ")).c_str());
    EXPECT_EQ(texels()[0], (Texel{'c', 'b', 'a', 'd'}));
}

using Load = unsigned (*)(const char* path);

TEST(Files, ThatAreBadEndTheProgramWithTheReason) {
    const TempDir folder;
    const Load none = nullptr, font = [](const char*path) { return ryl_loadTextureFont(path, 0); };
    const Load text = [](const char*) { return ryl_text("a", 1, 0, 0, 0, 0, 0, 0), 0U; };
    const struct {
        Load load;  // none: the same as in the row before
        std::string bytes, before, after;
    } cases[] = {
        {ryl_loadPNG, "this is no image", "[! ", "] Unable to load image"},
        {ryl_loadTGA, "", "[!] Unable to load ", ""},
        {none, tga(1, 1, 24, "").substr(0, 17), "[!] Unable to load ", ""},
        {none, changed(tga(1, 1, 24, "abc"), 2, "\n"), "[!] Unable to load ", ""},  // run lengths
        {none, changed(tga(1, 1, 24, "abc"), 0, "x"), "[!] Unable to load ", ""},   // a text before the pixels
        {none, tga(0, 1, 24, "abc"), "[!] ", " was a corrupt image =/\n"},
        {none, tga(1, 0, 24, "abc"), "[!] ", " was a corrupt image =/\n"},
        {none, tga(1, 1, 16, "abc"), "[!] ", " was a corrupt image =/\n"},
        {none, tga(2, 2, 24, "too short"), "[!] Unable to allocate memory for tga ", "...\n"},
        {none, changed(tga(1, 1, 32, "abcd"), 12, "\xff\xff\xff\xff"), "[!] Unable to allocate memory for tga ",
         "...\n"},
    };
    Load load = none;
    const auto expectEnd = [&](const std::string& path, const std::string& output) {
        const ChildResult result = runInChild([&] { load(path.c_str()); });
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.status, 255);
    };
    for (const auto& bad : cases) {
        load = bad.load != none ? bad.load : load;
        const std::string path = folder.write("bad", bad.bytes);
        expectEnd(path, bad.before + path + bad.after);
    }
    expectEnd("none.tga", "[! none.tga] file not found \n");
    load = ryl_loadPNG;
    for (const char* path : {"none.png", "."}) expectEnd(path, std::string("[! ") + path + "] file not found.\n");
    load = font;
    expectEnd("a.tga", "[!] No fontindex was given (argument 2 of function ryl_loadTextureFont()\n");
    load = text;
    expectEnd("", "[!] ryl_text() no font loaded.\n");
}

// ---- Screenshots --------------------------------------------------------------------------------------------------

// The colour at column x, row y (from the bottom) of the picture, as gd has it.
int colourAt(int x, int y) { return x < WIDTH && y < HEIGHT ? gdTrueColor(2 * x, 6 * y, 77) : 0; }

void drawPicture() {
    openTestWindow(WIDTH, HEIGHT);
    std::vector<int> rows;
    for (int i = 0; i < WIDTH * HEIGHT; ++i) rows.push_back(colourAt(i % WIDTH, i / WIDTH));
    glWindowPos2i(0, 0);
    glDrawPixels(WIDTH, HEIGHT, GL_BGRA, GL_UNSIGNED_BYTE, rows.data());
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
        for (int y = 0; y < height; ++y) wrong += gdImageGetPixel(image, x, y) != colourAt(x, y) ? 1 : 0;
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
