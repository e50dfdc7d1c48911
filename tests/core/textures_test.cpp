// Images to textures, pictures to files, and how bad files end the program.
#include "child.h"
#include "fonts.h"
#include "gl_window.h"
#include "picture.h"
#include "printed.h"
#include "temp_dir.h"
#include "textures.h"

#include <GL/glew.h>
#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int WIDTH = 123, HEIGHT = 40;  // a width that only an alignment of 1 reads right

using Texel = std::array<unsigned char, 4>;

// The texels of the bound texture, row 0 first.
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

// An uncompressed true-colour image, less than 256 pixels a side.
std::string tga(int width, int height, int depth, const std::string& pixels) {
    std::string header(18, '\0');
    header[2] = 2;
    header[12] = static_cast<char>(width);
    header[14] = static_cast<char>(height);
    header[16] = static_cast<char>(depth);
    return header + pixels;
}

std::string changed(std::string bytes, std::size_t at, const std::string& others) {
    return bytes.replace(at, others.size(), others);
}

void save(gdImage* image, const std::string& path) {
    gdImageFile(image, path.c_str());
    gdImageDestroy(image);
}

TEST(Png, OfTrueColourKeepsItsRowsAndStretchesAlpha) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string path = folder.path() / "a.png";
    gdImage* image = gdImageCreateTrueColor(3, 2);
    gdImageAlphaBlending(image, 0);
    gdImageSaveAlpha(image, 1);
    for (int i = 0; i < 6; ++i) gdImageSetPixel(image, i % 3, i / 3, gdTrueColorAlpha(10 * i, 20, 30, 25 * i));
    save(image, path);
    EXPECT_NE(ryl_loadPNG(path.c_str()), ryl_loadPNG(path.c_str())) << "a texture each";
    EXPECT_EQ(texels().at(0), (Texel{0, 20, 30, 255}));
    EXPECT_EQ(texels().at(3), (Texel{30, 20, 30, 104}));
}

TEST(Png, OfAPaletteGetsItsColours) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string path = folder.path() / "a.png";
    gdImage* image = gdImageCreate(2, 1);
    gdImageSetPixel(image, 0, 0, gdImageColorAllocate(image, 1, 2, 3));
    gdImageSetPixel(image, 1, 0, gdImageColorAllocateAlpha(image, 200, 100, 50, 127));
    save(image, path);
    ryl_loadPNG(path.c_str());
    EXPECT_EQ(texels(), (std::vector<Texel>{{1, 2, 3, 255}, {200, 100, 50, 0}}));
}

// Returns the path.
std::string writePixel(const TempDir& folder, const char* name, int red) {
    std::string path = folder.path() / name;
    gdImage* image = gdImageCreateTrueColor(1, 1);
    gdImageSetPixel(image, 0, 0, gdTrueColor(red, 0, 0));
    save(image, path);
    return path;
}

TEST(Png, DecodedAheadIsTakenOnce) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string first = writePixel(folder, "first.png", 1), path = writePixel(folder, "second.png", 2);
    ryl_decodeAhead({first, "none", path});
    ryl_loadPNG(first.c_str());  // waits for all
    writePixel(folder, "second.png", 3);
    for (const unsigned char red : {2, 3}) {
        ryl_loadPNG(path.c_str());
        EXPECT_EQ(texels(), (std::vector<Texel>{{red, 0, 0, 255}}));
    }
}

TEST(Tga, SwapsRedAndBlueAndKeepsStoredRowOrder) {
    openTestWindow(16, 16);
    const TempDir folder;
    const std::string path = folder.write("odd.tga", tga(3, 2, 24, "abcdefghijklmnopqr"));
    EXPECT_EQ(printedBy([&] { ryl_loadTGA(path.c_str()); }), "[*] texture " + path + " loaded...\n");
    EXPECT_EQ(texels().at(3), (Texel{'l', 'k', 'j', 255}));
    EXPECT_EQ(texels().at(5), (Texel{'r', 'q', 'p', 255}));
    ryl_loadTGA(folder.write("alpha.tga", changed(tga(1, 1, 32, "abcd"), 17, " ")).c_str());
    EXPECT_EQ(texels().at(0), (Texel{'c', 'b', 'a', 'd'}));
}

