#include "glm/glmimg.h"

#include "glm/glm.h"
#include "glm/glm_text.h"
#include "glm/glm_util.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

std::uint32_t _glmTextureTarget = GL_TEXTURE_2D;
int glm_do_init = 1;
std::int32_t gl_max_texture_size = 0;
unsigned char gl_sgis_generate_mipmap = 0;

namespace {

constexpr std::size_t PPM_LINE_SIZE = 70;  // 69 characters and the NUL
constexpr int PPM_MAX_SAMPLE = 255;
constexpr int PPM_SAMPLES = 3;

using Pixels = std::unique_ptr<unsigned char, __glmFree>;

struct Image {
    Pixels pixels;
    int width, height;
    GLenum format;
    int samples;  // per pixel
};

int samplesPerPixel(GLenum format) {
    switch (format) {
    case GL_RGB:
    case GL_BGR:
        return 3;
    case GL_RGBA:
    case GL_BGRA:
        return 4;
    case GL_LUMINANCE:
        return 1;
    default:
        __glmFatalError("glmLoadTexture(): unknown type 0x%x", format);
    }
}

int targetSide(int side) {
    side = std::min(side, gl_max_texture_size);
    if (_glmTextureTarget != GL_TEXTURE_2D) return side;
    return static_cast<int>(std::bit_ceil(static_cast<unsigned>(side)));
}

// GLU counts the bytes of an image, two for each sample, in an int.
bool fitsGlu(int width, int height, int samples) {
    constexpr std::uint64_t MOST = INT32_MAX / 2;
    return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) <=
           MOST / static_cast<std::uint64_t>(samples);
}

// Resamples the image to the given size. Returns false if there is no memory for it.
bool resample(Image& image, int width, int height) {
    if (!fitsGlu(image.width, image.height, image.samples) || !fitsGlu(width, height, image.samples)) return false;
    const auto rowBytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(image.samples);
    Pixels pixels(static_cast<unsigned char*>(std::calloc(rowBytes, static_cast<std::size_t>(height))));
    if (pixels == nullptr) return false;
    // GLU pads its rows to the pack alignment, and narrow images have no room for that.
    GLint alignment = 1;
    glGetIntegerv(GL_PACK_ALIGNMENT, &alignment);
    const bool padded = rowBytes % static_cast<std::size_t>(std::max(alignment, 1)) != 0;
    if (padded) glPixelStorei(GL_PACK_ALIGNMENT, 1);
    const GLint error = gluScaleImage(image.format, image.width, image.height, GL_UNSIGNED_BYTE, image.pixels.get(),
                                      width, height, GL_UNSIGNED_BYTE, pixels.get());
    if (padded) glPixelStorei(GL_PACK_ALIGNMENT, alignment);
    if (error != 0) return false;
    image.pixels = std::move(pixels);
    image.width = width;
    image.height = height;
    return true;
}

void setParameters(bool repeat, bool filtering, bool mipmaps) {
    GLint minification = filtering ? GL_LINEAR : GL_NEAREST;
    if (mipmaps) minification = filtering ? GL_LINEAR_MIPMAP_LINEAR : GL_NEAREST_MIPMAP_NEAREST;
    const GLint wrap = repeat ? GL_REPEAT : GL_CLAMP;
    glTexParameteri(_glmTextureTarget, GL_TEXTURE_MIN_FILTER, minification);
    glTexParameteri(_glmTextureTarget, GL_TEXTURE_MAG_FILTER, filtering ? GL_LINEAR : GL_NEAREST);
    glTexParameteri(_glmTextureTarget, GL_TEXTURE_WRAP_S, wrap);
    glTexParameteri(_glmTextureTarget, GL_TEXTURE_WRAP_T, wrap);
}

// Returns false if there is no memory for the mipmaps.
bool upload(const Image& image, bool mipmaps) {
    const auto internalFormat = static_cast<GLint>(image.format);
    if (mipmaps && gl_sgis_generate_mipmap == 0)
        return gluBuild2DMipmaps(_glmTextureTarget, internalFormat, image.width, image.height, image.format,
                                 GL_UNSIGNED_BYTE, image.pixels.get()) == 0;
    // The extension: GL_SGIS_generate_mipmap.
    if (mipmaps) glTexParameteri(_glmTextureTarget, GL_GENERATE_MIPMAP_SGIS, GL_TRUE);
    glTexImage2D(_glmTextureTarget, 0, internalFormat, image.width, image.height, 0, image.format, GL_UNSIGNED_BYTE,
                 image.pixels.get());
    return true;
}

// ---- Raw PPM (the netpbm format "P6") -----------------------------------------------------------------------------

struct PpmHeader {
    int width, height, maximum;
};

