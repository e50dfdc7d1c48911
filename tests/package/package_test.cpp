// The demo unpacked or installed in one place and started from another.
#include "program.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr int REFUSED = 1, TERMINATED = 128 + SIGTERM;

std::string inQuotes(const fs::path& path) { return '\'' + path.string() + '\''; }

// Installs the component in one place, and plays it from another by its launcher.
void playInstalled(const std::string& component, const char* launcherName) {
    const TempDir made;
    const fs::path place = made.path() / "a place";
    shell("'" RYL_CMAKE "' --install '" RYL_BUILD "' --component " + component + " --prefix " + inQuotes(place) +
          " >" + inQuotes(made.path() / "log"));
    const std::string launcher = place / launcherName;
    // Nothing that the program loads is in the directory where it starts.
    const RunDirectory start;
    for (const char* name : {"ryl", "libs", "data", "tools", "capture"}) fs::remove_all(start.path() / name);
    fs::create_symlink(launcher, start.path() / "ryl");

    setenv("RYL_SOUND", "none", 1);
    Program shown(start, "-nf -s 5 -w 200 -h 120");
    ASSERT_TRUE(shown.waitForLine("song start pos = ")) << shown.output();
    pressKey("s");
    pressKey("Escape");
    EXPECT_EQ(shown.finish(), 0) << shown.output();
    EXPECT_GT(fs::file_size(start.path() / "screenshot.png"), 0u);
    EXPECT_FALSE(fs::exists(start.path() / "capture"));

    const std::string capture = "-nf -c 1 -w 160 -h 90";
    Program captured(start, capture);
    ASSERT_TRUE(captured.waitForLine("[CAPTURE] frame 2\n")) << captured.output();
    const Ran second = runProgram(start, capture);
    EXPECT_EQ(second.status, REFUSED);
    EXPECT_TRUE(second.output.starts_with("[!] another run is capturing to ")) << second.output;
    EXPECT_EQ(captured.endBy(SIGTERM), TERMINATED);
    EXPECT_GT(fs::file_size(start.path() / "capture/2.png"), 0u);

    EXPECT_TRUE(shell(inQuotes(launcher) + " --help").starts_with("Usage: ryl "));
    for (const std::string& display : {"", ":4711"})
        EXPECT_EQ(shell("DISPLAY=" + display + " WAYLAND_DISPLAY= " + inQuotes(launcher) + " -m 2>&1 || true"),
                  "[!] the demo needs this, and it is not here:\n  an X display, not \"" + display +
                      "\": start it in a desktop's terminal, or with DISPLAY=:0\n");
    for (const char* file : {"*/tools/OFL.txt", "*/ryl.nfo"})
        EXPECT_NE(shell("find " + inQuotes(place) + " -path '" + file + "'"), "") << file;
}

// On a Wayland desktop without XWayland, in the words of each family of systems, and in a window for a double click.
TEST(Installed, SaysWhatTheMachineLacks) {
    const TempDir made;
    shell("'" RYL_CMAKE "' --install '" RYL_BUILD "' --component archive --prefix " + inQuotes(made.path() / "demo") +
          " >" + inQuotes(made.path() / "log"));
    const fs::path tools = made.path() / "tools", window = made.path() / "window";
    fs::create_directory(tools);
    const std::string needed = "awk dirname grep id readlink realpath sed sh sort tail uname";
    shell("for tool in " + needed + "; do ln -s \"$(command -v $tool)\" " + inQuotes(tools) + "; done");
    const std::string start = "PATH=" + inQuotes(tools) + " DISPLAY= WAYLAND_DISPLAY=wayland-0 " +
                              inQuotes(made.path() / "demo/play") + " -m",
                      lacks = "the demo needs this, and it is not here:\n  an X display: this Wayland session has no "
                              "XWayland\nTo install it:\n";
    std::string all;
    for (const auto& [manager, command] : {std::pair{"apt", "  sudo apt install xwayland\n"},
                                           std::pair{"dnf", "  sudo dnf install xorg-x11-server-Xwayland\n"},
                                           std::pair{"pacman", "  sudo pacman -S xorg-xwayland\n"},
                                           std::pair{"zypper", "  sudo zypper install xwayland\n"}}) {
        fs::create_symlink("/bin/true", tools / manager);
        EXPECT_EQ(shell(start + " 2>&1 || true"), "[!] " + lacks + command);
        fs::remove(tools / manager);
        all += command;
    }
    EXPECT_EQ(shell(start + " 2>&1 || true"), "[!] " + lacks + all);

    // The launcher changes its directory.
    const std::string write = R"(for last; do :; done; echo "$last" >"$WINDOW.part"; mv "$WINDOW.part" "$WINDOW")";
    shell("cd " + inQuotes(tools) + "; ln -s /bin/mv; echo '" + write + "' >zenity; chmod +x zenity");
    EXPECT_EQ(shell("export WINDOW=" + inQuotes(window) + "; " + start + " </dev/null 2>" + window.string() +
                    "-session.log || " +
                    "for try in $(seq 600); do [ ! -e $WINDOW ] || break; sleep 0.1; done; cat $WINDOW"),
              "--text=" + lacks + all);
}

TEST(Installed, PlaysWhereverItIsAndSavesWhereItIsStarted) {
    playInstalled("archive", "play");
    playInstalled("system", "games/ryl");
}

}  // namespace
