#include "textures.h"

#include "live.h"
#include "screenshot.h"
#include "system.h"

#include <GL/glew.h>
#include <gd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace {

struct DestroyImage {
    void operator()(gdImage* image) const { gdImageDestroy(image); }
};
using Image = std::unique_ptr<gdImage, DestroyImage>;
using Bytes = std::unique_ptr<unsigned char[]>;
using Words = std::unique_ptr<std::uint32_t[]>;

// Null if there is no memory.
Bytes allocateBytes(std::size_t count) { return Bytes(new (std::nothrow) unsigned char[count]); }

// What the GL takes of an image; the sizes are in pixels.
struct Texels {
    int width, height;
    GLenum format, type;
    const void* data;
};

// Replaces what the bound texture shows.
void upload(const Texels& texels) {
    // Rows of three-byte texels have no padding, but by default the GL expects rows of whole words.
    GLint alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, texels.width, texels.height, 0, texels.format, texels.type, texels.data);
    glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
}

GLuint makeTexture(const Texels& texels) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    upload(texels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    return texture;
}

std::string withoutLineEnd(std::string line) {
    while (line.ends_with('\n')) line.pop_back();
    return line;
}

// For files that are saved again: the texture keeps its name, filters and wrap modes.
void replaceTexture(GLuint texture, const Texels& texels) {
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    glBindTexture(GL_TEXTURE_2D, texture);
    upload(texels);
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
}

// libgd's colours, row 0 first. Null if there is no memory.
Words coloursOfImage(gdImage* image) {
    const auto width = static_cast<std::size_t>(gdImageSX(image));
    const int height = gdImageSY(image);
    Words colours(new (std::nothrow) std::uint32_t[width * static_cast<std::size_t>(height)]);
    if (!colours) return colours;
    std::uint32_t* next = colours.get();
    for (int y = 0; y < height; ++y) {
        // One call per pixel would take as long as decoding the image.
        if (gdImageTrueColor(image)) {
            next = std::copy_n(image->tpixels[y], width, next);
            continue;
        }
        for (int x = 0; x < gdImageSX(image); ++x)
            *next++ = static_cast<std::uint32_t>(gdImageGetTrueColorPixel(image, x, y));
    }
    return colours;
}

// Converts libgd's alpha, 127 (clear) to 0, to 0 (clear) to 255. Red, green and blue stay in the lower bytes.
std::uint32_t texelFromColour(std::uint32_t colour) {
    constexpr std::uint32_t GD_ALPHA_RANGE = 127, OPAQUE_ALPHA = 255, RGB = 0xffffff;
    const std::uint32_t alpha = (GD_ALPHA_RANGE - (colour >> 24 & GD_ALPHA_RANGE)) * OPAQUE_ALPHA / GD_ALPHA_RANGE;
    return alpha << 24 | (colour & RGB);
}

// Whether the PNG file claims more pixels than its bytes can hold: deflate packs at most 1032 bytes into one (RFC
// 1951), and a byte holds at most 8 pixels. libgd would allocate memory for all of them before it reads.
bool claimsTooMuch(std::FILE* file) {
    constexpr std::uint64_t MOST_PIXELS_PER_BYTE = std::uint64_t{1032} * 8;
    const long bytes = ryl_bytesLeft(file);
    if (bytes < 0) return false;            // not known
    std::array<unsigned char, 24> start{};  // the first chunk holds width and height at 16 and 20
    const bool read = std::fread(start.data(), 1, start.size(), file) == start.size();
    std::rewind(file);
    const auto side = [&](std::size_t at) -> std::uint64_t {
        return start[at] * 0x1000000ull + start[at + 1] * 0x10000ull + start[at + 2] * 0x100ull + start[at + 3];
    };
    return read && side(16) * side(20) / MOST_PIXELS_PER_BYTE > static_cast<std::uint64_t>(bytes);
}

struct Decoded {
    const char* failure = nullptr;  // the message; null if there is an image
    int width = 0, height = 0;
    Words texels = nullptr;
};

Texels texelsOf(const Decoded& image) {
    return {image.width, image.height, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, image.texels.get()};
}

Decoded decodePNG(const char* path) {
    const File file = ryl_openFile(path);
    if (!file) return {"file not found.\n"};
    const Image image(claimsTooMuch(file.get()) ? nullptr : gdImageCreateFromPng(file.get()));
    if (!image) return {"Unable to load image"};
    Decoded decoded = {nullptr, gdImageSX(image.get()), gdImageSY(image.get()), coloursOfImage(image.get())};
    if (!decoded.texels) return {"not enough memory for the image\n"};
    std::uint32_t* const texels = decoded.texels.get();
    std::transform(texels,
                   texels + static_cast<std::size_t>(decoded.width) * static_cast<std::size_t>(decoded.height),
                   texels, texelFromColour);
    return decoded;
}

std::string reloadPNG(GLuint texture, const std::string& path) {
    const Decoded image = decodePNG(path.c_str());
    if (image.failure != nullptr) return withoutLineEnd("[! " + path + "] " + image.failure);
    replaceTexture(texture, texelsOf(image));
    return "";
}

// The images of ryl_decodeAhead that no ryl_loadPNG has taken yet.
using Images = std::map<std::string, Decoded>;
std::future<Images> decodedAhead;

