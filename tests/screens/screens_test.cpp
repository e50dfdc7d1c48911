// The program on real screens: an X server with modes, window managers, a Wayland compositor. If one of them is not
// installed, its cases are skipped and say so.
#include "program.h"
#include "x_server.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int TERMINATED = 128 + SIGTERM;
constexpr auto PATIENCE = std::chrono::seconds(40);

// The first of the programs that is not installed; empty if all are.
std::string missing(const std::vector<std::string>& programs) {
    for (const std::string& program : programs)
        if (run("command -v " + program).status != 0) return program;
    return {};
}

bool comesTrue(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return true;
}

// Size and checksum of the picture that ffmpeg reads with these input options; empty if there is none.
std::string picture(const std::string& input) {
    return run("ffmpeg -v quiet " + input +
               " -frames:v 1 -pix_fmt rgb24 -f framemd5 - | "
               "awk '/dimensions/ { print $3 } /^0/ { print $NF }'")
        .output;
}

// The upper left part of the X server's screen.
std::string shown(const std::string& size) {
    return picture("-f x11grab -draw_mouse 0 -video_size " + size + " -i " + std::getenv("DISPLAY"));
}

std::string screenshot(const RunDirectory& directory) {
    pressKey("s");
    const std::string turned = " -vf vflip";  // screenshots stand upside down
    return picture("-i " + (directory.path() / "screenshot.png").string() + turned);
}

// The paused program's picture is all that `screen` gives, as soon as the motion blur rests.
void expectWhole(const RunDirectory& directory, const std::function<std::string()>& screen) {
    std::string wanted, seen;
    comesTrue([&] {
        wanted = screenshot(directory);
        seen = screen();
        return !wanted.empty() && wanted == seen;
    });
    EXPECT_NE(wanted, "");
    EXPECT_EQ(wanted, seen);
}

bool isPaused(Program& program) {
    pressKey("space");
    return program.waitForLine("PAUSED AT : ");
}

// ---- An X server with modes ---------------------------------------------------------------------------------------

// Such as "1600x1000"; the size that clients are told may be another.
std::string mode() { return run("xvidtune -show | awk -F'\"' '{ printf $2 }'").output; }

// Plays full screen in the mode `wanted` until `end` has ended the program with `status`.
void playInMode(const std::string& wanted, const std::string& options, int status,
                const std::function<void(Program&)>& end) {
    if (const std::string lacking = missing({"Xorg", "xvidtune"}); !lacking.empty())
        GTEST_SKIP() << "There is no " << lacking << " here.";
    const TempDir folder;
    if (!startPrivateServer({"Xorg", "-displayfd", "3", "-config", RYL_MODES, "-logfile", folder.path() / "log",
                             "-noreset", "-nolisten", "tcp"}))
        GTEST_SKIP() << "Xorg does not start here with the dummy driver:\n" << readFile(folder.path() / "log");
    ASSERT_EQ(mode(), "1600x1000");
    RunningProgram program("-m " + options, "song start pos");
    ASSERT_TRUE(isPaused(program)) << program.output();
    EXPECT_EQ(mode(), wanted);
    expectWhole(program, [&] { return shown(wanted); });
    pressKey("space");
    end(program);
    EXPECT_EQ(program.finish(), status) << program.output();
    EXPECT_EQ(mode(), "1600x1000");
}

TEST(GameMode, IsLeftByEscape) {
    // Goes to whatever has the keyboard.
    playInMode("1280x800", "-s 2", 0, [](Program&) { shell("xdotool key Escape"); });
}

TEST(GameMode, IsLeftAtTheEnd) {
    playInMode("1024x768", "-s 6 -w 1024 -h 768", 0, [](Program&) {});
}

