// The program as its users meet it: options, lines, keys, files, exit status.
#include "program.h"

#include "x_server.h"

#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

constexpr int FAILED = 255, NO_LIBRARY = 127, TERMINATED = 128 + SIGTERM;

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// "WIDTHxHEIGHT" of a PNG file.
std::string imageSize(const fs::path& path) {
    std::string bytes = readFile(path);
    gdImage* image = gdImageCreateFromPngPtr(static_cast<int>(bytes.size()), bytes.data());
    if (image == nullptr) return "no image";
    const std::string size = std::to_string(gdImageSX(image)) + "x" + std::to_string(gdImageSY(image));
    gdImageDestroy(image);
    return size;
}

// Captures `frames` frames into the directory, then terminates the program. Returns all it printed.
std::string capture(const RunDirectory& directory, int frames, std::vector<std::string> options) {
    options.insert(options.begin(), {"-nf", "-c", "1"});
    Program program(directory, options);
    EXPECT_TRUE(program.waitForLine("[CAPTURE] frame " + std::to_string(frames) + "\n", 100)) << program.output();
    kill(program.id(), SIGTERM);
    EXPECT_EQ(program.finish(), TERMINATED);
    EXPECT_TRUE(program.output().ends_with("[*] Ended by signal 15.\n")) << program.output();
    return program.output();
}

TEST(Ends, HaveAStatusAndAReason) {
    const std::vector<std::string> plain = {"-nf", "-w", "160", "-h", "120"};
    const struct {
        std::string missing;  // from the run directory
        std::vector<std::string> options;
        int status;
        std::string message;
    } cases[] = {
        {"", {"-nf", "-c"}, FAILED, "[*] system seems fine\n[!] -c <compressionlevel 0-9>\n"},
        {"",
         {"-w", "99999", "-h", "9"},
         FAILED,
         "[!] 99999 x 9 is too large, a picture has at most 16384 x 16384 pixels\n"},
        {"data/images/summer.png", plain, FAILED, "[! data/images/summer.png] file not found.\n"},
        {"data/cubeobj.obj", plain, 1,
         "GLM: Fatal Error: glmReadOBJ() failed: can't open data file \"data/cubeobj.obj\".\n"},
        {"data/tune.mp3", plain, FAILED, "[!] FMOD error! ("},
        {"libs", plain, NO_LIBRARY, "libs/libfmodex.so"},
    };
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    for (const auto& [missing, options, status, message] : cases) {
        const RunDirectory directory;
        if (!missing.empty()) fs::remove(directory.path() / missing);
        const Outcome outcome = runProgram(directory, options);
        EXPECT_EQ(outcome.status, status) << message;
        EXPECT_NE(outcome.output.find(message), std::string::npos) << outcome.output;
    }
}

TEST(Options, ChooseTheWindow) {
    const struct {
        std::vector<std::string> options, lines;
        std::string size;
    } cases[] = {
        {{"-m", "-w", "800"},
         {"[*] Resolution set to default becouse nothing else was given\n",
          "[/] no game mode 1280x800:32@75 on this screen, taking a full-screen window\n"},
         "800x600"},
        {{"-x", "-nf", "-m", "-w", "0", "-w", "320", "-w", "700", "-h", "200", "-s"},
         {"[*] Resolution set to 320x200:32@75\n"},
         "320x200"},
        {{"-nf", "-m", "-w", "-5", "-h", "1"},
         {"[/] -5 x 1 is no size for a picture, taking 640 x 480\n"},
         "640x480"},
    };
    startPrivateDisplay(800, 600);
    const RunDirectory directory;
    for (const auto& [options, lines, size] : cases) {
        Program program(directory, options);
        for (const std::string& line : lines) EXPECT_TRUE(program.waitForLine(line)) << program.output();
        EXPECT_TRUE(program.waitForLine("DEV: DEMO_LENGTH")) << program.output();
        const std::string window =
            shell("xdotool search --sync --onlyvisible --name '^ryl-framework$' getwindowgeometry");
        EXPECT_NE(window.find("Geometry: " + size), std::string::npos) << window;
    }
}

TEST(Timeline, EndsByItselfFiveSecondsIntoTheClosingScene) {
    std::string expected = "[*] systemcheck.\n[*] system seems fine\n[*] Resolution set to 160x90:32@75\n";
    int scene = 0;
    for (const auto& [length, seconds] : {std::pair{10399, "10.4"},
                                          {30798, "20.4"},
                                          {61197, "30.4"},
                                          {81596, "20.4"},
                                          {106596, "25.0"},
                                          {131995, "25.4"},
                                          {145995, "14.0"},
                                          {159995, "14.0"},
                                          {173995, "14.0"},
                                          {187995, "14.0"}})
        expected += "DEV: DEMO_LENGTH = " + std::to_string(length) + " SCENE_TIME[" + std::to_string(scene++) +
                    "] = " + seconds + "00000\n";
    const RunDirectory directory;
    const Outcome outcome = runProgram(directory, {"-nf", "-m", "-s", "6", "-w", "160", "-h", "90"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, expected + "## got queue 6\nsong start pos = 130000\n");
}

TEST(Keys, PauseSeekScreenshotAndQuit) {
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    const RunDirectory directory;
    Program program(directory, {"-nf", "-s", "5", "-w", "200", "-h", "120"});
    ASSERT_TRUE(program.waitForLine("song start pos = 105000\n")) << program.output();
    pressKey("space");
    ASSERT_TRUE(program.waitForLine("PAUSED AT : ")) << program.output();
    const int start = std::atoi(program.output().substr(program.output().rfind("AT : ") + 5).c_str());
    EXPECT_TRUE(start >= 105000 && start < 131000) << start;
    // Had the clock gone on, the exact times would never come.
    const auto shows = [&](int time) { return program.waitForLine("PAUSED AT : " + std::to_string(time) + "ms\n"); };
    pressKey("Left");
    EXPECT_TRUE(shows(start - 1000));
    pressKey("S");
    pressKey("Right");
    EXPECT_TRUE(shows(start));
    EXPECT_FALSE(fs::exists(directory.path() / "screenshot.png")) << "a capital S is no command";
    pressKey("s");
    pressKey("Escape");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_EQ(imageSize(directory.path() / "screenshot.png"), "200x120");
}

TEST(Capture, TwoRunsGiveTheSameBytesAndASizeThatNoPictureHasTheDefault) {
    constexpr int FRAMES = 30;
    const RunDirectory first, second, third;
    for (const RunDirectory* directory : {&first, &second})
        capture(*directory, FRAMES, {"-w", "160", "-h", "90", "-s", "2"});
    for (int frame = 1; frame <= FRAMES; ++frame) {
        const std::string file = "capture/" + std::to_string(frame) + ".png", bytes = readFile(first.path() / file);
        EXPECT_EQ(imageSize(first.path() / file), "160x90");
        EXPECT_TRUE(bytes == readFile(second.path() / file)) << file;
    }
    EXPECT_NE(capture(third, 1, {"-w", "320"}).find("[/] 320 x 0 is no size for a picture, taking 640 x 480\n"),
              std::string::npos);
    EXPECT_EQ(imageSize(third.path() / "capture/1.png"), "640x480");
}

}  // namespace
