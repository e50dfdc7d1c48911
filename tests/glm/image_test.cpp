#include "child.h"
#include "gl_recorder.h"
#include "glm/glm.h"
#include "glm/glmimg_png.h"
#include "temp_dir.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Image {
    std::unique_ptr<unsigned char, decltype(&std::free)> pixels{nullptr, std::free};
    int width = 0, height = 0;
    std::uint32_t format = 0;
    std::string errors;

    std::string samples(std::size_t count) const { return {pixels.get(), pixels.get() + count}; }
};

Image read(decltype(glmReadPPM)* reader, const std::string& path) {
    Image image;
    testing::internal::CaptureStderr();
    image.pixels.reset(reader(path.c_str(), true, &image.width, &image.height, &image.format));
    image.errors = testing::internal::GetCapturedStderr();
    return image;
}

// A PNG file's bytes: `format` is one of libpng's, `samples` hold the rows from the top.
std::string pngOf(png_uint_32 format, unsigned width, unsigned height, const std::string& samples,
                  const char* colours = nullptr) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = format;
    image.colormap_entries = colours != nullptr ? 2 : 0;
    std::string bytes(100000, '\0');
    png_alloc_size_t size = bytes.size();
    EXPECT_NE(png_image_write_to_memory(&image, bytes.data(), &size, 0, samples.data(), 0, colours), 0);
    return bytes.substr(0, size);
}

std::string ppmOf(int width, int height) {
    return "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" +
           std::string(static_cast<std::size_t>(3 * width * height), 'x');
}

// Loads with the calls recorded; returns the factors of the texture coordinates.
std::pair<float, float> load(const std::string& path, bool repeat = true, bool filtering = true,
                             bool mipmaps = true) {
    std::pair<float, float> factors;
    startRecording();
    EXPECT_EQ(glmLoadTexture(path.c_str(), true, repeat, filtering, mipmaps, &factors.first, &factors.second), 1u);
    return factors;
}

}  // namespace

TEST(Image, PpmFiles) {
    const TempDir folder;
    for (const std::string header :
         {"P6\n2 1\n255\n", "P6 raw\n# size\n2\n# on two lines\n1\n\n255\n", "P6\n2 1 255 # all\n"}) {
        const Image image = read(glmReadPPM, folder.write("a.ppm", header + "abcdef"));
        EXPECT_EQ(image.samples(6), "abcdef") << header;
        EXPECT_TRUE(image.width == 2 && image.height == 1 && image.format == GL_RGB);
    }
    const std::string path = folder.write("a.ppm", "P5\n2 1\n255\nab");
    EXPECT_EQ(read(glmReadPPM, path).errors, "");
    const std::string folderPath = folder.path().string();
    EXPECT_EQ(read(glmReadPPM, folderPath).errors, folderPath + ": Is a directory\n");
    const struct {
        const char *bytes, *fault;
    } cases[] = {
        {"P6\n2 1\n# 255", "a short header"},
        {"P6\n2 1\n255\nabcde", "fewer samples than its size needs"},
        {"P6\n2000000000 2000000000\n255\nabc", "fewer samples than its size needs"},
        {"P6\n2 1\n65535\nabcdefabcdef", "a maximum value outside of 1 to 255"},
        {"P6\n-2 1\n255\nabcdef", "no size"},
    };
    for (const auto& test : cases) {
        const Image image = read(glmReadPPM, folder.write("a.ppm", test.bytes));
        EXPECT_EQ(image.pixels, nullptr) << test.bytes;
        EXPECT_EQ(image.errors,
                  "GLM: Warning: glmReadPPM: image \"" + path + "\" not read, it has " + test.fault + "\n");
    }
}

TEST(Image, PngFormatsBottomRowFirst) {
    const TempDir folder;
    const struct {
        std::string bytes;
        GLenum format;
        std::string samples;
    } cases[] = {
        {pngOf(PNG_FORMAT_GRAY, 1, 2, "ab"), GL_LUMINANCE, "ba"},
        {pngOf(PNG_FORMAT_GA, 1, 2, "abcd"), GL_LUMINANCE_ALPHA, "cdab"},
        {pngOf(PNG_FORMAT_RGB, 1, 2, "abcdef"), GL_RGB, "defabc"},
        {pngOf(PNG_FORMAT_RGBA, 1, 2, "abcdefgh"), GL_RGBA, "efghabcd"},
        {pngOf(PNG_FORMAT_LINEAR_Y, 1, 2, std::string("\0\0\xff\xff", 4)), GL_LUMINANCE, std::string("\xff\0", 2)},
        {pngOf(PNG_FORMAT_RGB_COLORMAP, 1, 2, std::string("\0\1", 2), "abcdef"), GL_RGB, "defabc"},
    };
    for (const auto& test : cases) {
        const Image image = read(glmReadPNG, folder.write("a.png", test.bytes));
        EXPECT_EQ(image.errors, "");
        EXPECT_EQ(image.format, test.format);
        EXPECT_EQ(image.samples(test.samples.size()), test.samples);
        EXPECT_EQ(pngerror, 0);
    }
}

