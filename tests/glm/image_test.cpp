#include "gl_window.h"
#include "glm/glmimg.h"
#include "glm/glmimg_png.h"
#include "model_files.h"
#include "printed.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

// What the reader prints, then the samples.
std::string read(decltype(glmReadPPM)* reader, const std::string& path) {
    int width = 0, height = 0;
    std::uint32_t format = 0;
    std::unique_ptr<unsigned char, decltype(&std::free)> pixels(nullptr, std::free);
    const auto errors = errorsOf([&] { pixels.reset(reader(path.c_str(), true, &width, &height, &format)); });
    if (pixels == nullptr) return errors;
    const int samples = format == GL_LUMINANCE ? 1 : format == GL_LUMINANCE_ALPHA ? 2 : format == GL_RGB ? 3 : 4;
    return errors + std::string(pixels.get(), pixels.get() + width * height * samples);
}

std::string repeated(const std::string& pixel, int times) {
    std::string pixels;
    while (times-- > 0) pixels += pixel;
    return pixels;
}

// A PNG file's bytes: `format` is one of libpng's, `samples` hold the rows from the top. A palette of 2 colours has a
// bit for each pixel, one of 17 a byte.
std::string pngOf(png_uint_32 format, unsigned width, unsigned height, const std::string& samples,
                  unsigned colours = 2) {
    png_image image{nullptr, PNG_IMAGE_VERSION, width, height, format, 0, colours, 0, ""};
    const std::string palette = "abcdefgh" + std::string(4 * 17, 'z');
    std::string bytes(100000, '\0');
    png_alloc_size_t size = bytes.size();
    EXPECT_NE(png_image_write_to_memory(&image, bytes.data(), &size, 0, samples.data(), 0, palette.data()), 0);
    return bytes.substr(0, size);
}

}  // namespace

TEST(Image, IsReadWholeOrRefusedWithTheReason) {
    const TempDir folder;
    const std::string notRead =
        "GLM: Warning: glmReadPPM: image \"" + (folder.path() / "a").string() + "\" not read, it has ";
    const struct {
        decltype(glmReadPPM)* reader;
        std::string bytes, result;
    } cases[] = {
        {glmReadPPM, "P6 raw\n# size\n2\n# on two lines\n1\n\n255\nabcdef", "abcdef"},
        {glmReadPPM, "P5\n2 1\n255\nab", ""},
        {glmReadPPM, "P6\n2 1\n# 255", notRead + "a short header\n"},
        {glmReadPPM, "P6\n2000000000 2000000000\n255\nabc", notRead + "fewer samples than its size needs\n"},
        {glmReadPPM, "P6\n2 1\n65535\nabcdefabcdef", notRead + "a maximum value outside of 1 to 255\n"},
        {glmReadPPM, "P6\n-2 1\n255\nabcdef", notRead + "no size\n"},
        {glmReadPNG, pngOf(PNG_FORMAT_GA, 1, 2, "abcd"), "cdab"},  // bottom row first
        {glmReadPNG, pngOf(PNG_FORMAT_LINEAR_Y, 1, 1, "ab"), "b"},
        {glmReadPNG, pngOf(PNG_FORMAT_RGB_COLORMAP, 1, 2, std::string("\0\1", 2)), "defabc"},
        // Flat images have as few bytes as possible.
        {glmReadPNG, pngOf(PNG_FORMAT_RGB_COLORMAP, 512, 512, std::string(262144, '\0')), repeated("abc", 262144)},
        {glmReadPNG, pngOf(PNG_FORMAT_RGBA_COLORMAP, 512, 512, std::string(262144, '\0'), 17),
         repeated("abcd", 262144)},
        // A header that claims 1000000 x 1000000 RGBA pixels, with its right check sum.
        {glmReadPNG,
         std::string(
             "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\x0f\x42\x40\0\x0f\x42\x40\x08\x06\0\0\0\x5c\x6d\x38\x7d\0\0\0\0IDAT"
             "\x35\xaf\x06\x1e",
             45),
         "PNG error: Not enough image data\n"},
    };
    for (const auto& test : cases) {
        const std::string got = read(test.reader, folder.write("a", test.bytes));
        EXPECT_TRUE(got == test.result) << got.substr(0, 100);
    }
}

TEST(Image, BecomesATextureOfTheNextPowersOfTwo) {
    openTestWindow(16, 16);
    const TempDir folder;
    float width = 0, height = 0;
    // "WIDTHxHEIGHT" of the level's texture, its parameters, and its first texel's red.
    const auto load = [&](const std::string& bytes, bool fine, int level) {
        glmLoadTexture(folder.write("a", bytes).c_str(), true, fine, fine, fine, &width, &height);
        int w = 0, h = 0, filter = 0, wrap = 0;
        glGetTexLevelParameteriv(_glmTextureTarget, level, GL_TEXTURE_WIDTH, &w);
        glGetTexLevelParameteriv(_glmTextureTarget, level, GL_TEXTURE_HEIGHT, &h);
        glGetTexParameteriv(_glmTextureTarget, GL_TEXTURE_MIN_FILTER, &filter);
        glGetTexParameteriv(_glmTextureTarget, GL_TEXTURE_WRAP_S, &wrap);
        std::string texels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 4, '\0');
        glGetTexImage(_glmTextureTarget, level, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
        return std::vector{w, h, filter, wrap, static_cast<int>(texels[0])};
    };
    const auto ppm = [](const char* size, std::size_t pixels) {
        return "P6\n" + std::string(size) + "\n255\n" + std::string(3 * pixels, 'x');
    };
    EXPECT_EQ(load(ppm("100 60", 6000), true, 1),
              (std::vector<int>{64, 32, GL_LINEAR_MIPMAP_LINEAR, GL_REPEAT, 'x'}));
    EXPECT_EQ(load(ppm("1 5", 5), false, 0), (std::vector<int>{1, 8, GL_NEAREST, GL_CLAMP, 'x'}));
    _glmTextureTarget = GL_TEXTURE_RECTANGLE;  // keeps sizes and counts pixels
    EXPECT_EQ(load(ppm("5 3", 15), false, 0), (std::vector<int>{5, 3, GL_NEAREST, GL_CLAMP, 'x'}));
    EXPECT_EQ(std::pair(width, height), std::pair(5.0f, 3.0f));
}

TEST(Image, IsSharedByNameAndFoundBesideTheModel) {
    // What counting takes for a "newmtl" is a part of a long name.
    const std::string gone = std::string(126, 'i') + " newmtl b";
    const ModelFiles files("mtllib m.mtl\n",
                           "newmtl a\nmap_Kd  one \t.ppm \nnewmtl b\nmap_Kd " + gone + "\nmap_Kd_ one \t.ppm\n");
    files.folder.write("one \t.ppm", "P6\n1 1\n255\nabc");
    for (const bool hasContext : {false, true}) {
        if (hasContext) openTestWindow(16, 16);
        Model model;
        const std::string errors = errorsOf([&] { model = files.read(); });
        EXPECT_EQ(model->nummaterials, 3u);
        EXPECT_EQ(model->numtextures, 2u);
        for (const int material : {1, 2}) EXPECT_EQ(model->materials[material].map_diffuse, 0u) << material;
        EXPECT_EQ(model->textures[0].id != 0, hasContext);
        EXPECT_EQ(model->textures[1].id, 0u);
        const std::string path = files.at(gone.c_str());
        EXPECT_TRUE(errors.ends_with(hasContext ? path + ": No such file or directory\n"
                                                : "no GL context, image \"" + path + "\" not loaded\n"));
    }
}
