// The pictures in the run directory as the program sees them: row 0 of a file lands on the lower edge of its quad.
#include <gd.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace {

struct Picture {
    std::unique_ptr<gdImage, void (*)(gdImage*)> image;
    int width, height;

    explicit Picture(const std::string& name)
        : image(gdImageCreateFromFile(("data/images/" + name + ".png").c_str()), gdImageDestroy),
          width(image ? gdImageSX(image.get()) : 0), height(image ? gdImageSY(image.get()) : 0) {}

    // How much is drawn in the rows from `from` to `to`, and where its middle is: 0 is the left edge, 1 the right.
    std::pair<double, double> ink(double from, double to) const {
        double sum = 0, places = 0;
        for (int y = static_cast<int>(from * height); y < to * height; ++y)
            for (int x = 0; x < width; ++x) {
                const int opacity = gdAlphaMax - gdTrueColorGetAlpha(gdImageGetTrueColorPixel(image.get(), x, y));
                sum += opacity;
                places += static_cast<double>(opacity) * x / width;
            }
        return {sum, places / sum};
    }
};

TEST(OpeningPictures, StandUpright) {
    const Picture spheres("spheres"), summer("summer"), banner("banner");
    EXPECT_GT(spheres.ink(0, 0.5).first, 1.3 * spheres.ink(0.5, 1).first) << "the balls lie on the floor";
    EXPECT_GT(summer.ink(0, 0.3).first, summer.ink(0.7, 1).first) << "the sea lies under the sun";
    EXPECT_GT(banner.ink(0.9, 1).second, banner.ink(0, 0.1).second + 0.05) << "the l is right of the y's tail";
}

}  // namespace
