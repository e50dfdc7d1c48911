#include "child.h"
#include "gl_recorder.h"
#include "glm/glm.h"
#include "glm/glmimg_png.h"
#include "temp_dir.h"

#include <GL/gl.h>
#include <gd.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

struct Image {
    std::unique_ptr<unsigned char, Free> pixels;
    int width = 0, height = 0;
    std::uint32_t format = 0;

    std::vector<int> samples(int count) const { return {pixels.get(), pixels.get() + count}; }
};

Image readPpm(const std::string& path) {
    Image image;
    image.pixels.reset(glmReadPPM(path.c_str(), true, &image.width, &image.height, &image.format));
    return image;
}

Image readPng(const std::string& path) {
    Image image;
    image.pixels.reset(glmReadPNG(path.c_str(), true, &image.width, &image.height, &image.format));
    return image;
}

// A PNG file's bytes: `format` is one of libpng's, `samples` hold the rows from the top.
std::string pngOf(png_uint_32 format, unsigned width, unsigned height, const std::vector<png_byte>& samples,
                  const std::vector<png_byte>& colours = {}) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = format;
    image.colormap_entries = static_cast<png_uint_32>(colours.size() / 3);
    std::string bytes(100000, '\0');
    png_alloc_size_t size = bytes.size();
    EXPECT_NE(png_image_write_to_memory(&image, bytes.data(), &size, 0, samples.data(), 0, colours.data()), 0);
    return bytes.substr(0, size);
}

std::string interlacedPng() {
    gdImagePtr image = gdImageCreateTrueColor(2, 2);
    gdImageInterlace(image, 1);
    gdImageSetPixel(image, 0, 1, gdTrueColor(1, 2, 3));
    int size = 0;
    auto* bytes = static_cast<char*>(gdImagePngPtr(image, &size));
    std::string result(bytes, static_cast<std::size_t>(size));
    gdFree(bytes);
    gdImageDestroy(image);
    return result;
}

std::string ppmOf(int width, int height) {
    return "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" +
           std::string(static_cast<std::size_t>(3 * width * height), 'x');
}

std::uint32_t load(const std::string& path, bool repeat = true, bool filtering = true, bool mipmaps = true) {
    float width = 0, height = 0;
    startRecording();
    return glmLoadTexture(path.c_str(), true, repeat, filtering, mipmaps, &width, &height);
}

}  // namespace

TEST(Image, PpmHeaders) {
    const TempDir folder;
    for (const std::string header :
         {"P6\n2 1\n255\n", "P6 raw\n# size\n2\n# on two lines\n1\n\n255\n", "P6\n2 1 255 # all\n"}) {
        const Image image = readPpm(folder.write("a.ppm", header + "abcdef"));
        ASSERT_NE(image.pixels, nullptr) << header;
        EXPECT_EQ(image.width, 2);
        EXPECT_EQ(image.height, 1);
        EXPECT_EQ(image.format, static_cast<std::uint32_t>(GL_RGB));
        EXPECT_EQ(image.samples(6), (std::vector<int>{'a', 'b', 'c', 'd', 'e', 'f'})) << header;
    }
}

TEST(Image, PpmFilesThatAreNotRead) {
    const TempDir folder;
    const struct {
        const char* bytes;
        const char* fault;  // null: no message
    } cases[] = {
        {"", nullptr},
        {"P5\n2 1\n255\nab", nullptr},
        {"P6\n2 1\n# 255", "a short header"},
        {"P6\n2 1\n255\nabcde", "fewer samples than its size needs"},
        {"P6\n2000000000 2000000000\n255\nabc", "fewer samples than its size needs"},
        {"P6\n99999999999 1\n255\nabc", "a short header"},
        {"P6\n2 1\n65535\nabcdefabcdef", "a maximum value outside of 1 to 255"},
        {"P6\n-2 1\n255\nabcdef", "no size"},
        {"P6\n0 0\n255\n", "no size"},
    };
    for (const auto& test : cases) {
        const std::string path = folder.write("a.ppm", test.bytes);
        testing::internal::CaptureStderr();
        EXPECT_EQ(readPpm(path).pixels, nullptr) << test.bytes;
        const std::string expected = test.fault == nullptr ? ""
                                                           : "GLM: Warning: glmReadPPM: image \"" + path +
                                                                 "\" not read, it has " + test.fault + "\n";
        EXPECT_EQ(testing::internal::GetCapturedStderr(), expected) << test.bytes;
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(readPpm(folder.path().string()).pixels, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), folder.path().string() + ": Is a directory\n");
}

