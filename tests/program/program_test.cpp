// The program as its users meet it: options, lines, keys, files, exit status.
#include "program.h"
#include "x_server.h"

#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr int FAILED = 255, NO_LIBRARY = 127, TERMINATED = 128 + SIGTERM;

// "WIDTHxHEIGHT" of a PNG file.
std::string imageSize(const fs::path& path) {
    gdImage* image = gdImageCreateFromFile(path.c_str());
    if (image == nullptr) return "no image";
    const std::string size = std::to_string(gdImageSX(image)) + "x" + std::to_string(gdImageSY(image));
    gdImageDestroy(image);
    return size;
}

TEST(Start, ThatFailsGivesAStatusAndAReason) {
    const std::string PICTURE = "data/images/summer.png", NO_PICTURE = "[! data/images/summer.png] file not found.\n";
    const struct {
        std::string missing, options;  // missing from the run directory
        int status;
        std::string message;
    } cases[] = {
        {"", "-nf -c", FAILED, "[*] systemcheck.\n[*] system seems fine\n[!] -c <compressionlevel 0-9>\n"},
        {"", "-nf -c 0 --from-frame 0", FAILED,
         "[*] systemcheck.\n[*] system seems fine\n[!] --from-frame <number from 1>\n"},
        {PICTURE, "-x -nf -w 0 -w 32 -w 7 -h 20 -s", FAILED, "[*] Resolution set to 32x20:32@75\n" + NO_PICTURE},
        {PICTURE, "-nf -c 0 -w 320", FAILED,
         "[/] 320 x 0 is no size for captured frames, taking 640 x 480\n" + NO_PICTURE},
        {PICTURE, "-nf", FAILED, "[*] Resolution set to default becouse nothing else was given\n" + NO_PICTURE},
        {PICTURE, "-w 9 -h 9", FAILED,
         "[/] no game mode 9x9:32@75 on this screen, taking a full-screen window\n" + NO_PICTURE},
        {"data/cubeobj.obj", "-nf", 1,
         "GLM: Fatal Error: glmReadOBJ() failed: can't open data file \"data/cubeobj.obj\".\n"},
        {"data/tune.mp3", "-nf -w 160 -h 90", FAILED,
         "[! data/tune.mp3] the soundtrack does not open.\n[!] FMOD error! ("},
        {"libs", "", NO_LIBRARY, "libs/libfmodex.so"},
    };
    setenv("RYL_SOUND", "none", 1);
    for (const auto& [missing, options, status, message] : cases) {
        const RunDirectory directory;
        if (!missing.empty()) fs::remove(directory.path() / missing);
        const Ran ran = runProgram(directory, options);
        EXPECT_EQ(ran.status, status) << message;
        EXPECT_NE(ran.output.find(message), std::string::npos) << ran.output;
    }
}

TEST(Start, FailsWhereTheGlLacksWhatIsNeeded) {
    for (const auto& [name, value] : {std::pair{"__GLX_VENDOR_LIBRARY_NAME", "mesa"},
                                      {"LIBGL_ALWAYS_SOFTWARE", "1"},
                                      {"MESA_EXTENSION_OVERRIDE", "-GL_ARB_framebuffer_object"},
                                      {"MESA_GL_VERSION_OVERRIDE", "2.1"}})
        setenv(name, value, 1);
    const Ran ran = runProgram(RunDirectory(), "-nf -m");
    EXPECT_EQ(ran.status, FAILED);
    const std::string reason = "[!] This GL has no framebuffer objects of OpenGL 3.0 (GL_ARB_framebuffer_object).\n";
    EXPECT_TRUE(ran.output.ends_with(reason)) << ran.output;
}

// The options that the manual page explains, such as "-nf".
std::set<std::string> optionsOfManual() {
    std::string page = readFile(RYL_MANUAL);
    page = page.substr(page.find(".SH OPTIONS"), page.find(".SH KEYS") - page.find(".SH OPTIONS"));
    std::set<std::string> options;
    const std::regex escaped(R"((\\-)+[a-z]+(\\-[a-z]+)*)");
    for (std::sregex_iterator found(page.begin(), page.end(), escaped), end; found != end; ++found)
        options.insert(std::regex_replace(found->str(), std::regex(R"(\\-)"), "-"));
    return options;
}

