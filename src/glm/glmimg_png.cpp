#include "glm/glmimg_png.h"

#include "glm/glm.h"
#include "glm/glm_util.h"

#include <GL/gl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

std::int32_t pngerror = 0;
std::jmp_buf setjmp_buffer;

namespace {

constexpr std::int32_t READ = 0, NOT_OPENED = 1, NO_MEMORY = 2, NOT_DECODED = 3;

// One byte of deflate gives at most 1032 (RFC 1951: a match of 258 bytes takes two bits).
constexpr std::uint64_t MAX_COMPRESSION = 1032;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// All that decoding obtains. It lives outside of the function that errors jump to, so its fields keep their values
// after a jump. It has no destructor, because a jump would not run one.
struct Decoder {
    std::FILE* file;
    std::uint64_t fileSize;
    png_structp png;
    png_infop info;
    png_bytep pixels;
    png_bytepp rows;
    png_uint_32 width, height;
    int channels;
};

// A few bytes can claim a size of many gigabytes. The file packs rows as they are stored, with one bit or more for a
// pixel; the passes of an interlaced image take no less.
void requireEnoughData(const Decoder& decoder) {
    const std::uint64_t stored = std::uint64_t{decoder.height} * png_get_rowbytes(decoder.png, decoder.info);
    if (stored / MAX_COMPRESSION > decoder.fileSize) png_error(decoder.png, "Not enough image data");
}

void requestPlainSamples(const Decoder& decoder, int bitDepth, int colourType) {
    png_set_strip_16(decoder.png);
    const bool packed = colourType == PNG_COLOR_TYPE_PALETTE || (colourType == PNG_COLOR_TYPE_GRAY && bitDepth < 8);
    if (packed || png_get_valid(decoder.png, decoder.info, PNG_INFO_tRNS) != 0) png_set_expand(decoder.png);
    png_set_interlace_handling(decoder.png);
    png_read_update_info(decoder.png, decoder.info);
}

// Returns false if there is no memory for the image.
bool makeRows(Decoder& decoder) {
    const std::size_t height = decoder.height;
    const std::size_t rowBytes = png_get_rowbytes(decoder.png, decoder.info);
    decoder.pixels = static_cast<png_bytep>(std::calloc(height, rowBytes));
    decoder.rows = static_cast<png_bytepp>(std::calloc(height, sizeof(png_bytep)));
    if (decoder.pixels == nullptr || decoder.rows == nullptr) return false;
    for (std::size_t row = 0; row < height; ++row) decoder.rows[row] = decoder.pixels + (height - 1 - row) * rowBytes;
    return true;
}

// Returns the value for pngerror. No object with a destructor may live in here or in what it calls.
std::int32_t decode(Decoder& decoder) {
    decoder.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, err_callback, warn_callback);
    if (decoder.png == nullptr) return NO_MEMORY;
    decoder.info = png_create_info_struct(decoder.png);
    if (decoder.info == nullptr) return NO_MEMORY;
    if (setjmp(setjmp_buffer) != 0) return NOT_DECODED;

    png_init_io(decoder.png, decoder.file);
    png_read_info(decoder.png, decoder.info);
    int bitDepth = 0, colourType = 0, interlace = 0;
    png_get_IHDR(decoder.png, decoder.info, &decoder.width, &decoder.height, &bitDepth, &colourType, &interlace,
                 nullptr, nullptr);
    requireEnoughData(decoder);
    requestPlainSamples(decoder, bitDepth, colourType);
    decoder.channels = png_get_channels(decoder.png, decoder.info);
    if (!makeRows(decoder)) return NO_MEMORY;
    png_read_image(decoder.png, decoder.rows);
    png_read_end(decoder.png, decoder.info);
    return READ;
}

GLenum formatOf(int channels) {
    constexpr GLenum FORMATS[] = {GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_RGB, GL_RGBA};
    return FORMATS[channels - 1];
}

}  // namespace

void warn_callback(png_structp /*png*/, png_const_charp message) { std::fprintf(stderr, "PNG warn: %s\n", message); }

void err_callback(png_structp /*png*/, png_const_charp message) {
    std::fprintf(stderr, "PNG error: %s\n", message);
    std::longjmp(setjmp_buffer, 1);
}

unsigned char* glmReadPNG(const char* path, bool /*alpha*/, int* width, int* height, std::uint32_t* format) {
    pngerror = NOT_OPENED;
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path, "rb"));
    struct stat status {};
    if (file == nullptr || fstat(fileno(file.get()), &status) != 0 || S_ISDIR(status.st_mode)) return nullptr;

    Decoder decoder{};
    decoder.file = file.get();
    decoder.fileSize = S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : UINT64_MAX;
    pngerror = decode(decoder);
    png_destroy_read_struct(&decoder.png, &decoder.info, nullptr);
    std::free(decoder.rows);
    if (pngerror != READ) {
        std::free(decoder.pixels);
        return nullptr;
    }
    *width = static_cast<int>(decoder.width);
    *height = static_cast<int>(decoder.height);
    *format = formatOf(decoder.channels);
    return decoder.pixels;
}