TEST(Image, PngFormatsBottomRowFirst) {
    const TempDir folder;
    const struct {
        std::string bytes;
        GLenum format;
        std::vector<int> samples;
    } cases[] = {
        {pngOf(PNG_FORMAT_GRAY, 1, 2, {10, 20}), GL_LUMINANCE, {20, 10}},
        {pngOf(PNG_FORMAT_GA, 1, 2, {10, 1, 20, 2}), GL_LUMINANCE_ALPHA, {20, 2, 10, 1}},
        {pngOf(PNG_FORMAT_RGB, 1, 2, {1, 2, 3, 4, 5, 6}), GL_RGB, {4, 5, 6, 1, 2, 3}},
        {pngOf(PNG_FORMAT_RGBA, 1, 2, {1, 2, 3, 4, 5, 6, 7, 8}), GL_RGBA, {5, 6, 7, 8, 1, 2, 3, 4}},
        {pngOf(PNG_FORMAT_LINEAR_Y, 1, 2, {0, 0, 255, 255}), GL_LUMINANCE, {255, 0}},
        {pngOf(PNG_FORMAT_RGB_COLORMAP, 1, 2, {0, 1}, {1, 2, 3, 4, 5, 6}), GL_RGB, {4, 5, 6, 1, 2, 3}},
        {interlacedPng(), GL_RGB, {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const auto& test : cases) {
        testing::internal::CaptureStderr();
        const Image image = readPng(folder.write("a.png", test.bytes));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        ASSERT_NE(image.pixels, nullptr);
        EXPECT_EQ(image.format, test.format);
        EXPECT_EQ(image.samples(static_cast<int>(test.samples.size())), test.samples);
        EXPECT_EQ(pngerror, 0);
    }
}

TEST(Image, PngFilesThatAreNotRead) {
    const TempDir folder;
    const std::string good = pngOf(PNG_FORMAT_RGB, 30, 30, std::vector<png_byte>(2700, 7));
    const auto expectNone = [](const std::string& path, std::int32_t error) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(readPng(path).pixels, nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr().starts_with("PNG error: "), error == 3);
        EXPECT_EQ(pngerror, error);
    };
    expectNone((folder.path() / "gone").string(), 1);
    expectNone(folder.path().string(), 1);
    for (std::size_t length = 0; length < good.size(); ++length)
        expectNone(folder.write("a.png", good.substr(0, length)), 3);
    expectNone(folder.write("a.png", "P6 no PNG"), 3);
    // The signature and a header that claims 1000000 x 1000000 RGBA pixels, with its right check sum.
    expectNone(
        folder.write("a.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\x0f\x42\x40\0\x0f\x42\x40\x08\x06\0\0\0"
                                          "\x5c\x6d\x38\x7d\0\0\0\0IDAT\x35\xaf\x06\x1e",
                                          45)),
        3);
}