Decoded takeDecoded(const char* path) {
    static Images images;
    if (decodedAhead.valid()) images = decodedAhead.get();
    auto found = images.extract(path);
    return found.empty() ? decodePNG(path) : std::move(found.mapped());
}

struct TgaHeader {
    int width, height;  // pixels
    int depth;          // bits per pixel
};

// The first 18 bytes of the file, of which only width, height and depth may vary. False for any other file.
bool readTgaHeader(std::FILE* file, TgaHeader& header) {
    constexpr std::array<unsigned char, 12> UNCOMPRESSED_TRUE_COLOUR = {0, 0, 2};
    std::array<unsigned char, 12> start{};
    std::array<unsigned char, 6> size{};
    if (std::fread(start.data(), 1, start.size(), file) != start.size() || start != UNCOMPRESSED_TRUE_COLOUR ||
        std::fread(size.data(), 1, size.size(), file) != size.size())
        return false;
    header = {size[0] + 256 * size[1], size[2] + 256 * size[3], size[4]};
    return true;
}

// Exactly `count` bytes; null if there is no memory or the file is too short.
Bytes readBytes(std::FILE* file, std::size_t count) {
    if (ryl_bytesLeft(file) < static_cast<long>(count)) return nullptr;
    Bytes bytes = allocateBytes(count);
    if (bytes && std::fread(bytes.get(), 1, count, file) != count) bytes.reset();
    return bytes;
}

void saveScreenshot(int width, int height, const char* filename, int level, RowOrder order) {
    Screenshot shot;
    ryl_readScreenshot(width, height, shot);
    ryl_writeScreenshot(shot, ryl_compressScreenshot(shot, level, order), filename, level);
}

struct TgaImage {
    std::string failure = {};  // the message; empty if there is an image
    TgaHeader header = {};
    Bytes texels = nullptr;  // red, green, blue and perhaps alpha
};

TgaImage readTga(const std::string& path) {
    const File file = ryl_openFile(path.c_str());
    if (!file) return {"[! " + path + "] file not found \n"};
    TgaImage image;
    TgaHeader& header = image.header;
    if (!readTgaHeader(file.get(), header)) return {"[!] Unable to load " + path};
    if (header.width == 0 || header.height == 0 || (header.depth != 24 && header.depth != 32))
        return {"[!] " + path + " was a corrupt image =/\n"};
    const auto pixelBytes = static_cast<std::size_t>(header.depth / 8);
    const std::size_t size =
        static_cast<std::size_t>(header.width) * static_cast<std::size_t>(header.height) * pixelBytes;
    image.texels = readBytes(file.get(), size);
    if (!image.texels) return {"[!] Unable to allocate memory for tga " + path + "...\n"};
    for (std::size_t i = 0; i < size; i += pixelBytes) std::swap(image.texels[i], image.texels[i + 2]);
    return image;
}

Texels texelsOf(const TgaImage& image) {
    const GLenum format = image.header.depth == 24 ? GL_RGB : GL_RGBA;
    return {image.header.width, image.header.height, format, GL_UNSIGNED_BYTE, image.texels.get()};
}

std::string reloadTGA(GLuint texture, const std::string& path) {
    const TgaImage image = readTga(path);
    if (!image.failure.empty()) return withoutLineEnd(image.failure);
    replaceTexture(texture, texelsOf(image));
    return "";
}

}  // namespace

void ryl_decodeAhead(const std::vector<std::string>& paths) {
    decodedAhead = std::async([paths] {
        Images images;
        for (const std::string& path : paths) images.emplace(path, decodePNG(path.c_str()));
        return images;
    });
}

unsigned ryl_loadPNG(const char* path) {
    const Decoded image = takeDecoded(path);
    if (image.failure != nullptr) {
        std::printf("[! %s] %s", path, image.failure);
        std::exit(-1);
    }
    const GLuint texture = makeTexture(texelsOf(image));
    ryl_reloadOnSave({path}, [texture, path = std::string(path)] { return reloadPNG(texture, path); });
    return texture;
}

unsigned ryl_loadTGA(const char* path) {
    const TgaImage image = readTga(path);
    if (!image.failure.empty()) {
        std::fputs(image.failure.c_str(), stdout);
        std::exit(-1);
    }
    const GLuint texture = makeTexture(texelsOf(image));
    std::printf("[*] texture %s loaded...\n", path);
    ryl_reloadOnSave({path}, [texture, path = std::string(path)] { return reloadTGA(texture, path); });
    return texture;
}

unsigned ryl_loadBlack(void) {
    constexpr int SIDE = 512;
    static constexpr std::array<unsigned char, static_cast<std::size_t>(SIDE) * SIDE * 3> BLACK_TEXELS{};
    return makeTexture({SIDE, SIDE, GL_RGB, GL_UNSIGNED_BYTE, BLACK_TEXELS.data()});
}

void ryl_screenshot(int width, int height, const char* filename, int level) {
    saveScreenshot(width, height, filename, level, RowOrder::bottomFirst);
}

void ryl_screenshotUpright(int width, int height, const char* filename, int level) {
    saveScreenshot(width, height, filename, level, RowOrder::topFirst);
}
