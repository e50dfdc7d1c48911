#include "image.h"

#include <gd.h>
#include <png.h>

#include <sys/stat.h>

#include <cctype>
#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

constexpr std::size_t HEAD_SIZE = 32;
struct Head {
    unsigned char bytes[HEAD_SIZE];
    std::size_t size;
};

bool begins(const Head& head, const char* magic) {
    return head.size >= std::strlen(magic) && std::memcmp(head.bytes, magic, std::strlen(magic)) == 0;
}

bool setSize(Image& image, std::int64_t width, std::int64_t height, std::string& why) {
    if (width < 1 || height < 1) {
        why = "the image has no pixels";
        return false;
    }
    if (width > MOST_IMAGE_PIXELS || height > MOST_IMAGE_PIXELS / width) {
        why = "the image is too large, " + std::to_string(width) + " x " + std::to_string(height);
        return false;
    }
    image.width = static_cast<int>(width);
    image.height = static_cast<int>(height);
    image.pixels.resize(static_cast<std::size_t>(4 * width * height));
    return true;
}

// ---- PNG ----------------------------------------------------------------------------------------------------------

bool readPng(std::FILE* file, Image& image, std::string& why) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    const std::unique_ptr<png_image, decltype(&png_image_free)> held(&png, png_image_free);
    bool read = png_image_begin_read_from_stdio(&png, file) != 0;
    png.format = PNG_FORMAT_RGBA;
    if (read && !setSize(image, png.width, png.height, why)) return false;
    read = read && png_image_finish_read(&png, nullptr, image.pixels.data(), 0, nullptr) != 0;
    if (!read) why = png.message;
    return read;
}

// ---- PPM ----------------------------------------------------------------------------------------------------------

// The next number of a PPM header, past white space and comments; -1 where there is none.
long readPpmNumber(std::FILE* file) {
    int c = std::getc(file);
    while (c == '#' || std::isspace(c)) {
        if (c == '#')
            while (c != '\n' && c != EOF) c = std::getc(file);
        c = std::getc(file);
    }
    long number = std::isdigit(c) ? 0 : -1;
    for (; std::isdigit(c) && number < MOST_IMAGE_PIXELS; c = std::getc(file)) number = 10 * number + (c - '0');
    return number;
}

bool readPpm(std::FILE* file, Image& image, std::string& why) {
    std::fseek(file, 2, SEEK_SET);
    const long width = readPpmNumber(file), height = readPpmNumber(file), most = readPpmNumber(file);
    if (most < 1 || most > 255) {
        why = "the header is damaged";
        return false;
    }
    if (!setSize(image, width, height, why)) return false;
    std::vector<unsigned char> row(3 * static_cast<std::size_t>(width));
    for (int y = 0; y < image.height; ++y) {
        if (std::fread(row.data(), 1, row.size(), file) != row.size()) {
            why = "the file is cut short";
            return false;
        }
        for (int x = 0; x < image.width; ++x) {
            std::uint8_t* pixel = pixelAt(image, x, y);
            for (std::size_t i = 0; i < 3; ++i) {
                const long sample = row[3 * static_cast<std::size_t>(x) + i] * 255L / most;
                pixel[i] = static_cast<std::uint8_t>(sample < 255 ? sample : 255);
            }
            pixel[3] = 255;
        }
    }
    return true;
}

// ---- What libgd reads ---------------------------------------------------------------------------------------------

long number(const unsigned char* bytes, int count, bool littleEndian) {
    long value = 0;
    for (int i = 0; i < count; ++i) value = value << 8 | bytes[littleEndian ? count - 1 - i : i];
    return value;
}

// The size in a JPEG file's frame header; zeros where there is none.
void findJpegSize(std::FILE* file, long& width, long& height) {
    std::fseek(file, 2, SEEK_SET);
    unsigned char segment[9];
    while (std::fread(segment, 1, 4, file) == 4 && segment[0] == 0xff) {
        const int kind = segment[1];
        if (kind == 0xff) {  // a fill byte
            std::fseek(file, -3, SEEK_CUR);
            continue;
        }
        const bool frame = kind >= 0xc0 && kind <= 0xcf && kind != 0xc4 && kind != 0xc8 && kind != 0xcc;
        if (frame && std::fread(segment + 4, 1, 5, file) == 5) {
            height = number(segment + 5, 2, false);
            width = number(segment + 7, 2, false);
            return;
        }
        if (std::fseek(file, number(segment + 2, 2, false) - 2, SEEK_CUR) != 0) return;
    }
}

struct DestroyImage {
    void operator()(gdImagePtr image) const { gdImageDestroy(image); }
};