TEST(Image, ScaledToAPowerOfTwoAndUploadedWithMipmaps) {
    const TempDir folder;
    EXPECT_EQ(load(folder.write("a.ppm", ppmOf(100, 60))), 1u);
    EXPECT_CALLS("glPixelStorei UNPACK_ALIGNMENT 4", "gluScaleImage RGB 100 60 UNSIGNED_BYTE 128 64 UNSIGNED_BYTE",
                 "glGenTextures 1", "glBindTexture TEXTURE_2D 1",
                 "glTexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR",
                 "glTexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR",
                 "glTexParameteri TEXTURE_2D TEXTURE_WRAP_S REPEAT",
                 "glTexParameteri TEXTURE_2D TEXTURE_WRAP_T REPEAT",
                 "gluBuild2DMipmaps TEXTURE_2D RGB 128 64 RGB UNSIGNED_BYTE");
    // 5 pixels of 3 bytes: no multiple of 4. GLU would pad the narrow rows that it writes.
    load(folder.write("a.ppm", ppmOf(1, 5)), false, false, false);
    EXPECT_CALLS(
        "glPixelStorei UNPACK_ALIGNMENT 1", "glPixelStorei PACK_ALIGNMENT 1",
        "gluScaleImage RGB 1 5 UNSIGNED_BYTE 1 8 UNSIGNED_BYTE", "glPixelStorei PACK_ALIGNMENT 4", "glGenTextures 1",
        "glBindTexture TEXTURE_2D 1", "glTexParameteri TEXTURE_2D TEXTURE_MIN_FILTER NEAREST",
        "glTexParameteri TEXTURE_2D TEXTURE_MAG_FILTER NEAREST", "glTexParameteri TEXTURE_2D TEXTURE_WRAP_S CLAMP",
        "glTexParameteri TEXTURE_2D TEXTURE_WRAP_T CLAMP", "glTexImage2D TEXTURE_2D 0 RGB 1 8 0 RGB UNSIGNED_BYTE");
}

TEST(Image, LimitsAndMipmapsOfTheGl) {
    const TempDir folder;
    glAnswers().integers[GL_MAX_TEXTURE_SIZE] = 64;
    glAnswers().extensions = "GL_SGIS_generate_mipmap2 GL_SGIS_generate_mipmap";
    glmImgInit();
    load(folder.write("a.ppm", ppmOf(128, 16)));
    EXPECT_CALLS("* * *", "gluScaleImage RGB 128 16 UNSIGNED_BYTE 64 16 UNSIGNED_BYTE", "* *", "* * *", "* * * *",
                 "* * * *", "* * * *", "* * * *", "glTexParameteri TEXTURE_2D GENERATE_MIPMAP_SGIS 1",
                 "glTexImage2D TEXTURE_2D 0 RGB 64 16 0 RGB UNSIGNED_BYTE");
    EXPECT_EQ(glmIsExtensionSupported("GL_SGIS_generate"), 0);
    EXPECT_EQ(glmIsExtensionSupported("SGIS_generate_mipmap"), 0);
    EXPECT_EQ(glmIsExtensionSupported(""), 0);
    EXPECT_EQ(glmIsExtensionSupported("GL_SGIS_generate_mipmap2 GL_SGIS_generate_mipmap"), 0);
    EXPECT_EQ(glmIsExtensionSupported("GL_SGIS_generate_mipmap2"), 1);
}

TEST(Image, OtherTargetsKeepTheSizeAndCountPixels) {
    const TempDir folder;
    const std::string path = folder.write("a.ppm", ppmOf(5, 3));
    load(path);
    EXPECT_EQ(_glmTextureTarget, static_cast<GLenum>(GL_TEXTURE_2D));
    _glmTextureTarget = GL_TEXTURE_RECTANGLE;
    float width = 0, height = 0;
    startRecording();
    glmLoadTexture(path.c_str(), true, true, true, true, &width, &height);
    EXPECT_EQ(width, 5.0f);
    EXPECT_EQ(height, 3.0f);
    EXPECT_CALLS("glPixelStorei UNPACK_ALIGNMENT 1", "glGenTextures 1", "glBindTexture TEXTURE_RECTANGLE 1",
                 "glTexParameteri TEXTURE_RECTANGLE TEXTURE_MIN_FILTER LINEAR", "* * TEXTURE_MAG_FILTER LINEAR",
                 "* * TEXTURE_WRAP_S REPEAT", "* * TEXTURE_WRAP_T REPEAT",
                 "glTexImage2D TEXTURE_RECTANGLE 0 RGB 5 3 0 RGB UNSIGNED_BYTE");
}

TEST(Image, GreyWithAlphaIsFatal) {
    const TempDir folder;
    const std::string path = folder.write("a.png", pngOf(PNG_FORMAT_GA, 1, 2, {10, 1, 20, 2}));
    const ChildResult result = runInChild([&] { load(path); });
    EXPECT_EQ(result.errors, "GLM: Fatal Error: glmLoadTexture(): unknown type 0x190a\n");
    EXPECT_EQ(result.status, 1);
}
