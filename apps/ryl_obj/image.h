// image.h - pictures in memory, from image files and to PNG files
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// Four bytes a pixel: red, green, blue, alpha (255 is opaque, not multiplied into the colour); the top row first.
struct Image {
    int width = 0, height = 0;
    std::vector<std::uint8_t> pixels = {};
};

inline std::uint8_t* pixelAt(Image& image, int x, int y) {
    return &image.pixels[4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) +
                              static_cast<std::size_t>(x))];
}

// More pixels than this are refused, so that a damaged file cannot take all memory.
constexpr std::int64_t MOST_IMAGE_PIXELS = std::int64_t{1} << 26;

// Reads a PNG, PPM (P6), JPEG, TGA, BMP, GIF or WebP file. False where it cannot: `why` says why. Any thread.
bool readImage(const std::string& path, Image& image, std::string& why);

// Writes a PNG file, with or without the alpha. False when it could not be written whole. `file` stays open.
bool writePng(std::FILE* file, const Image& image, bool alpha);
