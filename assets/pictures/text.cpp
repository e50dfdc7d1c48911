#include "text.h"

#include <gd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr int FINE = 4;              // glyphs are drawn this much larger and averaged down
constexpr int POINTS_PER_INCH = 72;  // at this resolution a point is a pixel

struct FreeImage {
    void operator()(gdImage* image) const { gdImageDestroy(image); }
};

// Corners as libgd gives them: lower left, lower right, upper right, upper left; x, y each.
std::array<int, 8> drawText(gdImage* image, int colour, const char* font, const std::string& text, float size, int x,
                            int y) {
    gdFTStringExtra extra{};
    extra.flags = gdFTEX_RESOLUTION;
    extra.hdpi = extra.vdpi = POINTS_PER_INCH;
    std::array<int, 8> corners{};
    std::string fontPath = font;
    std::string writable = text;  // the interface takes it without const
    const char* error = gdImageStringFTEx(image, corners.data(), colour, fontPath.data(), static_cast<double>(size),
                                          0.0, x, y, writable.data(), &extra);
    if (error) {
        std::fprintf(stderr, "[! %s] %s\n", font, error);
        std::exit(1);
    }
    return corners;
}

}  // namespace

TextExtent measureText(const char* font, const std::string& text, float size) {
    const std::array<int, 8> corners = drawText(nullptr, 0, font, text, size * FINE, 0, 0);
    const auto pixels = [](int fine) { return static_cast<float>(fine) / FINE; };
    return {pixels(corners[0]), pixels(corners[7]), pixels(corners[2]), pixels(corners[1])};
}

Mask textMask(const char* font, const std::string& text, float size, int width, int height, float x, float baseline) {
    const std::unique_ptr<gdImage, FreeImage> image(gdImageCreateTrueColor(width * FINE, height * FINE));
    if (!image) {
        std::fprintf(stderr, "[! %s] no memory for %dx%d pixels of text\n", font, width, height);
        std::exit(1);
    }
    drawText(image.get(), gdTrueColor(255, 255, 255), font, text, size * FINE, static_cast<int>(x * FINE),
             static_cast<int>(baseline * FINE));
    Mask mask{width, height, {}};
    mask.coverage.reserve(static_cast<size_t>(width) * height);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            int sum = 0;
            for (int j = 0; j < FINE; ++j)
                for (int i = 0; i < FINE; ++i)
                    sum += gdTrueColorGetRed(gdImageTrueColorPixel(image.get(), column * FINE + i, row * FINE + j));
            mask.coverage.push_back(static_cast<float>(sum) / (255.0f * FINE * FINE));
        }
    return mask;
}
