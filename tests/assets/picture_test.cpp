// The pictures in the run directory as the program sees them: row 0 of a file lands on the lower edge of its quad.
#include "canvas.h"

#include <gd.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

Canvas paintOverlay(const char* font);  // the generator's

namespace {

struct Picture {
    std::unique_ptr<gdImage, void (*)(gdImage*)> image;
    int width, height;

    explicit Picture(const std::string& name)
        : image(gdImageCreateFromFile(("data/images/" + name + ".png").c_str()), gdImageDestroy),
          width(image ? gdImageSX(image.get()) : 0), height(image ? gdImageSY(image.get()) : 0) {}
    int at(int x, int y) const { return gdImageGetTrueColorPixel(image.get(), x, y); }
    int alpha(int x, int y) const { return (gdAlphaMax - gdTrueColorGetAlpha(at(x, y))) * 255 / gdAlphaMax; }

    // The part of all pixels that has an alpha.
    double share(int wanted) const {
        int count = 0;
        for (int i = 0; i < width * height; ++i) count += alpha(i % width, i / width) == wanted ? 1 : 0;
        return static_cast<double>(count) / (width * height);
    }
    // How much is drawn in the rows from `from` to `to`, and where its middle lies: 0 is the left edge, 1 the right.
    std::pair<double, double> ink(double from, double to) const {
        double sum = 0, places = 0;
        for (int y = static_cast<int>(from * height); y < to * height; ++y)
            for (int x = 0; x < width; ++x) {
                sum += alpha(x, y);
                places += static_cast<double>(alpha(x, y)) * x / width;
            }
        return {sum, places / sum};
    }
};

int difference(int a, int b) {
    return std::max({std::abs(gdTrueColorGetRed(a) - gdTrueColorGetRed(b)),
                     std::abs(gdTrueColorGetGreen(a) - gdTrueColorGetGreen(b)),
                     std::abs(gdTrueColorGetBlue(a) - gdTrueColorGetBlue(b))});
}

// Where a clear pixel touches one that is well covered, filtering mixes their colours: they must be alike.
int worstFringe(const Picture& picture) {
    int worst = 0;
    for (int y = 1; y + 1 < picture.height; ++y)
        for (int x = 1; x + 1 < picture.width; ++x) {
            int nearest = 256;
            for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}})
                if (picture.alpha(x, y) == 0 && picture.alpha(x + dx, y + dy) > 32)
                    nearest = std::min(nearest, difference(picture.at(x, y), picture.at(x + dx, y + dy)));
            if (nearest < 256) worst = std::max(worst, nearest);
        }
    return worst;
}

TEST(OpeningPictures, HaveTheShapeOfTheirQuads) {
    const struct {
        const char* name;
        double halfWidth, halfHeight;
    } quads[] = {{"spheres", 14, 13.24}, {"banner", 13, 4.89}, {"summer", 8, 4.2}};
    for (const auto& [name, halfWidth, halfHeight] : quads) {
        const Picture picture(name);
        ASSERT_GE(picture.width, 1024) << name;
        // The scene's picture is stretched once more: 73.64 x 41.42 units are visible of its 96 x 34.2.
        const double aspect = halfWidth / halfHeight * (96 / 73.64) / (34.2 / 41.42);
        EXPECT_NEAR(static_cast<double>(picture.width) / picture.height, aspect, 0.03) << name;
    }
}

TEST(OpeningPictures, HaveCleanEdgesWithinTheFile) {
    for (const char* name : {"spheres", "banner", "summer"}) {
        SCOPED_TRACE(name);
        const Picture picture(name);
        EXPECT_GT(picture.share(255), 0.1) << "hardly there";
        EXPECT_LE(worstFringe(picture), 72);
        for (int x = 0; x < picture.width; ++x)
            EXPECT_LE(std::max(picture.alpha(x, 0), picture.alpha(x, picture.height - 1)), 4) << "cut off";
        for (int y = 0; y < picture.height; ++y)
            EXPECT_LE(std::max(picture.alpha(0, y), picture.alpha(picture.width - 1, y)), 4) << "cut off";
    }
}

TEST(OpeningPictures, StandUpright) {
    const Picture spheres("spheres"), summer("summer"), banner("banner");
    EXPECT_GT(spheres.ink(0, 0.5).first, 1.3 * spheres.ink(0.5, 1).first) << "the balls lie on the floor";
    EXPECT_GT(summer.ink(0, 0.3).first, summer.ink(0.7, 1).first) << "the sea lies under the sun";
    EXPECT_GT(banner.ink(0.9, 1).second, banner.ink(0, 0.1).second + 0.05)
        << "the l rises right of the tail of the y";
}

TEST(Overlay, IsTheWholePaintedFrameAroundAClearMiddle) {
    const Picture overlay("focus_overlay2");
    const Canvas canvas = paintOverlay("");
    ASSERT_EQ(std::pair(overlay.width, overlay.height), std::pair(canvas.width, canvas.height));
    EXPECT_NEAR(static_cast<double>(overlay.width) / overlay.height, 37.5 / 17.202, 0.01);
    int others = 0, covered = 0;
    for (int i = 0; i < overlay.width * overlay.height; ++i) {
        const int x = i % overlay.width, y = i / overlay.width, at = (overlay.height - 1 - y) * overlay.width + x;
        const float painted = canvas.texels[static_cast<std::size_t>(at)].alpha * 255;
        others += std::abs(overlay.alpha(x, y) - static_cast<int>(painted)) > 3 ? 1 : 0;
        const bool middle =
            std::max(std::abs(2.0 * x / overlay.width - 1), std::abs(2.0 * y / overlay.height - 1)) < 0.5;
        covered += middle && overlay.alpha(x, y) > 0 ? 1 : 0;
    }
    EXPECT_EQ(others, 0) << "flipped, or cut";
    EXPECT_EQ(covered, 0);
}

TEST(Poster, IsOpaqueAndHasTheShapeOfTheScreen) {
    const Picture poster("background");
    EXPECT_EQ(poster.width * 9, poster.height * 16);
    EXPECT_EQ(poster.share(255), 1.0);
}

}  // namespace
