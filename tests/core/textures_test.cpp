// The texture loaders, by what the GL holds afterwards and by what a bad file ends with.
#include "child.h"
#include "gl_window.h"
#include "temp_dir.h"
#include "textures.h"

#include <GL/gl.h>
#include <gd.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace {

using Texel = std::array<unsigned char, 4>;

int textureParameter(GLenum name) {
    int value = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
    return value;
}

int levelParameter(GLenum name) {
    int value = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, name, &value);
    return value;
}

// The bound texture's texels, row 0 first.
std::vector<Texel> texels() {
    std::vector<Texel> all(static_cast<std::size_t>(levelParameter(GL_TEXTURE_WIDTH)) *
                           static_cast<std::size_t>(levelParameter(GL_TEXTURE_HEIGHT)));
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

std::string tga(int width, int height, int depth, const std::string& pixels) {
    std::string bytes(18, '\0');
    bytes[2] = 2;
    bytes[12] = static_cast<char>(width % 256);
    bytes[13] = static_cast<char>(width / 256);
    bytes[14] = static_cast<char>(height % 256);
    bytes[15] = static_cast<char>(height / 256);
    bytes[16] = static_cast<char>(depth);
    return bytes + pixels;
}

TEST(Png, TrueColourKeepsColoursRowsAndStretchesAlpha) {
    openTestWindow(16, 16);
    const TempDir folder;
    gdImage* image = gdImageCreateTrueColor(3, 2);
    gdImageAlphaBlending(image, 0);
    gdImageSaveAlpha(image, 1);
    gdImageSetPixel(image, 0, 0, gdTrueColorAlpha(10, 20, 30, 0));
    gdImageSetPixel(image, 1, 0, gdTrueColorAlpha(40, 50, 60, 64));
    gdImageSetPixel(image, 2, 0, gdTrueColorAlpha(70, 80, 90, 127));
    gdImageSetPixel(image, 0, 1, gdTrueColorAlpha(255, 0, 0, 0));
    const std::string path = folder.write("alpha.png", pngBytes(image));

    const unsigned texture = ryl_loadPNG(path.c_str());
    EXPECT_EQ(levelParameter(GL_TEXTURE_WIDTH), 3);
    EXPECT_EQ(levelParameter(GL_TEXTURE_HEIGHT), 2);
    EXPECT_EQ(textureParameter(GL_TEXTURE_MIN_FILTER), GL_NEAREST);
    EXPECT_EQ(textureParameter(GL_TEXTURE_MAG_FILTER), GL_NEAREST);
    const std::vector<Texel> all = texels();
    EXPECT_EQ(all[0], (Texel{10, 20, 30, 255}));
    EXPECT_EQ(all[1], (Texel{40, 50, 60, 126}));
    EXPECT_EQ(all[2], (Texel{70, 80, 90, 0}));
    EXPECT_EQ(all[3], (Texel{255, 0, 0, 255}));
    EXPECT_NE(ryl_loadPNG(path.c_str()), texture) << "every load makes a texture of its own";
}

TEST(Png, PaletteImagesYieldTheirEntries) {
    openTestWindow(16, 16);
    const TempDir folder;
    gdImage* image = gdImageCreate(2, 1);
    gdImageSetPixel(image, 0, 0, gdImageColorAllocate(image, 1, 2, 3));
    gdImageSetPixel(image, 1, 0, gdImageColorAllocateAlpha(image, 200, 100, 50, 127));
    ryl_loadPNG(folder.write("palette.png", pngBytes(image)).c_str());
    EXPECT_EQ(texels()[0], (Texel{1, 2, 3, 255}));
    EXPECT_EQ(texels()[1], (Texel{200, 100, 50, 0}));
}

TEST(Png, BadFilesEndTheProgramWithTheirName) {
    const TempDir folder;
    const std::string garbage = folder.write("garbage.png", "this is no image");
    ChildResult result = runInChild([&] { ryl_loadPNG(garbage.c_str()); });
    EXPECT_EQ(result.output, "[! " + garbage + "] Unable to load image");
    EXPECT_EQ(result.status, 255);
    for (const std::string& path : {folder.path().string() + "/none.png", folder.path().string()}) {
        result = runInChild([&] { ryl_loadPNG(path.c_str()); });
        EXPECT_EQ(result.output, "[! " + path + "] file not found.\n");
        EXPECT_EQ(result.status, 255);
    }
}

TEST(Tga, SwapsRedAndBlueAndKeepsStoredRowOrder) {
    openTestWindow(16, 16);
    const TempDir folder;
    // Three pixels a row: rows of nine bytes, which no alignment but 1 reads right.
    std::string path = folder.write("odd.tga", tga(3, 2, 24,
                                                   "\x0a\x14\x1e"
                                                   "abcdef"
                                                   "ghijkl"
                                                   "\x01\x02\x03"));
    testing::internal::CaptureStdout();
    ryl_loadTGA(path.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[*] texture " + path + " loaded...\n");
    EXPECT_EQ(texels()[0], (Texel{30, 20, 10, 255}));
    EXPECT_EQ(texels()[3], (Texel{'i', 'h', 'g', 255}));
    EXPECT_EQ(texels()[5], (Texel{3, 2, 1, 255}));
    int alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 4);

    std::string topLeft = tga(1, 1, 32, "\x0a\x14\x1e\x28");
    topLeft[17] = 0x20;
    ryl_loadTGA(folder.write("alpha.tga", topLeft).c_str());
    EXPECT_EQ(texels()[0], (Texel{30, 20, 10, 40}));
    EXPECT_EQ(textureParameter(GL_TEXTURE_MIN_FILTER), GL_NEAREST);
}

TEST(Tga, BadFilesEndTheProgramWithTheirReason) {
    const TempDir folder;
    std::string runLength = tga(1, 1, 24, "abc");
    runLength[2] = 10;
    std::string withId = tga(1, 1, 24, "abc");
    withId[0] = 1;
    std::string moved = tga(1, 1, 24, "abc");
    moved[8] = 1;
    const struct {
        std::string bytes, before, after;
    } cases[] = {
        {"", "[!] Unable to load ", ""},
        {std::string("\0\0\2", 3), "[!] Unable to load ", ""},
        {tga(1, 1, 24, "").substr(0, 17), "[!] Unable to load ", ""},
        {runLength, "[!] Unable to load ", ""},
        {withId, "[!] Unable to load ", ""},
        {moved, "[!] Unable to load ", ""},
        {tga(0, 1, 24, "abc"), "[!] ", " was a corrupt image =/\n"},
        {tga(1, 0, 24, "abc"), "[!] ", " was a corrupt image =/\n"},
        {tga(1, 1, 16, "abc"), "[!] ", " was a corrupt image =/\n"},
        {tga(2, 2, 24, "too short"), "[!] Unable to allocate memory for tga ", "...\n"},
        {tga(65535, 65535, 32, "far too short"), "[!] Unable to allocate memory for tga ", "...\n"},
    };
    for (const auto& [bytes, before, after] : cases) {
        const std::string path = folder.write("bad.tga", bytes);
        const ChildResult result = runInChild([&path = path] { ryl_loadTGA(path.c_str()); });
        EXPECT_EQ(result.output, before + path + after);
        EXPECT_EQ(result.status, 255);
    }
    const ChildResult missing = runInChild([] { ryl_loadTGA("none.tga"); });
    EXPECT_EQ(missing.output, "[! none.tga] file not found \n");
    EXPECT_EQ(missing.status, 255);
}

}  // namespace