TEST(HelpAndVersion, ArePrintedAndNothingElseHappens) {
    const Ran help = runProgram(RunDirectory(), "-nf -c --help"), version = runProgram(RunDirectory(), "--version");
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.output.starts_with("Usage: ryl ")) << help.output;
    const std::set<std::string> options = optionsOfManual();
    EXPECT_GE(options.size(), 8U);
    for (const std::string& option : options) EXPECT_NE(help.output.find(" " + option), std::string::npos) << option;
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "ryl " RYL_EXPECTED_VERSION "\n");
}

// Every scene's length is rounded down to whole milliseconds when it is added, and the closing scene ends the
// program.
TEST(Timeline, IsRegisteredAndEndsByItself) {
    const Ran ran = runProgram(RunDirectory(), "-nf -m -s 6 -w 160 -h 90");
    EXPECT_EQ(ran.status, 0);
    std::istringstream lines(ran.output);
    std::string line, expected;
    double start = 0;
    int end = 0, scenes = 0, scene = 0;
    float length = 0;
    for (int i = 0; i < 3; ++i) std::getline(lines, line);
    EXPECT_EQ(line, "[*] Resolution set to 160x90:32@75");
    while (std::getline(lines, line) &&
           std::sscanf(line.c_str(), "DEV: DEMO_LENGTH = %*d SCENE_TIME[%d] = %f", &scene, &length) == 2) {
        end = static_cast<int>(end + static_cast<double>(length) * 1000.0);
        expected = "DEV: DEMO_LENGTH = " + std::to_string(end) + " SCENE_TIME[" + std::to_string(scenes) + "] = ";
        EXPECT_TRUE(line.starts_with(expected)) << line;
        start += scenes++ < 6 ? std::floor(length) : 0;
    }
    EXPECT_GE(scenes, 10);
    EXPECT_EQ(line, "## got queue 6");
    std::getline(lines, line);
    EXPECT_EQ(line, "song start pos = " + std::to_string(std::lround(start)) + "000");
    EXPECT_FALSE(std::getline(lines, line)) << line;
}

TEST(Output, MayBeClosedBeforeOrLater) {
    const RunDirectory directory;
    const std::string start = "cd " + directory.path().string() +
                              " && ASAN_OPTIONS=detect_leaks=0 timeout 60 ./ryl -nf -m -s 6 -w 80 -h 60";
    EXPECT_EQ(shell(start + " <&- >&- 2>&-; echo $?"), "0\n");
    EXPECT_EQ(shell("(" + start + "; echo $? >status) | head -1"), "[*] systemcheck.\n");
    EXPECT_EQ(readFile(directory.path() / "status"), "0\n");
}

TEST(Keys, PauseSeekScreenshotAndQuit) {
    setenv("RYL_SOUND", "none", 1);
    RunningProgram program("-nf -s 5 -w 200 -h 120", "song start pos = 105000\n");
    pressKey("space");
    ASSERT_TRUE(program.waitForLine("PAUSED AT : ")) << program.output();
    const int start = std::atoi(program.output().substr(program.output().rfind("AT : ") + 5).c_str());
    EXPECT_GE(start, 105000);
    EXPECT_LT(start, 131000);
    // Had the clock gone on, the exact times would never come.
    const auto shows = [&](int time) { return program.waitForLine("PAUSED AT : " + std::to_string(time) + "ms\n"); };
    pressKey("Left");
    EXPECT_TRUE(shows(start - 1000));
    pressKey("S");
    pressKey("Right");
    EXPECT_TRUE(shows(start));
    EXPECT_FALSE(fs::exists(program.path() / "screenshot.png")) << "a capital S is no command";
    pressKey("s");
    pressKey("Escape");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_EQ(imageSize(program.path() / "screenshot.png"), "200x120");
}