TEST(GameMode, IsLeftAfterSignals) {
    playInMode("1280x800", "-s 2", TERMINATED, [](Program& program) {
        for (int i = 0; i < 50; ++i) {
            kill(program.id(), SIGTERM);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
}

// ---- Window managers ----------------------------------------------------------------------------------------------

struct WindowManager {
    std::string program;
    std::string start;          // shell commands: run in the home directory,
    std::string resize, close;  // change the size of the program's window, ask it to close,
    std::string leave, back;    // go to another workspace, and back
};

const WindowManager OPENBOX = {"openbox",
                               "openbox",
                               "xdotool search --name '^ryl-framework$' windowsize 500 300",
                               "xdotool key alt+F4",
                               "xdotool set_desktop 1",
                               "xdotool set_desktop 0"};
const WindowManager I3 = {"i3",
                          "echo 'font pango:monospace 8' >config && i3 -c config",
                          "i3-msg floating enable",
                          "i3-msg kill",
                          "i3-msg workspace 2",
                          "i3-msg workspace 1"};

constexpr char SCREEN[] = "1280x1024";

// The window manager ends with the display.
void under(const WindowManager& manager, void (*play)(const WindowManager&)) {
    if (!missing({manager.program}).empty()) GTEST_SKIP() << "There is no " << manager.program << " here.";
    const TempDir home;
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) setenv(name, home.path().c_str(), 1);
    shell("cd; (" + manager.start + ") >log 2>&1 &");
    ASSERT_TRUE(comesTrue([] { return run("xdotool get_desktop 2>&1").status == 0; }))
        << readFile(home.path() / "log");
    play(manager);
}

void fillsTheScreenAndCloses(const WindowManager& manager) {
    RunningProgram program("-m -s 2", "song start pos");
    ASSERT_TRUE(isPaused(program)) << program.output();
    expectWhole(program, [] { return shown(SCREEN); });
    shell(manager.close);
    EXPECT_EQ(program.finish(), 0) << program.output();
}

void playsOnResized(const WindowManager& manager) {
    RunningProgram program("-nf -m -s 5", "song start pos");
    const std::string before = windowPlace();
    shell(manager.resize);
    EXPECT_TRUE(comesTrue([&] { return windowPlace() != before; })) << before;
    const std::string place = windowPlace(), size = place.substr(place.find(' ') + 1);
    EXPECT_TRUE(comesTrue([&] { return screenshot(program).starts_with(size); })) << size;
    std::string nearlyToTheEnd;
    for (int second = 105; second < 135; ++second) nearlyToTheEnd += " Right";
    pressKey(nearlyToTheEnd);
    EXPECT_EQ(program.finish(), 0) << program.output();
}

int framesIn(const RunDirectory& directory) {
    return static_cast<int>(std::distance(fs::directory_iterator(directory.path() / "capture"), {}));
}

// Ends a capture. Returns a checksum of its frames 1 to `last`; empty if one is missing.
std::string endedWith(RunningProgram& program, int last) {
    EXPECT_EQ(program.endBy(SIGTERM), TERMINATED) << program.output();
    const std::string files = "$(seq -f %g.png " + std::to_string(last) + ")";
    return run("cd " + program.path().string() + "/capture && cat " + files + " >all && md5sum all").output;
}

void losesNoFrame(const WindowManager& manager) {
    const std::string options = "-nf -c 1 -w 160 -h 90";
    const auto frameLine = [](int frame) { return "[CAPTURE] frame " + std::to_string(frame) + "\n"; };
    int last = 20;
    RunningProgram hidden(options, frameLine(last));
    for (const bool visible : {false, true}) {
        shell(visible ? manager.back : manager.leave);
        ASSERT_TRUE(comesTrue([&] {
            return visible != shell("xdotool search --onlyvisible --name '^ryl-framework$'").empty();
        })) << visible;
        last = framesIn(hidden) + 50;
        ASSERT_TRUE(hidden.waitForLine(frameLine(last))) << hidden.output();
    }
    const std::string frames = endedWith(hidden, last);
    RunningProgram undisturbed(options, frameLine(last));
    EXPECT_NE(frames, "");
    EXPECT_EQ(frames, endedWith(undisturbed, last)) << last;
}

TEST(Openbox, IsCoveredAndClosesTheWindow) { under(OPENBOX, fillsTheScreenAndCloses); }
TEST(Openbox, ResizesTheWindow) { under(OPENBOX, playsOnResized); }
TEST(Openbox, ShowsAnotherWorkspaceDuringACapture) { under(OPENBOX, losesNoFrame); }
TEST(I3, IsCoveredAndClosesTheWindow) { under(I3, fillsTheScreenAndCloses); }
TEST(I3, ResizesTheWindow) { under(I3, playsOnResized); }
TEST(I3, ShowsAnotherWorkspaceDuringACapture) { under(I3, losesNoFrame); }

// ---- A Wayland compositor -----------------------------------------------------------------------------------------

// The screen lacks the default mode, because in a game mode XWayland 22 moves a pointer and crashes if there is none.
TEST(Weston, IsCoveredByTheWindow) {
    if (const std::string lacking = missing({"weston", "weston-screenshooter", "Xwayland"}); !lacking.empty())
        GTEST_SKIP() << "There is no " << lacking << " here.";
    const TempDir home;
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) setenv(name, home.path().c_str(), 1);
    setenv("WAYLAND_DISPLAY", "screen", 1);
    const std::string launched = home.write("launched", "#!/bin/sh\necho ${DISPLAY#:} >&3\n");
    fs::permissions(launched, fs::perms::owner_all);
    const std::string settings =
        home.write("settings", "[core]\nxwayland=true\n[autolaunch]\npath=" + launched + "\n");
    if (!startPrivateServer({"weston", "--backend=headless-backend.so", "--use-pixman", "--width=1024",
                             "--height=640", "--idle-time=0", "--debug", "--socket=screen", "--config=" + settings,
                             "--log=" + (home.path() / "log").string()}))
        GTEST_SKIP() << "weston does not start here:\n" << readFile(home.path() / "log");
    RunningProgram program("-m -s 2", "song start pos");
    ASSERT_TRUE(isPaused(program)) << program.output();
    EXPECT_TRUE(windowPlace().ends_with(" 1024x640")) << windowPlace();
    // Version 14 shifts a window that goes full screen by the margin that its frame had.
    if (!run("weston --version").output.starts_with("weston 14"))
        expectWhole(program, [] {
            run("cd && rm -f wayland-screenshot* && weston-screenshooter");
            return picture("-i ~/wayland-screenshot*");
        });
    pressKey("Escape");
    EXPECT_EQ(program.finish(), 0) << program.output();
}

}  // namespace
