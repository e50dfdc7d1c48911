#include "gl_recorder.h"
#include "glm/glmimg_png.h"
#include "model_files.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

// The samples that a reader gives, after what it prints.
std::string read(decltype(glmReadPPM)* reader, const std::string& path) {
    int width = 0, height = 0;
    std::uint32_t format = 0;
    testing::internal::CaptureStderr();
    const std::unique_ptr<unsigned char, decltype(&std::free)> pixels(
        reader(path.c_str(), true, &width, &height, &format), std::free);
    const std::string errors = testing::internal::GetCapturedStderr();
    if (pixels == nullptr) return errors;
    const int samples = format == GL_LUMINANCE ? 1 : format == GL_LUMINANCE_ALPHA ? 2 : format == GL_RGB ? 3 : 4;
    return errors + std::string(pixels.get(), pixels.get() + width * height * samples);
}

// A PNG file's bytes: `format` is one of libpng's, `samples` hold the rows from the top.
std::string pngOf(png_uint_32 format, unsigned width, unsigned height, const std::string& samples) {
    png_image image{nullptr, PNG_IMAGE_VERSION, width, height, format, 0, 2, 0, ""};
    std::string bytes(100000, '\0');
    png_alloc_size_t size = bytes.size();
    EXPECT_NE(png_image_write_to_memory(&image, bytes.data(), &size, 0, samples.data(), 0, "abcdef"), 0);
    return bytes.substr(0, size);
}

}  // namespace

TEST(Image, Files) {
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
        // A header that claims 1000000 x 1000000 RGBA pixels, with its right check sum.
        {glmReadPNG,
         std::string(
             "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\x0f\x42\x40\0\x0f\x42\x40\x08\x06\0\0\0\x5c\x6d\x38\x7d\0\0\0\0IDAT\x35\xaf\x06\x1e",
             45),
         "PNG error: Not enough image data\n"},
    };
    for (const auto& test : cases) EXPECT_EQ(read(test.reader, folder.write("a", test.bytes)), test.result);
    const std::string good = pngOf(PNG_FORMAT_RGB, 30, 30, std::string(2700, 7));
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_TRUE(read(glmReadPNG, folder.write("a", good.substr(0, length))).starts_with("PNG error: "));
    EXPECT_EQ(pngerror, 3);
}

TEST(Image, Upload) {
    const TempDir folder;
    float width = 0, height = 0;
    const auto load = [&](const std::string& bytes, bool fine) {
        startRecording();
        return glmLoadTexture(folder.write("a", bytes).c_str(), true, fine, fine, fine, &width, &height);
    };
    const auto ppm = [](const char* size, std::size_t pixels) {
        return "P6\n" + std::string(size) + "\n255\n" + std::string(3 * pixels, 'x');
    };
    EXPECT_EQ(load(ppm("100 60", 6000), true), 1u);
    EXPECT_CALLS("glPixelStorei UNPACK_ALIGNMENT 4", "gluScaleImage RGB 100 60 UNSIGNED_BYTE 128 64 UNSIGNED_BYTE",
                 "glGenTextures 1", "glBindTexture TEXTURE_2D 1",
                 "glTexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR",
                 "* * TEXTURE_MAG_FILTER LINEAR", "* * TEXTURE_WRAP_S REPEAT", "* * TEXTURE_WRAP_T REPEAT",
                 "gluBuild2DMipmaps TEXTURE_2D RGB 128 64 RGB UNSIGNED_BYTE");
    // GLU would pad the narrow rows that it writes to 4 bytes.
    load(ppm("1 5", 5), false);
    EXPECT_CALLS("* * 1", "glPixelStorei PACK_ALIGNMENT 1", "gluScaleImage RGB 1 5 UNSIGNED_BYTE 1 8 UNSIGNED_BYTE",
                 "glPixelStorei PACK_ALIGNMENT 4", "* *", "* * *", "* * TEXTURE_MIN_FILTER NEAREST",
                 "* * TEXTURE_MAG_FILTER NEAREST", "* * TEXTURE_WRAP_S CLAMP", "* * TEXTURE_WRAP_T CLAMP",
                 "glTexImage2D TEXTURE_2D 0 RGB 1 8 0 RGB UNSIGNED_BYTE");
    _glmTextureTarget = GL_TEXTURE_RECTANGLE;  // keeps sizes and counts pixels
    load(ppm("5 3", 15), true);
    EXPECT_EQ(recordedCalls().back(), "glTexImage2D TEXTURE_RECTANGLE 0 RGB 5 3 0 RGB UNSIGNED_BYTE");
    EXPECT_TRUE(width == 5 && height == 3);
    const ChildResult result = runInChild([&] { load(pngOf(PNG_FORMAT_GA, 1, 2, "abcd"), true); });
    EXPECT_EQ(result.errors, "GLM: Fatal Error: glmLoadTexture(): unknown type 0x190a\n");
}

TEST(Image, IsSharedByNameAndFoundBesideTheModel) {
    // What counting takes for a "newmtl" is part of a long name.
    const std::string gone = std::string(126, 'i') + " newmtl b";
    const ModelFiles files("mtllib m.mtl\n",
                           "newmtl a\nmap_Kd  one \t.ppm \nnewmtl b\nmap_Kd " + gone + "\nmap_Kd_ one \t.ppm\n");
    files.folder.write("one \t.ppm", "P6\n1 1\n255\nabc");
    for (const int largest : {64, 0}) {  // 0 as without a context
        glAnswers().integers[GL_MAX_TEXTURE_SIZE] = largest;
        glmImgInit();
        testing::internal::CaptureStderr();
        startRecording();
        const Model model = files.read();
        const std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(model->nummaterials == 3 && model->numtextures == 2);
        EXPECT_TRUE(model->materials[1].map_diffuse == 0 && model->materials[2].map_diffuse == 0);
        EXPECT_TRUE(model->textures[0].id == (largest > 0 ? 1u : 0u) && model->textures[1].id == 0);
        const std::string path = files.at(gone.c_str());
        EXPECT_TRUE(errors.ends_with(largest > 0 ? path + ": No such file or directory\n"
                                                 : "no GL context, image \"" + path + "\" not loaded\n"));
    }
}
