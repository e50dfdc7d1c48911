#include "texture.h"
#include "number.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

namespace {

// The mean of up to four pixels, in light; clear pixels have no say in the colour.
void halve(const Image& from, Image& to, int x, int y) {
    float alpha = 0, light[3] = {}, plain[3] = {};
    for (int i = 0; i < 4; ++i) {
        const int column = std::min(2 * x + (i & 1), from.width - 1),
                  row = std::min(2 * y + (i >> 1), from.height - 1);
        const std::uint8_t* pixel =
            &from.pixels[4 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(from.width) +
                              static_cast<std::size_t>(column))];
        alpha += pixel[3];
        for (int k = 0; k < 3; ++k) {
            light[k] += lightOf(pixel[k]) * pixel[3];
            plain[k] += lightOf(pixel[k]);
        }
    }
    std::uint8_t* pixel = pixelAt(to, x, y);
    for (int k = 0; k < 3; ++k) pixel[k] = byteOf(alpha > 0 ? light[k] / alpha : plain[k] / 4);
    pixel[3] = static_cast<std::uint8_t>(std::lround(alpha / 4));
}

// The pixel that a whole coordinate, in pixels, lies on.
int wrapped(std::int64_t at, int size, bool clamp) {
    if (clamp) return static_cast<int>(std::clamp<std::int64_t>(at, 0, size - 1));
    const std::int64_t rest = at % size;
    return static_cast<int>(rest < 0 ? rest + size : rest);
}

struct Sum {
    Colour light = {0, 0, 0};
    float alpha = 0;
};

// Adds the mix of the four pixels about (u, v), times `share`, the colours multiplied by alpha.
void addBetween(const Image& image, bool clamp, double u, double v, float share, Sum& sum) {
    const double x = u * image.width - 0.5, y = (1 - v) * image.height - 0.5;
    const double left = std::floor(x), upper = std::floor(y);
    const auto partX = static_cast<float>(x - left), partY = static_cast<float>(y - upper);
    for (int i = 0; i < 4; ++i) {
        const int column = wrapped(static_cast<std::int64_t>(left) + (i & 1), image.width, clamp);
        const int row = wrapped(static_cast<std::int64_t>(upper) + (i >> 1), image.height, clamp);
        const std::uint8_t* pixel =
            &image.pixels[4 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width) +
                               static_cast<std::size_t>(column))];
        const float part = ((i & 1) != 0 ? partX : 1 - partX) * (i > 1 ? partY : 1 - partY) * share;
        const float alpha = part * static_cast<float>(pixel[3]) / 255;
        sum.alpha += alpha;
        sum.light = sum.light + Colour{lightOf(pixel[0]), lightOf(pixel[1]), lightOf(pixel[2])} * alpha;
    }
}

std::string_view nextWord(std::string_view& text) {
    constexpr std::string_view WHITE = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(WHITE), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(WHITE));
    text.remove_prefix(word.size());
    return word;
}

// Up to `count` numbers that come next.
void takeNumbers(std::string_view& text, double* values, int count) {
    for (int i = 0; i < count; ++i) {
        std::string_view rest = text;
        const std::string_view word = nextWord(rest);
        double value = 0;
        if (ryl_numberAt(word, value) != word.data() + word.size() || !(std::abs(value) < 1e6)) return;
        values[i] = value;
        text = rest;
    }
}

}  // namespace

Texture textureOf(Image image) {
    Texture texture;
    for (std::size_t i = 3; i < image.pixels.size() && !texture.clear; i += 4) texture.clear = image.pixels[i] < 255;
    texture.levels.push_back(std::move(image));
    while (texture.levels.back().width > 1 || texture.levels.back().height > 1) {
        const Image& from = texture.levels.back();
        Image half = {std::max(1, from.width / 2), std::max(1, from.height / 2)};
        half.pixels.resize(4 * static_cast<std::size_t>(half.width) * static_cast<std::size_t>(half.height));
        for (int y = 0; y < half.height; ++y)
            for (int x = 0; x < half.width; ++x) halve(from, half, x, y);
        texture.levels.push_back(std::move(half));
    }
    return texture;
}

Lay layOf(std::string_view options) {
    Lay lay;
    while (!options.empty()) {
        const std::string_view word = nextWord(options);
        double range[2] = {lay.base, lay.gain};
        if (word == "-s") takeNumbers(options, lay.scale, 2);
        if (word == "-o") takeNumbers(options, lay.offset, 2);
        if (word == "-mm") takeNumbers(options, range, 2);
        if (word == "-clamp") lay.clamp = nextWord(options) == "on";
        lay.base = range[0];
        lay.gain = range[1];
    }
    return lay;
}

Texel sample(const Texture& texture, const Lay& lay, double u, double v, double reach) {
    u = u * lay.scale[0] + lay.offset[0];
    v = v * lay.scale[1] + lay.offset[1];
    constexpr double FARTHEST = 1e9;  // turns of a texture, beyond which its pixels cannot be told apart
    if (!(std::abs(u) < FARTHEST) || !(std::abs(v) < FARTHEST)) u = v = 0;
    const auto last = static_cast<double>(texture.levels.size() - 1);
    const double pixels =
        reach * std::max(lay.scale[0], lay.scale[1]) * std::max(texture.levels[0].width, texture.levels[0].height);
    const double level = pixels > 1 ? std::min(std::log2(pixels), last) : 0;
    const auto first = static_cast<std::size_t>(level);
    const auto part = static_cast<float>(level - static_cast<double>(first));
    Sum sum;
    addBetween(texture.levels[first], lay.clamp, u, v, 1 - part, sum);
    if (part > 0) addBetween(texture.levels[first + 1], lay.clamp, u, v, part, sum);
    const Colour light = sum.alpha > 0 ? sum.light * (1 / sum.alpha) : Colour{0, 0, 0};
    if (lay.base == 0 && lay.gain == 1) return {light, sum.alpha};
    const auto base = static_cast<float>(lay.base), gain = static_cast<float>(lay.gain);
    return {light * gain + Colour{base, base, base}, sum.alpha};
}
