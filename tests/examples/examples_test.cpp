// The programs in examples/ at two seconds, by a few places of their pictures that would differ if one did not work.
#include "command.h"
#include "temp_dir.h"

#include <gd.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int WIDTH = 320, HEIGHT = 180;
constexpr int TOLERANCE = 40;  // drivers draw edges in their own ways
constexpr int PIXELS = 25;     // whose mean is looked at
constexpr int FRAME = 81;      // two seconds

struct Place {
    double x, y;  // 0 to 1, from the upper left
    int red, green, blue;
};

struct Example {
    const char* name;
    std::vector<Place> places;
};
void PrintTo(const Example& example, std::ostream* stream) { *stream << example.name; }

// Mean of 5 x 5 pixels.
void expectColour(gdImage* image, const Place& place) {
    const int x = static_cast<int>(place.x * WIDTH), y = static_cast<int>(place.y * HEIGHT);
    int red = 0, green = 0, blue = 0;
    for (int i = 0; i < PIXELS; ++i) {
        const int pixel = gdImageGetTrueColorPixel(image, x + i % 5 - 2, y + i / 5 - 2);
        red += gdTrueColorGetRed(pixel);
        green += gdTrueColorGetGreen(pixel);
        blue += gdTrueColorGetBlue(pixel);
    }
    const std::pair<int, int> parts[] = {{red, place.red}, {green, place.green}, {blue, place.blue}};
    for (const auto& [sum, expected] : parts)
        EXPECT_LE(std::abs(sum - expected * PIXELS), TOLERANCE * PIXELS) << place.x << ", " << place.y;
}

struct Examples : testing::TestWithParam<Example> {};

TEST_P(Examples, ShowWhatTheirPageShows) {
    const TempDir folder;
    const std::string picture = folder.path() / "picture.png";
    const Ran ran = run(RYL_VIDEO " --program " RYL_EXAMPLES "/" + std::string(GetParam().name) + " --size " +
                        std::to_string(WIDTH) + "x" + std::to_string(HEIGHT) + " --poster " + std::to_string(FRAME) +
                        " " + picture + " 2>&1");
    ASSERT_EQ(ran.status, 0) << ran.output;
    gdImage* image = gdImageCreateFromFile(picture.c_str());
    ASSERT_NE(image, nullptr);
    for (const Place& place : GetParam().places) expectColour(image, place);
    gdImageDestroy(image);
}

const Example EXAMPLES[] = {
    {"font", {{0.5, 0.98, 86, 12, 75}, {0.46, 0.31, 156, 147, 163}}},
    {"geometry", {{0.36, 0.5, 253, 223, 172}, {0.5, 0.05, 0, 0, 0}}},
    {"lights", {{0.5, 0.62, 19, 90, 57}, {0.93, 0.62, 206, 255, 253}}},
    {"model", {{0.2, 0.33, 33, 181, 56}, {0.2, 0.66, 12, 50, 50}}},
    {"noise", {{0.5, 0.1, 0, 0, 0}, {0.5, 0.5, 152, 105, 165}}},
    {"pictures", {{0.262, 0.65, 208, 25, 50}, {0.5, 0.15, 189, 119, 181}, {0.03, 0.05, 0, 0, 0}}},
    {"screenshot", {{0.5, 0.12, 204, 142, 40}, {0.69, 0.5, 51, 66, 86}, {0.5, 0.5, 130, 130, 130}}},
    {"shader", {{0.2, 0.4, 166, 24, 79}, {0.55, 0.45, 137, 176, 252}, {0.03, 0.03, 18, 11, 51}}},
    {"targets", {{0.5, 0.52, 255, 181, 60}, {0.4, 0.4, 26, 76, 127}, {0.5, 0.9, 0, 0, 0}}},
    {"text", {{0.3875, 0.3, 251, 188, 50}, {0.4875, 0.5556, 65, 130, 163}, {0.5, 0.06, 0, 0, 0}}},
    {"tracks", {{0.2938, 0.0972, 254, 254, 203}, {0.2938, 0.7806, 231, 230, 185}, {0.5, 0.03, 0, 0, 0}}},
    {"typewriter", {{0.08, 0.69, 64, 163, 100}, {0.5, 0.9, 0, 6, 13}}},
};
INSTANTIATE_TEST_SUITE_P(Each, Examples, testing::ValuesIn(EXAMPLES),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
