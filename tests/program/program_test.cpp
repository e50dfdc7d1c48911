// The program as its users meet it: options, lines, keys, files, exit status.
#include "program.h"

#include "x_server.h"

#include <gd.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <regex>

namespace fs = std::filesystem;

namespace {

constexpr int FAILED = 255;

using Image = std::unique_ptr<gdImage, decltype(&gdImageDestroy)>;

Image readImage(const fs::path& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    gdImage* image = file != nullptr ? gdImageCreateFromPng(file) : nullptr;
    if (file != nullptr) std::fclose(file);
    return {image, gdImageDestroy};
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string numbered(int frame) { return "capture/" + std::to_string(frame) + ".png"; }

// Runs in capture mode until `frames` frames are written; the directory holds them afterwards.
void capture(const RunDirectory& directory, int frames, std::vector<std::string> options) {
    options.insert(options.begin(), {"-nf", "-c", "1"});
    Program program(directory, options);
    ASSERT_TRUE(program.waitForLine("[CAPTURE] frame " + std::to_string(frames) + "\n", 100)) << program.output();
}

// Mean of red, green and blue over the whole image, 0 to 255.
double brightness(gdImage* image) {
    double sum = 0;
    for (int y = 0; y < gdImageSY(image); ++y)
        for (int x = 0; x < gdImageSX(image); ++x) {
            const int pixel = gdImageGetPixel(image, x, y);
            sum += gdImageRed(image, pixel) + gdImageGreen(image, pixel) + gdImageBlue(image, pixel);
        }
    return sum / 3 / gdImageSX(image) / gdImageSY(image);
}

// ---- Options ------------------------------------------------------------------------------------------------------

TEST(Options, CaptureWithoutALevelEndsBeforeAnyWindow) {
    const RunDirectory directory;
    const Outcome outcome = runProgram(directory, {"-nf", "-c"});
    EXPECT_EQ(outcome.status, FAILED);
    EXPECT_EQ(outcome.output, "[*] systemcheck.\n[*] system seems fine\n[!] -c <compressionlevel 0-9>\n");
}

TEST(Options, SizesThatNoWindowCanHave) {
    const RunDirectory directory;
    Outcome outcome = runProgram(directory, {"-nf", "-w", "100000", "-h", "100000"});
    EXPECT_EQ(outcome.status, FAILED);
    EXPECT_NE(outcome.output.find("[!] 100000 x 100000 is too large"), std::string::npos) << outcome.output;

    for (const std::string side : {"-5", "1"}) {
        Program tiny(directory, {"-nf", "-m", "-w", side, "-h", side});
        EXPECT_TRUE(tiny.waitForLine("[*] Resolution set to " + side + "x" + side + ":32@75"));
        EXPECT_TRUE(tiny.waitForLine("[/] " + side + " x " + side + " is no size for a picture, taking 640 x 480"));
        EXPECT_TRUE(tiny.waitForLine("DEV: DEMO_LENGTH = 10399 SCENE_TIME[0] = 10.400000")) << tiny.output();
    }
}

// What xdotool says of the program's window once loading is over, "WIDTHxHEIGHT".
std::string windowSize(const std::vector<std::string>& options, const std::string& expectedLine) {
    const RunDirectory directory;
    Program program(directory, options);
    EXPECT_TRUE(program.waitForLine(expectedLine)) << program.output();
    EXPECT_TRUE(program.waitForLine("DEV: DEMO_LENGTH")) << program.output();
    const std::string geometry =
        shell("xdotool search --sync --onlyvisible --name '^ryl-framework$' getwindowgeometry");
    std::smatch size;
    return std::regex_search(geometry, size, std::regex("Geometry: (\\S+)")) ? size[1].str() : geometry;
}

TEST(Options, ChooseTheWindowsSize) {
    EXPECT_EQ(windowSize({"-nf", "-m"}, "[*] Resolution set to default becouse nothing else was given\n"), "640x480");
    EXPECT_EQ(windowSize({"-x", "-nf", "-m", "-w", "0", "-w", "320", "-w", "700", "-h", "200", "-s"},
                         "[*] Resolution set to 320x200:32@75\n"),
              "320x200");
    EXPECT_EQ(windowSize({"-nf", "-m", "-w", "800"}, "becouse nothing else was given\n"), "640x480");
}

TEST(Options, FullScreenWorksWithoutAGameMode) {
    startPrivateDisplay(800, 600);
    EXPECT_EQ(windowSize({"-m", "-w", "320", "-h", "200"}, "[/] no game mode 320x200:32@75 on this screen"),
              "800x600");
}

TEST(Options, CaptureWithoutASizeTakesTheDefault) {
    const RunDirectory directory;
    Program program(directory, {"-nf", "-c", "0", "-w", "320"});
    ASSERT_TRUE(program.waitForLine("[/] 320 x 0 is no size for a picture, taking 640 x 480"));
    ASSERT_TRUE(program.waitForLine("[CAPTURE] frame 1\n"));
    const Image image = readImage(directory.path() / numbered(1));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(gdImageSX(image), 640);
    EXPECT_EQ(gdImageSY(image), 480);
}

// ---- Assets -------------------------------------------------------------------------------------------------------

TEST(Assets, EachMissingOneEndsTheProgramWithItsName) {
    const struct {
        const char* file;
        const char* message;
        int status;
    } cases[] = {
        {"data/images/background.png", "[! data/images/background.png] file not found.\n", FAILED},
        {"data/images/focus_overlay2.png", "[! data/images/focus_overlay2.png] file not found.\n", FAILED},
        {"data/images/spheres.png", "[! data/images/spheres.png] file not found.\n", FAILED},
        {"data/images/banner.png", "[! data/images/banner.png] file not found.\n", FAILED},
        {"data/images/summer.png", "[! data/images/summer.png] file not found.\n", FAILED},
        {"data/cubeobj.obj", "GLM: Fatal Error: glmReadOBJ() failed: can't open data file \"data/cubeobj.obj\".\n",
         1},
        {"data/tune.mp3", "[!] FMOD error! (", FAILED},
    };
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    for (const auto& [file, message, status] : cases) {
        const RunDirectory directory;
        fs::remove(directory.path() / file);
        const Outcome outcome = runProgram(directory, {"-nf", "-w", "160", "-h", "120"});
        EXPECT_EQ(outcome.status, status) << file;
        EXPECT_NE(outcome.output.find(message), std::string::npos) << outcome.output;
    }
}

TEST(Assets, WithoutTheSoundLibraryNothingStarts) {
    const RunDirectory directory;
    fs::remove(directory.path() / "libs");
    const Outcome outcome = runProgram(directory, {"-nf", "-m"});
    EXPECT_EQ(outcome.status, 127);
    EXPECT_NE(outcome.output.find("libs/libfmodex.so"), std::string::npos) << outcome.output;
}

// ---- The timeline -------------------------------------------------------------------------------------------------

TEST(Timeline, EndsByItselfFiveSecondsIntoTheClosingScene) {
    const RunDirectory directory;
    const Outcome outcome = runProgram(directory, {"-nf", "-m", "-s", "6", "-w", "160", "-h", "90"}, 100);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "[*] systemcheck.\n"
                              "[*] system seems fine\n"
                              "[*] Resolution set to 160x90:32@75\n"
                              "DEV: DEMO_LENGTH = 10399 SCENE_TIME[0] = 10.400000\n"
                              "DEV: DEMO_LENGTH = 30798 SCENE_TIME[1] = 20.400000\n"
                              "DEV: DEMO_LENGTH = 61197 SCENE_TIME[2] = 30.400000\n"
                              "DEV: DEMO_LENGTH = 81596 SCENE_TIME[3] = 20.400000\n"
                              "DEV: DEMO_LENGTH = 106596 SCENE_TIME[4] = 25.000000\n"
                              "DEV: DEMO_LENGTH = 131995 SCENE_TIME[5] = 25.400000\n"
                              "DEV: DEMO_LENGTH = 145995 SCENE_TIME[6] = 14.000000\n"
                              "DEV: DEMO_LENGTH = 159995 SCENE_TIME[7] = 14.000000\n"
                              "DEV: DEMO_LENGTH = 173995 SCENE_TIME[8] = 14.000000\n"
                              "DEV: DEMO_LENGTH = 187995 SCENE_TIME[9] = 14.000000\n"
                              "## got queue 6\n"
                              "song start pos = 130000\n");
}

TEST(Timeline, StartScenesJumpByWholeSeconds) {
    const struct {
        const char* scene;
        const char* line;
    } cases[] = {{"1", "song start pos = 10000\n"},   {"2", "song start pos = 30000\n"},
                 {"3", "song start pos = 60000\n"},   {"4", "song start pos = 80000\n"},
                 {"5", "song start pos = 105000\n"},  {"7", "song start pos = 144000\n"},
                 {"8", "song start pos = 158000\n"},  {"9", "song start pos = 172000\n"},
                 {"10", "song start pos = 186000\n"}, {"2000000000", "song start pos = 186000\n"}};
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    for (const auto& [scene, line] : cases) {
        const RunDirectory directory;
        Program program(directory, {"-nf", "-s", scene, "-w", "80", "-h", "60"});
        EXPECT_TRUE(program.waitForLine("## got queue " + std::string(scene) + "\n" + line)) << program.output();
        pressKey("space");
        ASSERT_TRUE(program.waitForLine("PAUSED AT : ")) << program.output();
        // Paused within seconds of the jump: the soundtrack did go there.
        const int at = std::atoi(program.output().substr(program.output().rfind("AT : ") + 5).c_str());
        const int from = std::atoi(std::string(line).substr(17).c_str());
        EXPECT_GE(at, from);
        EXPECT_LT(at, from + 30000);
    }
}

// ---- Keys ---------------------------------------------------------------------------------------------------------

TEST(Keys, PauseSeekScreenshotAndQuit) {
    const RunDirectory directory;
    Program program(directory, {"-nf", "-m", "-w", "200", "-h", "120"});
    ASSERT_TRUE(program.waitForLine("SCENE_TIME[9]")) << program.output();
    pressKey("S");
    pressKey("space");
    ASSERT_TRUE(program.waitForLine("PAUSED AT : ")) << program.output();
    const int start = std::atoi(program.output().substr(program.output().rfind("PAUSED AT : ") + 12).c_str());
    // Had the clock gone on, the exact times would never come.
    const auto shows = [&](int time) { return program.waitForLine("PAUSED AT : " + std::to_string(time) + "ms\n"); };
    for (int i = 0; i < 3; ++i) pressKey("Right");
    EXPECT_TRUE(shows(start + 3000));
    pressKey("Left");
    EXPECT_TRUE(shows(start + 2000));
    for (int i = 0; i < 3; ++i) pressKey("Left");
    EXPECT_TRUE(shows(0));

    EXPECT_FALSE(fs::exists(directory.path() / "screenshot.png")) << "a capital S is no command";
    pressKey("s");
    pressKey("Right");
    EXPECT_TRUE(shows(1000));
    const Image image = readImage(directory.path() / "screenshot.png");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(gdImageSX(image.get()), 200);
    EXPECT_EQ(gdImageSY(image.get()), 120);
    pressKey("Escape");
    EXPECT_EQ(program.finish(), 0) << program.output();
}

// ---- Capture ------------------------------------------------------------------------------------------------------

bool isRed(gdImage* image, int x, int y) {
    const int pixel = gdImageGetPixel(image, x, y);
    return gdImageRed(image, pixel) == 255 && gdImageGreen(image, pixel) == 0 && gdImageBlue(image, pixel) == 0;
}

// Length of the red bar in the row just under the middle, and whether it starts at the left edge of the view.
int barLength(gdImage* image) {
    int length = 0;
    for (int x = 0; x < gdImageSX(image); ++x) length += isRed(image, x, gdImageSY(image) / 2 + 1) ? 1 : 0;
    return length;
}

TEST(Capture, ShowsTheLoadingBarGrowingToTheRight) {
    const RunDirectory directory;
    capture(directory, 20, {"-w", "640", "-h", "360"});
    int previous = 0;
    for (int frame = 1; frame <= 20; ++frame) {
        const Image image = readImage(directory.path() / numbered(frame));
        ASSERT_NE(image, nullptr) << frame;
        const int length = barLength(image.get());
        EXPECT_GT(length, previous) << frame;
        previous = length;
        EXPECT_TRUE(isRed(image.get(), 320 - 160, 181)) << "starts at the left, frame " << frame;
        EXPECT_FALSE(isRed(image.get(), 320 - 165, 181));
        EXPECT_FALSE(isRed(image.get(), 320 + 160, 181)) << "is not full, frame " << frame;
    }
}

TEST(Capture, ImagesFadeInUprightThenTheRibbonsZoomUp) {
    const RunDirectory directory;
    capture(directory, 245, {"-w", "160", "-h", "90"});
    const auto frame = [&](double seconds) {
        return readImage(directory.path() / numbered(static_cast<int>(std::lround(seconds * 40)) + 1));
    };
    const double early = brightness(frame(0.5).get());
    const double late = brightness(frame(4).get());
    EXPECT_GT(early, late + 5) << "images on the white ground";
    EXPECT_LT(brightness(frame(6).get()), late - 20) << "the ribbons cover the ground";

    // Frame files are upside down: the banner, above the middle on the screen, is below it in the file.
    const Image images = frame(4);
    const auto ink = [&](int y) {
        int count = 0;
        for (int x = 0; x < 160; ++x) {
            const int pixel = gdImageGetPixel(images.get(), x, y);
            count += gdImageRed(images.get(), pixel) + gdImageBlue(images.get(), pixel) < 500 ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(ink(2), 160) << "black band";
    EXPECT_EQ(ink(87), 160) << "black band";
}

TEST(Capture, TwoRunsGiveTheSameBytes) {
    constexpr int FRAMES = 60;
    const RunDirectory first, second;
    capture(first, FRAMES, {"-w", "160", "-h", "90", "-s", "2"});
    capture(second, FRAMES, {"-w", "160", "-h", "90", "-s", "2"});
    for (int frame = 1; frame <= FRAMES; ++frame) {
        const std::string bytes = readFile(first.path() / numbered(frame));
        ASSERT_FALSE(bytes.empty());
        EXPECT_EQ(bytes, readFile(second.path() / numbered(frame))) << "frame " << frame;
    }
}

}  // namespace
