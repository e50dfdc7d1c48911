// The command line, and the sizes taken where the ones asked for cannot be had.
#include "options.h"
#include "printed.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

Options optionsOf(const std::string& line) {
    std::istringstream stream("ryl " + line);
    std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
    std::vector<const char*> arguments;
    for (const std::string& word : words) arguments.push_back(word.c_str());
    return ryl_readOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Options, ThatAreUnknownOrLackTheirValueChangeNothing) {
    const Options none = optionsOf("-x -NF --unknown -s");
    EXPECT_TRUE(none.fullScreen);
    EXPECT_TRUE(none.sound);
    EXPECT_FALSE(none.capture);
}

TEST(Options, AreReadAlsoWhereTheyStandForAValue) {
    const Options both = optionsOf("-c -m");
    EXPECT_EQ(both.level, 0);
    EXPECT_FALSE(both.sound);
}

TEST(Options, TakeTheLastOfTheirValues) {
    EXPECT_EQ(optionsOf("-c 12 -c 7").level, 7);
    EXPECT_EQ(optionsOf("-s 2 -s -4").scene, -4);
    EXPECT_EQ(optionsOf("--from-frame 1 --from-frame 4600").fromFrame, 4600);
}

TEST(Options, TakeTheFirstSizeThatIsNotZero) {
    EXPECT_EQ(optionsOf("-w 800 -w 1024 -h 600").size, (PixelSize{800, 600}));
    EXPECT_EQ(optionsOf("-w 0 -w x -w 1024 -h -5 -h 9").size, (PixelSize{1024, -5}));
    EXPECT_EQ(optionsOf("-w").size, PixelSize{});
}

TEST(Delay, IsMillisecondsEitherWayOrIsIgnoredWithAWarning) {
    EXPECT_EQ(optionsOf("--delay 120").delay, 120);
    EXPECT_EQ(optionsOf("--delay -5000").delay, -5000);
    for (const std::string value : {"5001", "12ms", "x", "99999999999999", "1.5", ""}) {
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(optionsOf("--delay " + value).delay, 0); }),
                  "[/] --delay takes milliseconds from -5000 to 5000, it is ignored: " +
                      (value.empty() ? "none given" : value) + "\n");
    }
}

TEST(Sizes, ThatCannotBeHadAreReplacedByTheDefaultOfTheirUse) {
    constexpr int MAX_SIDE = 2048;
    const struct {
        SizeUse use;
        PixelSize asked, taken;
        std::string said;
    } cases[] = {
        {SizeUse::window, {2, MAX_SIDE}, {2, MAX_SIDE}, ""},
        {SizeUse::window, {0, 20000}, {640, 480}, ""},
        {SizeUse::window, {1, 9}, {640, 480}, "[/] 1 x 9 is no size for a window, taking 640 x 480\n"},
        {SizeUse::screenMode, {800, 0}, {1280, 800}, ""},
        {SizeUse::screenMode, {9, -5}, {1280, 800}, "[/] 9 x -5 is no size for a screen mode, taking 1280 x 800\n"},
        {SizeUse::capture, {0, 0}, {640, 480}, "[/] 0 x 0 is no size for captured frames, taking 640 x 480\n"},
        {SizeUse::capture, {9, 2049}, {640, 480}, "[/] 9 x 2049 is no size for captured frames, taking 640 x 480\n"},
    };
    for (const auto& size : cases)
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(ryl_usableSize(size.use, size.asked, MAX_SIDE), size.taken); }),
                  size.said);
}

}  // namespace