TEST(Files, ThatAreBadEndTheProgramWithTheReason) {
    const TempDir folder;
    const std::string missing = "-", unreadable = "[!] Unable to load @", corrupt = "[!] @ was a corrupt image =/\n",
                      noMemory = "[!] Unable to allocate memory for tga @...\n";
    const auto loadAhead = [](const char* path) { return ryl_decodeAhead({path}), ryl_loadPNG(path); };
    const auto loadFont = [](const char* path) { return ryl_loadTextureFont(path, 0); };
    const auto drawText = [](const char* text) { return ryl_text(text, 1, 0, 0, 0, 0, 0, 0), 0U; };
    const struct {
        unsigned (*load)(const char* path);
        std::string bytes, message;  // @ stands for the path
    } cases[] = {
        {ryl_loadPNG, missing, "[! @] file not found.\n"},
        {ryl_loadPNG, "this is no image", "[! @] Unable to load image"},
        {loadAhead, missing, "[! @] file not found.\n"},
        {ryl_loadTGA, missing, "[! @] file not found \n"},
        {ryl_loadTGA, "", unreadable},
        {ryl_loadTGA, tga(1, 1, 24, "").substr(0, 17), unreadable},
        {ryl_loadTGA, changed(tga(1, 1, 24, "abc"), 2, "\n"), unreadable},  // run lengths
        {ryl_loadTGA, changed(tga(1, 1, 24, "abc"), 0, "x"), unreadable},   // a text before the pixels
        {ryl_loadTGA, tga(0, 1, 24, "abc"), corrupt},
        {ryl_loadTGA, tga(1, 1, 16, "abc"), corrupt},
        {ryl_loadTGA, tga(2, 2, 24, "too short"), noMemory},
        {ryl_loadTGA, changed(tga(1, 1, 32, "abcd"), 12, "\xff\xff\xff\xff"), noMemory},
        {loadFont, "", "[!] No fontindex was given (argument 2 of function ryl_loadTextureFont()\n"},
        {drawText, "", "[!] ryl_text() no font loaded.\n"},
    };
    for (const auto& bad : cases) {
        const std::string path = bad.bytes == missing ? "none" : folder.write("bad", bad.bytes);
        const ChildResult result = runInChild([&] { bad.load(path.c_str()); });
        const std::size_t at = bad.message.find('@');
        EXPECT_EQ(result.output,
                  at < bad.message.size() ? std::string(bad.message).replace(at, 1, path) : bad.message);
        EXPECT_EQ(result.status, 255);
    }
}

// ---- Screenshots --------------------------------------------------------------------------------------------------

// The colour at column x, row y (from the bottom) of the picture, as gd has it; black outside.
int colourAt(int x, int y) { return x < WIDTH && y < HEIGHT ? gdTrueColor(2 * x, 6 * y, 77) : 0; }

void drawPicture() {
    openTestWindow(WIDTH, HEIGHT);
    std::vector<int> rows;
    for (int i = 0; i < WIDTH * HEIGHT; ++i) rows.push_back(colourAt(i % WIDTH, i / WIDTH));
    glWindowPos2i(0, 0);
    glDrawPixels(WIDTH, HEIGHT, GL_BGRA, GL_UNSIGNED_BYTE, rows.data());
}

std::string linesOf(int width, int height, const std::string& path, int level, bool upright = false) {
    const auto save = upright ? ryl_screenshotUpright : ryl_screenshot;
    return printedBy([&] { save(width, height, path.c_str(), level); });
}

// Takes a screenshot, whose row 0 is the bottom row of the screen, and an upright one.
void expectPicture(const std::string& path, int width, int height, int level) {
    for (const bool upright : {true, false}) {
        EXPECT_EQ(linesOf(width, height, path, level, upright), "");
        gdImage* image = gdImageCreateFromFile(path.c_str());
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(std::pair(gdImageSX(image), gdImageSY(image)), std::pair(width, height));
        int wrong = 0;
        for (int i = 0; i < width * height; ++i) {
            const int x = i % width, y = i / width;
            wrong += gdImageGetPixel(image, x, upright ? height - 1 - y : y) != colourAt(x, y) ? 1 : 0;
        }
        EXPECT_EQ(wrong, 0) << upright;
        gdImageDestroy(image);
    }
}

TEST(Screenshot, HoldsThePictureLastDrawnInTheOrderOfRowsThatIsAskedFor) {
    drawPicture();
    const TempDir folder;
    const std::string file = folder.write("picture.png", "an older file");
    expectPicture(file, 5, 1, 6);
    expectPicture(file, WIDTH, HEIGHT, 0);
    const auto stored = fs::file_size(file);
    expectPicture(file, WIDTH + 30, HEIGHT + 20, 9);
    EXPECT_LT(fs::file_size(file), stored);
    ryl_blendPicture(WIDTH + 30, HEIGHT + 20, 0);
    expectPicture(file, 9, 3, 1);
    glClearColor(1, 1, 1, 1);  // a swap may leave anything
    glClear(GL_COLOR_BUFFER_BIT);
    expectPicture(file, WIDTH + 30, HEIGHT + 20, 1);
    EXPECT_PRED5(isColour, pixelAt(0, 0), 255, 255, 255, 1) << "the window is bound again";
}

TEST(Screenshot, ThatCannotBeWrittenLeavesAMessageAndNoTornFile) {
    drawPicture();
    const TempDir folder;
    const std::string file = folder.write("refused.png", "an older file");
    for (const int level : {-1, 10}) {
        EXPECT_EQ(linesOf(WIDTH, HEIGHT, file, level),
                  "[!] Major fuckup detected in ryl_screenshot, given compressionlevel was faily. redo\n");
        EXPECT_EQ(fs::file_size(file), 0U);
    }
    EXPECT_EQ(linesOf(9, 9, "none/1.png", 0), "couldn't open none/1.png for writing. screenshot not performed\n");
    EXPECT_EQ(linesOf(0, 100, file, 0), "[/] no memory for a picture of 0 x 100. screenshot not performed\n");
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, RLIM_INFINITY};  // as on a full disk
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(linesOf(WIDTH, HEIGHT, file, 0), "[/] couldn't write " + file + ". screenshot not performed\n");
    EXPECT_FALSE(fs::exists(file));
}

}  // namespace
