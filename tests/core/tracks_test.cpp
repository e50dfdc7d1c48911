// Tracks: their values between the rows of a file, and what is wrong with one.
#include "tracks.h"

#include "child.h"
#include "printed.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

TEST(Tracks, GoFromRowToRowByTheirCurves) {
    const TempDir dir;
    ryl_loadTracks(dir.write("show.tracks", R"(# seconds
track camera.x   # a word
0   10
1   20  linear
3   40  smooth
 5  80  ramp   # slow at first
9 160
track empty
tempo 120
track light
2 1 linear
4 -3e0
)")
                       .c_str());
    const struct {
        const char* name;
        double t;
        float value;
    } cases[] = {
        {"camera.x", -1, 10},     {"camera.x", 0, 10},
        {"camera.x", 0.999, 10},  {"camera.x", 1, 20},
        {"camera.x", 2.5, 35},    {"camera.x", 3, 40},
        {"camera.x", 3.5, 46.25}, {"camera.x", 4, 60},
        {"camera.x", 5, 80},      {"camera.x", 6, 85},
        {"camera.x", 9, 160},     {"camera.x", 1e9, 160},
        {"camera.x", 2, 30},      {"camera.x", 8.999, 159.96001f},
        {"camera.x", -1, 10},     {"light", 0.5, 1},
        {"light", 1.5, -1},       {"light", 2, -3},
        {"empty", 1, 0},
    };
    for (const auto& [name, t, value] : cases) EXPECT_EQ(ryl_track(name, t), value) << name << " at " << t;
    EXPECT_FALSE(std::isnan(ryl_track("light", std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(printedBy([] {
                  for (const double t : {1.0, 2.0}) EXPECT_EQ(ryl_track("nowhere", t), 0);
              }),
              "[/] there is no track \"nowhere\"\n");
    ryl_loadTracks(dir.write("more.tracks", "track light\n0 7\n").c_str());
    EXPECT_EQ(ryl_track("light", 1.5), 7);
    EXPECT_EQ(ryl_track("camera.x", 1), 20);
}

TEST(Tracks, ThatAreWrongEndTheProgramWithTheLine) {
    const TempDir dir;
    const struct {
        std::string text, message;
    } cases[] = {
        {"track a\n\n0 1 slow\n", "line 3: \"slow\" is none of step, linear, smooth, ramp"},
        {"track a\n2 1\n2 3\n", "line 3: the time 2 is not after the one before"},
        {"track a\n0\n", "line 2: a row is a time, a value and perhaps a curve"},
        {"track a\n0 1 step 3\n", "line 2: a row is a time, a value and perhaps a curve"},
        {"track a\n0 1.5x\n", "line 2: \"1.5x\" is no value"},
        {"track a\n0 1e39\n", "line 2: \"1e39\" is no value"},
        {"track a\ninf 1\n", "line 2: \"inf\" is no time and no statement"},
        {"tempo 1e-300\ntrack a\n1e300 0", "line 3: \"1e300\" is no time and no statement"},
        {"0 1\ntrack a\n", "line 1: this row is in no track"},
        {"track a\ntrack b\ntrack a\n", "line 3: the track \"a\" is already there"},
        {"track a b\n", "line 1: \"track\" takes a name of one word"},
        {"tempo 0\n", "line 1: \"tempo\" takes the number of beats a minute"},
        {"# nothing\n", "there is no track in it"},
    };
    for (const auto& [text, message] : cases) {
        const std::string path = dir.write("a.tracks", text);
        const ChildResult result = runInChild([&] { ryl_loadTracks(path.c_str()); });
        EXPECT_EQ(result.status, 255);
        EXPECT_EQ(result.output, "[! " + path + "] " + message + "\n");
    }
    EXPECT_EQ(runInChild([&] { ryl_loadTracks("nowhere"); }).output, "[! nowhere] file not found.\n");
}

}  // namespace