TEST(Image, PngFilesThatAreNotRead) {
    const TempDir folder;
    EXPECT_EQ(read(glmReadPNG, folder.path().string()).errors, "");
    EXPECT_EQ(pngerror, 1);
    const std::string good = pngOf(PNG_FORMAT_RGB, 30, 30, std::string(2700, 7));
    for (std::size_t length = 0; length < good.size(); ++length) {
        const Image image = read(glmReadPNG, folder.write("a.png", good.substr(0, length)));
        EXPECT_EQ(image.pixels, nullptr);
        EXPECT_TRUE(image.errors.starts_with("PNG error: ")) << image.errors;
        EXPECT_EQ(pngerror, 3);
    }
    // The signature and a header that claims 1000000 x 1000000 RGBA pixels, with its right check sum.
    const std::string vast(
        "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\x0f\x42\x40\0\x0f\x42\x40\x08\x06\0\0\0\x5c\x6d\x38\x7d\0\0\0\0IDAT\x35\xaf\x06\x1e",
        45);
    EXPECT_EQ(read(glmReadPNG, folder.write("a.png", vast)).errors, "PNG error: Not enough image data\n");

    const std::string grey = folder.write("a.png", pngOf(PNG_FORMAT_GA, 1, 2, "abcd"));
    const ChildResult result = runInChild([&] { load(grey); });
    EXPECT_EQ(result.errors, "GLM: Fatal Error: glmLoadTexture(): unknown type 0x190a\n");
    EXPECT_EQ(result.status, 1);
}

TEST(Image, Upload) {
    const TempDir folder;
    const std::string path = folder.write("a.ppm", ppmOf(100, 60));
    glAnswers().integers[GL_MAX_TEXTURE_SIZE] = 0;  // as without a context
    float width = 0, height = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(glmLoadTexture(path.c_str(), true, true, true, true, &width, &height), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "GLM: Warning: glmLoadTexture(): no GL context, image \"" + path + "\" not loaded\n");
    glAnswers().integers[GL_MAX_TEXTURE_SIZE] = 4096;
    EXPECT_EQ(load(path), (std::pair{1.0f, 1.0f}));
    EXPECT_CALLS("glPixelStorei UNPACK_ALIGNMENT 4", "gluScaleImage RGB 100 60 UNSIGNED_BYTE 128 64 UNSIGNED_BYTE",
                 "glGenTextures 1", "glBindTexture TEXTURE_2D 1",
                 "glTexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR",
                 "glTexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR",
                 "glTexParameteri TEXTURE_2D TEXTURE_WRAP_S REPEAT",
                 "glTexParameteri TEXTURE_2D TEXTURE_WRAP_T REPEAT",
                 "gluBuild2DMipmaps TEXTURE_2D RGB 128 64 RGB UNSIGNED_BYTE");
    // GLU would pad the narrow rows that it writes to 4 bytes.
    load(folder.write("a.ppm", ppmOf(1, 5)), false, false, false);
    EXPECT_CALLS("glPixelStorei UNPACK_ALIGNMENT 1", "glPixelStorei PACK_ALIGNMENT 1",
                 "gluScaleImage RGB 1 5 UNSIGNED_BYTE 1 8 UNSIGNED_BYTE", "glPixelStorei PACK_ALIGNMENT 4", "* *",
                 "* * *", "glTexParameteri TEXTURE_2D TEXTURE_MIN_FILTER NEAREST", "* * TEXTURE_MAG_FILTER NEAREST",
                 "* * TEXTURE_WRAP_S CLAMP", "* * TEXTURE_WRAP_T CLAMP",
                 "glTexImage2D TEXTURE_2D 0 RGB 1 8 0 RGB UNSIGNED_BYTE");

    glAnswers().integers[GL_MAX_TEXTURE_SIZE] = 64;
    glAnswers().extensions = "GL_SGIS_generate_mipmap2 GL_SGIS_generate_mipmap";
    glmImgInit();
    load(folder.write("a.ppm", ppmOf(128, 16)));
    EXPECT_CALLS("* * *", "gluScaleImage RGB 128 16 UNSIGNED_BYTE 64 16 UNSIGNED_BYTE", "* *", "* * *", "* * * *",
                 "* * * *", "* * * *", "* * * *", "glTexParameteri TEXTURE_2D GENERATE_MIPMAP_SGIS 1",
                 "glTexImage2D TEXTURE_2D 0 RGB 64 16 0 RGB UNSIGNED_BYTE");
    for (const char* part :
         {"GL_SGIS_generate", "SGIS_generate_mipmap", "", "GL_SGIS_generate_mipmap2 GL_SGIS_generate_mipmap"})
        EXPECT_EQ(glmIsExtensionSupported(part), 0) << part;

    _glmTextureTarget = GL_TEXTURE_RECTANGLE;  // keeps sizes and counts pixels
    EXPECT_EQ(load(folder.write("a.ppm", ppmOf(5, 3))), (std::pair{5.0f, 3.0f}));
    EXPECT_CALLS("* * 1", "* *", "glBindTexture TEXTURE_RECTANGLE 1", "* * TEXTURE_MIN_FILTER LINEAR", "* * * *",
                 "* * * *", "* * * *", "glTexImage2D TEXTURE_RECTANGLE 0 RGB 5 3 0 RGB UNSIGNED_BYTE");
}