// Reads the three numbers of the header, which may be on one line or on several, among comments.
bool readPpmHeader(GLMtext& text, PpmHeader& header) {
    int* const numbers[] = {&header.width, &header.height, &header.maximum};
    std::size_t known = 0;
    while (known < std::size(numbers)) {
        if (!__glmHas(text, 1)) return false;
        char line[PPM_LINE_SIZE];
        __glmReadLine(text, line, sizeof line);
        // A comment starts with "#", so no number is read from it.
        GLMtext words = __glmTextOf(line);
        std::int64_t number = 0;
        while (known < std::size(numbers) && __glmReadInteger(words, number))
            *numbers[known++] = static_cast<int>(std::clamp<std::int64_t>(number, INT32_MIN, INT32_MAX));
    }
    return true;
}

const char* faultOf(const PpmHeader& header, std::uint64_t bytes) {
    if (header.width <= 0 || header.height <= 0) return "no size";
    if (header.maximum <= 0 || header.maximum > PPM_MAX_SAMPLE) return "a maximum value outside of 1 to 255";
    const auto rowBytes = std::uint64_t{PPM_SAMPLES} * static_cast<unsigned>(header.width);
    if (bytes / rowBytes < static_cast<unsigned>(header.height)) return "fewer samples than its size needs";
    return nullptr;
}

}  // namespace

void glmImgInit() {
    glm_do_init = 0;
    _glmTextureTarget = GL_TEXTURE_2D;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &gl_max_texture_size);
    gl_sgis_generate_mipmap = glmIsExtensionSupported("GL_SGIS_generate_mipmap") == 1 ? 1 : 0;
}

int glmIsExtensionSupported(const char* name) {
    const std::size_t length = std::strlen(name);
    if (length == 0 || std::strchr(name, ' ') != nullptr) return 0;
    const auto* list = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    if (list == nullptr) return 0;
    for (const char* at = std::strstr(list, name); at != nullptr; at = std::strstr(at + length, name)) {
        const bool starts = at == list || at[-1] == ' ';
        if (starts && (at[length] == ' ' || at[length] == '\0')) return 1;
    }
    return 0;
}

std::uint32_t glmLoadTexture(const char* path, bool alpha, bool repeat, bool filtering, bool mipmaps,
                             float* texcoord_width, float* texcoord_height) {
    if (glm_do_init != 0) glmImgInit();
    if (gl_max_texture_size <= 0) {
        __glmWarning("glmLoadTexture(): no GL context, image \"%s\" not loaded", path);
        glm_do_init = 1;  // ask again next time
        return 0;
    }

    Image image{};
    image.pixels.reset(glmReadPPM(path, alpha, &image.width, &image.height, &image.format));
    if (image.pixels == nullptr)
        image.pixels.reset(glmReadPNG(path, alpha, &image.width, &image.height, &image.format));
    if (image.pixels == nullptr) return 0;
    image.samples = samplesPerPixel(image.format);

    glPixelStorei(GL_UNPACK_ALIGNMENT, std::int64_t{image.width} * image.samples % 4 != 0 ? 1 : 4);
    const int width = targetSide(image.width);
    const int height = targetSide(image.height);
    const auto fail = [&] {
        __glmWarning("glmLoadTexture(): no memory for image \"%s\" at %d x %d pixels", path, width, height);
        return 0u;
    };
    if ((width != image.width || height != image.height) && !resample(image, width, height)) return fail();

    GLuint id = 0;
    glGenTextures(1, &id);
    glBindTexture(_glmTextureTarget, id);
    const bool flat = _glmTextureTarget == GL_TEXTURE_2D;
    mipmaps = mipmaps && flat;
    setParameters(repeat, filtering, mipmaps);
    if (!upload(image, mipmaps)) {
        glDeleteTextures(1, &id);
        return fail();
    }
    *texcoord_width = flat ? 1.0f : static_cast<float>(image.width);
    *texcoord_height = flat ? 1.0f : static_cast<float>(image.height);
    return id;
}

void __glmReportErrors() {
    for (GLenum error = glGetError(); error != GL_NO_ERROR; error = glGetError())
        __glmWarning("GL error: %s", reinterpret_cast<const char*>(gluErrorString(error)));
}

unsigned char* glmReadPPM(const char* path, bool /*alpha*/, int* width, int* height, std::uint32_t* format) {
    GLMcall call;
    GLMtext text{};
    if (!__glmOpenText(call, path, text)) {
        std::perror(path);
        return nullptr;
    }
    char line[PPM_LINE_SIZE];
    __glmReadLine(text, line, sizeof line);
    if (std::strncmp(line, "P6", 2) != 0) return nullptr;

    PpmHeader header{};
    const char* fault = "a short header";
    if (readPpmHeader(text, header)) {
        __glmLoadAll(text);
        fault = faultOf(header, static_cast<std::uint64_t>(text.end - text.at));
    }
    if (fault != nullptr) {
        __glmWarning("glmReadPPM: image \"%s\" not read, it has %s", path, fault);
        return nullptr;
    }
    const auto pixels = static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.height);
    auto* samples = __glmArray<unsigned char>(pixels * PPM_SAMPLES);
    std::memcpy(samples, text.at, pixels * PPM_SAMPLES);
    *width = header.width;
    *height = header.height;
    *format = GL_RGB;
    return samples;
}