TEST(Keys, OfLiveGoBySceneAndByFrameAndLoop) {
    setenv("RYL_SOUND", "none", 1);
    RunningProgram program("--live -nf -w 200 -h 120", "SCENE_TIME[9]");
    pressKey("space");
    ASSERT_TRUE(program.waitForLine("PAUSED AT : ")) << program.output();
    const struct {
        const char* key;
        int time;
    } presses[] = {{"Next", 10401}, {"period", 10426}, {"Prior", 0}, {"Next", 10401}, {"comma", 10376}};
    for (const auto& [key, time] : presses) {
        pressKey(key);
        EXPECT_TRUE(program.waitForLine("PAUSED AT : " + std::to_string(time) + "ms\n")) << key << program.output();
    }
    pressKey("l");
    EXPECT_TRUE(program.waitForLine("[*] looping scene 0\n")) << program.output();
    pressKey("space");  // 25 ms before the end of the scene
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    pressKey("space");
    int time = 10376;
    while (time == 10376) {
        ASSERT_TRUE(program.waitForLine("PAUSED AT : ")) << program.output();
        time = std::atoi(program.output().substr(program.output().rfind("AT : ") + 5).c_str());
    }
    EXPECT_LT(time, 10376);
    pressKey("Escape");
    EXPECT_EQ(program.finish(), 0) << program.output();
}

TEST(FullScreen, CoversTheScreenWithoutAWindowManager) {
    startPrivateDisplay(800, 500);
    RunningProgram program("-m -s 2", "song start pos");
    const std::string place = shell("xdotool search --sync --name '^ryl-framework$' getwindowgeometry");
    EXPECT_TRUE(place.ends_with("Position: 0,0 (screen: 0)\n  Geometry: 800x500\n")) << place;
    pressKey("s");
    pressKey("Escape");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_EQ(imageSize(program.path() / "screenshot.png"), "800x500");
}

TEST(Signals, OfAClosedTerminalEndTheProgramThoughTheDisplayHangs) {
    RunningProgram program("-nf -m -w 160 -h 90", "DEV: ");
    signalPrivateDisplay(SIGSTOP);
    EXPECT_EQ(program.endBy(SIGHUP), 128 + SIGHUP);
    EXPECT_TRUE(program.output().ends_with("[*] Ended by signal 1.\n")) << program.output();
    signalPrivateDisplay(SIGCONT);
}

std::string frameLine(int frame) { return "[CAPTURE] frame " + std::to_string(frame) + "\n"; }

TEST(Signals, ThatWereIgnoredStayIgnored) {
    for (const int ignored : {SIGHUP, SIGINT}) signal(ignored, SIG_IGN);
    RunningProgram program("-nf -c 1 -w 160 -h 90", frameLine(2));
    for (const int ignored : {SIGHUP, SIGINT}) kill(program.id(), ignored);
    EXPECT_TRUE(program.waitForLine(frameLine(50))) << program.output();
}

TEST(Capture, GoesOnWhileTheWindowIsHiddenOrResized) {
    RunningProgram program("-nf -c 1 -w 160 -h 90", frameLine(2));
    const std::string window = "xdotool search --name '^ryl-framework$' ";
    shell(window + "windowunmap --sync");
    shell(window + "windowsize 90 160");
    EXPECT_TRUE(program.waitForLine(frameLine(400))) << program.output();
    shell(window + "windowmap");
    EXPECT_EQ(program.endBy(SIGTERM), TERMINATED);
    EXPECT_EQ(imageSize(program.path() / "capture/399.png"), "160x90");
}

// These frames show the walls, which begin at 30.8 s, so the two scenes before them are not drawn.
TEST(Capture, FromAFrameOnGivesTheBytesOfAWholeRun) {
    constexpr int FIRST = 1290, LAST = 1295;
    const std::string options = "-nf -c 1 -w 64 -h 36";
    RunningProgram whole(options, frameLine(LAST));
    EXPECT_EQ(whole.endBy(SIGTERM), TERMINATED);
    RunningProgram part(options + " --from-frame 1290", frameLine(LAST));
    EXPECT_EQ(part.endBy(SIGTERM), TERMINATED);
    EXPECT_FALSE(fs::exists(part.path() / "capture/1289.png"));
    for (int frame = FIRST; frame <= LAST; ++frame) {
        const std::string file = "capture/" + std::to_string(frame) + ".png";
        EXPECT_EQ(imageSize(part.path() / file), "64x36");
        EXPECT_TRUE(readFile(whole.path() / file) == readFile(part.path() / file)) << file;
    }
}

}  // namespace