void keepSilent(int, const char*, va_list) {}

bool copyGd(gdImagePtr gd, Image& image, std::string& why) {
    if (!setSize(image, gdImageSX(gd), gdImageSY(gd), why)) return false;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const int colour = gdImageGetTrueColorPixel(gd, x, y);
            std::uint8_t* pixel = pixelAt(image, x, y);
            pixel[0] = static_cast<std::uint8_t>(gdTrueColorGetRed(colour));
            pixel[1] = static_cast<std::uint8_t>(gdTrueColorGetGreen(colour));
            pixel[2] = static_cast<std::uint8_t>(gdTrueColorGetBlue(colour));
            pixel[3] = static_cast<std::uint8_t>(255 - gdTrueColorGetAlpha(colour) * 255 / gdAlphaMax);
        }
    return true;
}

struct Format {
    const char* magic;  // how the file begins; "" for TGA, which has no mark
    int width, height;  // where the size is in the head; 0: not there
    int bytes;          // of each
    gdImagePtr (*read)(std::FILE*);
};
constexpr Format FORMATS[] = {{"\xff\xd8\xff", 0, 0, 0, gdImageCreateFromJpeg},
                              {"BM", 18, 22, 4, gdImageCreateFromBmp},
                              {"GIF8", 6, 8, 2, gdImageCreateFromGif},
                              {"RIFF", 0, 0, 0, gdImageCreateFromWebp},
                              {"", 12, 14, 2, gdImageCreateFromTga}};

// libgd takes memory for the size that the file claims before it looks at the pixels, so the size is checked here.
bool readWithGd(std::FILE* file, const Head& head, const Format& format, Image& image, std::string& why) {
    long width = 1, height = 1;
    if (format.read == gdImageCreateFromJpeg) {
        width = height = 0;
        findJpegSize(file, width, height);
    } else if (format.width > 0 && head.size == HEAD_SIZE) {
        width = number(head.bytes + format.width, format.bytes, true);
        height = number(head.bytes + format.height, format.bytes, true);
        if (format.bytes == 4 && height > 0x7fffffff) height = 0x100000000 - height;  // a negative one: top row first
    }
    Image claimed;
    if (!setSize(claimed, width, height, why)) return false;
    claimed = {};
    static std::once_flag silenced;
    std::call_once(silenced, [] { gdSetErrorMethod(keepSilent); });
    std::rewind(file);
    const std::unique_ptr<gdImage, DestroyImage> gd(format.read(file));
    if (gd) return copyGd(gd.get(), image, why);
    why = "it is no image that can be read";
    return false;
}

// ---- Writing ------------------------------------------------------------------------------------------------------

// libpng jumps back to the setjmp on any error, so no object here may have a destructor.
bool writeRows(png_structp png, png_infop info, std::FILE* file, const Image& image, bool alpha) {
    constexpr int LEVEL = 3;  // of zlib; what higher ones save takes longer than the picture does
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_init_io(png, file);
    png_set_compression_level(png, LEVEL);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
                 alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    png_write_info(png, info);
    if (!alpha) png_set_filler(png, 0, PNG_FILLER_AFTER);
    const std::size_t step = 4 * static_cast<std::size_t>(image.width);
    for (int y = 0; y < image.height; ++y) png_write_row(png, &image.pixels[static_cast<std::size_t>(y) * step]);
    png_write_end(png, nullptr);
    return true;
}

void ignoreWarning(png_structp, png_const_charp) {}
[[noreturn]] void jumpBack(png_structp png, png_const_charp) { png_longjmp(png, 1); }

}  // namespace

bool readImage(const std::string& path, Image& image, std::string& why) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        why = std::strerror(errno);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        why = "it is no regular file";
        return false;
    }
    const File file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        why = std::strerror(errno);
        return false;
    }
    Head head = {};
    head.size = std::fread(head.bytes, 1, HEAD_SIZE, file.get());
    std::rewind(file.get());
    if (begins(head, "\x89PNG")) return readPng(file.get(), image, why);
    if (begins(head, "P6")) return readPpm(file.get(), image, why);
    for (const Format& format : FORMATS)
        if (begins(head, format.magic)) return readWithGd(file.get(), head, format, image, why);
    return false;
}

bool writePng(std::FILE* file, const Image& image, bool alpha) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, jumpBack, ignoreWarning);
    if (png == nullptr) return false;
    png_infop info = png_create_info_struct(png);
    const bool written = info != nullptr && writeRows(png, info, file, image, alpha) && std::fflush(file) == 0;
    png_destroy_write_struct(&png, &info);
    return written;
}
