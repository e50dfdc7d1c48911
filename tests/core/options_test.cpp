// The command line, and the sizes that take the place of those which cannot be had.
#include "options.h"

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

TEST(Options, AreTestedOneByOneValuesIncluded) {
    const Options none = optionsOf("-x -NF --unknown -s");
    EXPECT_TRUE(none.fullScreen);
    EXPECT_TRUE(none.sound);
    EXPECT_FALSE(none.capture);
    const Options both = optionsOf("-c -m");
    EXPECT_TRUE(both.capture);
    EXPECT_EQ(both.level, 0);
    EXPECT_FALSE(both.sound);
    EXPECT_EQ(optionsOf("-c 12 -c 7").level, 7);
    EXPECT_EQ(optionsOf("-s 2 -s -4").scene, -4);
    EXPECT_EQ(both.fromFrame, 1);
    EXPECT_EQ(optionsOf("--from-frame 4600").fromFrame, 4600);
}

TEST(Options, TakeTheFirstSizeThatIsNotZero) {
    EXPECT_EQ(optionsOf("-w 800 -w 1024 -h 600").size, (PixelSize{800, 600}));
    EXPECT_EQ(optionsOf("-w 0 -w x -w 1024 -h -5 -h 9").size, (PixelSize{1024, -5}));
    EXPECT_EQ(optionsOf("-w").size, PixelSize{});
}

TEST(Delay, IsMillisecondsEitherWayOrIgnoredInALine) {
    EXPECT_EQ(optionsOf("--delay 120").delay, 120);
    EXPECT_EQ(optionsOf("--delay -5000").delay, -5000);
    for (const std::string value : {"5001", "12ms", "x", "99999999999999", "1.5", ""}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(optionsOf("--delay " + value).delay, 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "[/] --delay takes milliseconds from -5000 to 5000, it is ignored: " +
                      (value.empty() ? "none given" : value) + "\n");
    }
}

TEST(Sizes, ThatCannotBeHadAreReplacedByTheDefaultOfTheirUse) {
    constexpr int MAX_SIDE = 2048;
    const struct {
        SizeUse use;
        std::string name;
        PixelSize standard;
        bool saysMissing;
    } uses[] = {{SizeUse::window, "a window", {640, 480}, false},
                {SizeUse::screenMode, "a screen mode", {1280, 800}, false},
                {SizeUse::capture, "captured frames", {640, 480}, true}};
    const struct {
        PixelSize asked;
        bool given, missing;
    } cases[] = {{{2, MAX_SIDE}, true, false}, {{800, 600}, true, false},        {{0, 0}, false, true},
                 {{800, 0}, false, true},      {{0, 20000}, false, true},        {{1, 9}, false, false},
                 {{9, -5}, false, false},      {{9, MAX_SIDE + 1}, false, false}};
    for (const auto& use : uses)
        for (const auto& [asked, given, missing] : cases) {
            std::ostringstream line;
            if (!given && (!missing || use.saysMissing))
                line << "[/] " << asked.width << " x " << asked.height << " is no size for " << use.name
                     << ", taking " << use.standard.width << " x " << use.standard.height << '\n';
            testing::internal::CaptureStdout();
            EXPECT_EQ(ryl_usableSize(use.use, asked, MAX_SIDE), given ? asked : use.standard) << line.str();
            EXPECT_EQ(testing::internal::GetCapturedStdout(), line.str());
        }
}

}  // namespace
