// The pictures in the run directory as the program sees them, and the canvas that they are painted on.
#include "canvas.h"
#include "distance.h"
#include "temp_dir.h"

#include <gd.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace {

struct FreeImage {
    void operator()(gdImage* image) const { gdImageDestroy(image); }
};
using Image = std::unique_ptr<gdImage, FreeImage>;

Image load(const std::string& path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    return Image(file ? gdImageCreateFromPng(file.get()) : nullptr);
}

// Alpha as the texture gets it, 0..255; row 0 is the file's first, which lands on the lower edge.
int alphaAt(const Image& image, int x, int y) {
    return (gdAlphaMax - gdTrueColorGetAlpha(gdImageGetTrueColorPixel(image.get(), x, y))) * 255 / gdAlphaMax;
}

int colourDistance(int a, int b) {
    return std::max({std::abs(gdTrueColorGetRed(a) - gdTrueColorGetRed(b)),
                     std::abs(gdTrueColorGetGreen(a) - gdTrueColorGetGreen(b)),
                     std::abs(gdTrueColorGetBlue(a) - gdTrueColorGetBlue(b))});
}

// Width over height on the screen of a quad of the opening: the scene's picture is stretched once more when it is laid
// over the screen, where 73.64 x 41.42 units are visible and the picture measures 96 x 34.2.
double aspectOnScreen(double halfWidth, double halfHeight) {
    return halfWidth / halfHeight * (96 / 73.64) / (34.2 / 41.42);
}

// The part of all pixels whose alpha lies in a range.
double share(const Image& image, int least, int most) {
    int count = 0;
    for (int y = 0; y < gdImageSY(image.get()); ++y)
        for (int x = 0; x < gdImageSX(image.get()); ++x)
            count += alphaAt(image, x, y) >= least && alphaAt(image, x, y) <= most;
    return static_cast<double>(count) / (gdImageSX(image.get()) * gdImageSY(image.get()));
}

// Where a clear pixel touches one that is well covered, filtering mixes their colours: they must be alike.
int worstFringe(const Image& image) {
    int worst = 0;
    for (int y = 1; y + 1 < gdImageSY(image.get()); ++y)
        for (int x = 1; x + 1 < gdImageSX(image.get()); ++x) {
            if (alphaAt(image, x, y) != 0) continue;
            const int own = gdImageGetTrueColorPixel(image.get(), x, y);
            int nearest = 255;
            bool borders = false;
            for (const auto& [dx, dy] : {std::pair{1, 0}, std::pair{-1, 0}, std::pair{0, 1}, std::pair{0, -1}})
                if (alphaAt(image, x + dx, y + dy) > 32) {
                    borders = true;
                    nearest =
                        std::min(nearest, colourDistance(own, gdImageGetTrueColorPixel(image.get(), x + dx, y + dy)));
                }
            if (borders) worst = std::max(worst, nearest);
        }
    return worst;
}

}  // namespace

TEST(Pictures, OfTheOpeningHaveTheShapeOfTheirQuadsAndCleanEdges) {
    const struct {
        const char* name;
        double halfWidth, halfHeight;
    } quads[] = {{"spheres", 14, 13.24}, {"banner", 13, 4.89}, {"summer", 8, 4.2}};
    for (const auto& quad : quads) {
        const Image image = load(std::string("data/images/") + quad.name + ".png");
        ASSERT_TRUE(image && gdImageTrueColor(image.get())) << quad.name;
        const int width = gdImageSX(image.get()), height = gdImageSY(image.get());
        EXPECT_GE(width, 1024) << quad.name;
        EXPECT_LE(width, 2048) << quad.name;
        EXPECT_NEAR(static_cast<double>(width) / height, aspectOnScreen(quad.halfWidth, quad.halfHeight), 0.03)
            << quad.name;
        EXPECT_GT(share(image, 255, 255), 0.1) << quad.name << " is hardly there";
        EXPECT_GT(share(image, 0, 0), 0.15) << quad.name << " has no ground to stand on";
        EXPECT_GT(share(image, 1, 254), 0.01) << quad.name << " has hard edges";
        EXPECT_LE(worstFringe(image), 72) << quad.name;
        for (int x = 0; x < width; ++x) {
            EXPECT_LE(alphaAt(image, x, 0), 4) << quad.name << " is cut off below";
            EXPECT_LE(alphaAt(image, x, height - 1), 4) << quad.name << " is cut off above";
        }
        for (int y = 0; y < height; ++y)
            EXPECT_LE(std::max(alphaAt(image, 0, y), alphaAt(image, width - 1, y)), 4)
                << quad.name << " is cut off at a side";
    }
}

// Row 0 of a texture lies on the lower edge of its quad.
TEST(Pictures, StandUpright) {
    const auto weight = [](const Image& image, double from, double to) {
        double sum = 0;
        for (int y = static_cast<int>(from * gdImageSY(image.get())); y < to * gdImageSY(image.get()); ++y)
            for (int x = 0; x < gdImageSX(image.get()); ++x) sum += alphaAt(image, x, y);
        return sum;
    };
    const Image spheres = load("data/images/spheres.png"), summer = load("data/images/summer.png");
    ASSERT_TRUE(spheres && summer);
    EXPECT_GT(weight(spheres, 0, 0.5), 1.3 * weight(spheres, 0.5, 1)) << "the balls lie on the floor";
    EXPECT_GT(weight(summer, 0, 0.3), weight(summer, 0.7, 1)) << "the sea lies under the sun";
}

TEST(Pictures, OverlayFramesAClearMiddle) {
    const Image overlay = load("data/images/focus_overlay2.png");
    ASSERT_TRUE(overlay);
    const int width = gdImageSX(overlay.get()), height = gdImageSY(overlay.get());
    EXPECT_NEAR(static_cast<double>(width) / height, 37.5 / 17.202, 0.01);
    for (int y = height / 4; y < height * 3 / 4; ++y)
        for (int x = width / 4; x < width * 3 / 4; ++x) ASSERT_EQ(alphaAt(overlay, x, y), 0) << x << ", " << y;
    const auto meanAlpha = [&](int left, int bottom) {
        double sum = 0;
        for (int y = bottom; y < bottom + 40; ++y)
            for (int x = left; x < left + 40; ++x) sum += alphaAt(overlay, x, y);
        return sum / 1600;
    };
    const double corner = meanAlpha(0, 0);
    EXPECT_GT(corner, 40);
    EXPECT_LT(corner, 150);
    for (const auto& [x, y] :
         {std::pair{width - 40, 0}, std::pair{0, height - 40}, std::pair{width - 40, height - 40}})
        EXPECT_NEAR(meanAlpha(x, y), corner, 6);
    EXPECT_LT(meanAlpha(width / 6, height / 6), corner / 2) << "the shade falls off softly";
}

TEST(Pictures, PosterIsOpaqueAndWide) {
    const Image poster = load("data/images/background.png");
    ASSERT_TRUE(poster);
    EXPECT_EQ(gdImageSX(poster.get()) * 9, gdImageSY(poster.get()) * 16);
    EXPECT_GE(gdImageSX(poster.get()), 1024);
    EXPECT_EQ(share(poster, 255, 255), 1.0);
}

TEST(Pictures, GlyphStripHoldsUprightLettersInEqualCells) {
    std::ifstream file("data/font.tga", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(bytes.at(i)); };
    ASSERT_GT(bytes.size(), 18u);
    EXPECT_EQ(bytes.substr(0, 12), std::string("\0\0\2\0\0\0\0\0\0\0\0\0", 12));
    const int width = byteAt(12) + 256 * byteAt(13), height = byteAt(14) + 256 * byteAt(15), cell = width / 26;
    EXPECT_EQ(width % 26, 0);
    EXPECT_EQ(byteAt(16), 32);
    ASSERT_EQ(bytes.size(), 18u + static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);

    // Ink of a letter in the rows from `bottom` to `top`.
    const auto ink = [&](char letter, int bottom, int top) {
        int sum = 0;
        for (int y = bottom; y < top; ++y)
            for (int x = 0; x < cell; ++x)
                sum += byteAt(18 + 4 * static_cast<std::size_t>(y * width + (letter - 'a') * cell + x) + 3);
        return sum;
    };
    for (char letter = 'a'; letter <= 'z'; ++letter) EXPECT_GT(ink(letter, 0, height), 255 * 60) << letter;
    const int lowest = height / 4, highest = height * 13 / 16;
    EXPECT_GT(ink('b', highest, height), 10 * ink('p', highest, height)) << "the stem of b goes up";
    EXPECT_GT(ink('p', 0, lowest), 10 * ink('b', 0, lowest)) << "the stem of p goes down";
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; x += cell)
            EXPECT_EQ(byteAt(18 + 4 * static_cast<std::size_t>(y * width + x) + 3), 0)
                << "a letter reaches into the next cell";
}

TEST(Canvas, WritesUprightPicturesWhoseClearPixelsContinueTheirNeighbours) {
    Canvas canvas = makeCanvas(16, 8);
    paint(canvas, 4, [](float x, float y) { return x < 4.5f && y < 4 ? tint({1, 0.5f, 0}, 1.0f) : CLEAR; });
    const TempDir folder;
    const std::string path = folder.path() / "canvas.png";
    ASSERT_TRUE(writePng(canvas, path.c_str()));
    const Image image = load(path);
    ASSERT_TRUE(image);
    const auto at = [&](int x, int y) { return gdImageGetTrueColorPixel(image.get(), x, y); };
    EXPECT_EQ(at(0, 7), gdTrueColorAlpha(255, 128, 0, 0)) << "the top row comes last";
    EXPECT_EQ(gdTrueColorGetAlpha(at(0, 3)), gdAlphaMax);
    EXPECT_NEAR(alphaAt(image, 4, 7), 128, 2);
    for (const auto& [x, y] : {std::pair{4, 7}, std::pair{5, 7}, std::pair{0, 3}, std::pair{15, 0}})
        EXPECT_LE(colourDistance(at(x, y), gdTrueColor(255, 128, 0)), 1) << x << ", " << y;
    EXPECT_FALSE(writePng(canvas, "no/such/folder.png"));
}

TEST(Canvas, DistancesAreThoseToTheContour) {
    constexpr int SIZE = 40;
    Mask disc{SIZE, SIZE, {}};
    const auto radiusAt = [](int x, int y) {
        return std::hypot(static_cast<float>(x) - 19.5f, static_cast<float>(y) - 19.5f);
    };
    for (int y = 0; y < SIZE; ++y)
        for (int x = 0; x < SIZE; ++x) disc.coverage.push_back(std::clamp(12.5f - radiusAt(x, y), 0.0f, 1.0f));
    const Field field = distanceField(disc);
    for (int y = 0; y < SIZE; ++y)
        for (int x = 0; x < SIZE; ++x)
            EXPECT_NEAR(sampled(field, static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f),
                        12.0f - radiusAt(x, y), 0.6f);
    EXPECT_NEAR(sampled(field, -10.0f, 20.0f), 12.0f - 30.0f, 1.0f) << "beyond the border it goes on";
}
