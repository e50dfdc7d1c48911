// A demo of one's own, as ./new-demo makes it: with the installed framework it is built, filmed and looked at.
#include "command.h"
#include "temp_dir.h"

#include <gd.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int WIDTH = 160, HEIGHT = 90;

// Red, green and blue of a picture's parts, 0 to 255: mean of the columns and rows from and to, in percent.
struct Colour {
    int red = 0, green = 0, blue = 0;
};

Colour meanOf(const std::string& file, int left, int top, int right, int bottom) {
    gdImage* image = gdImageCreateFromFile(file.c_str());
    if (image == nullptr) return {-1, -1, -1};
    Colour sum;
    int count = 0;
    for (int y = top * HEIGHT / 100; y < bottom * HEIGHT / 100; ++y)
        for (int x = left * WIDTH / 100; x < right * WIDTH / 100; ++x, ++count) {
            const int pixel = gdImageGetTrueColorPixel(image, x, y);
            sum.red += gdTrueColorGetRed(pixel);
            sum.green += gdTrueColorGetGreen(pixel);
            sum.blue += gdTrueColorGetBlue(pixel);
        }
    gdImageDestroy(image);
    return {sum.red / count, sum.green / count, sum.blue / count};
}

std::ptrdiff_t filesIn(const fs::path& folder) {
    return std::count_if(fs::recursive_directory_iterator(folder), {},
                         [](const auto& entry) { return entry.is_regular_file(); });
}

// The scenes last ten seconds each, at 40 frames a second.
void expectScenes(const std::string& video, const fs::path& program, const fs::path& folder) {
    const auto picture = [&](int frame) {
        const std::string file = folder / (std::to_string(frame) + ".png");
        const Ran ran = run(video + " --program '" + program.string() + "' --size 160x90 --poster " +
                            std::to_string(frame) + " '" + file + "' 2>&1");
        EXPECT_EQ(ran.status, 0) << ran.output;
        return file;
    };
    const std::string field = picture(200), model = picture(600), shader = picture(1000);
    const Colour cubes = meanOf(field, 20, 60, 80, 95), text = meanOf(field, 10, 18, 90, 34);
    EXPECT_GT(cubes.red + cubes.blue, 2 * cubes.green) << "hills from red to blue";
    EXPECT_GT(text.red, 10) << "the text lies above them";
    const Colour ring = meanOf(model, 20, 10, 80, 90), middle = meanOf(model, 45, 45, 55, 55);
    EXPECT_GT(ring.green, 2 * ring.red) << "green models";
    EXPECT_GT(ring.green, 10);
    EXPECT_LT(middle.green, 5) << "in a ring";
    const Colour lights = meanOf(shader, 0, 0, 100, 100);
    EXPECT_GT(std::min({lights.red, lights.green, lights.blue}), 15) << "lights of all colours";
}

TEST(NewDemo, IsBuiltWithTheInstalledFrameworkAndShowsItsScenes) {
    const TempDir work;
    const std::string prefix = work.path() / "in stalled", place = work.path() / "a place/first";
    fs::create_directory(work.path() / "a place");
    const std::string quiet = " >>'" + (work.path() / "log").string() + "' 2>&1";
    EXPECT_EQ(
        run(RYL_CMAKE " --install '" RYL_BUILD "' --component framework --prefix '" + prefix + "'" + quiet).status,
        0);
    const std::string bin = "'" + prefix + "'/bin/";
    ASSERT_EQ(run(bin + "ryl-new-demo '" + place + "'" + quiet).status, 0) << readFile(work.path() / "log");
    EXPECT_EQ(filesIn(place), 6);
    EXPECT_EQ(run("test -e \"$(sed -n 's/^More: //p' '" + place + "/README.md')\"").status, 0) << "its page";
    EXPECT_EQ(run("cd '" + place +
                  "' && env -u CMAKE_GENERATOR " RYL_CMAKE " -B build && " RYL_CMAKE " --build build --parallel 2" +
                  quiet)
                  .status,
              0);
    const fs::path program = fs::path(place) / "build/first/first";
    ASSERT_TRUE(fs::exists(program)) << readFile(work.path() / "log");
    expectScenes(bin + "ryl-video", program, work.path());
    // It plays its tune, without a device, to the end that -s brings near.
    const Ran played = run("cd '" + program.parent_path().string() +
                           "' && RYL_SOUND=none timeout 60 xvfb-run -a ./first -nf -w 64 -h 36 -s 3");
    EXPECT_EQ(played.status, 0) << played.output;
    EXPECT_NE(played.output.find("[*] shaderfile data/glow.frag loaded"), std::string::npos) << played.output;

    const Ran flags = run("PKG_CONFIG_PATH='" + prefix + "/lib/pkgconfig' pkg-config --libs ryl");
    EXPECT_NE(flags.output.find("-lryl_core"), std::string::npos);
}

TEST(NewDemo, FindsTheSourceTreeToo) {
    const TempDir work;
    const std::string place = work.path() / "second";
    ASSERT_EQ(run(RYL_NEW_DEMO " " + place + " other-name 2>&1").status, 0);
    const Ran configured = run("cd " + place + " && " RYL_CMAKE " -B build 2>&1");
    EXPECT_EQ(configured.status, 0) << configured.output;
    EXPECT_TRUE(fs::exists(place + "/build/other-name/data/glow.frag"));
}

TEST(NewDemo, SaysWhatIsWrongAndLeavesNothingHalfMade) {
    const TempDir work;
    const std::string here = work.path().string(), there = "there is a " + here + "/file already\n";
    work.write("file", "");
    fs::create_directory(work.path() / "closed");
    fs::permissions(work.path() / "closed", fs::perms::owner_read | fs::perms::owner_exec);
    const std::pair<std::string, std::string> cases[] = {
        {here + "/file", there},
        {here + "/new '7 up'", "a name has letters, digits, _ and -, a letter first, and at most 40 of them: "},
        {here + "/new demo", "the name demo is taken by the build: give another one\n"},
        {here + "/none/new", "there is no directory " + here + "/none\n"},
        {here + "/new a b", "a directory and a name, not more: "},
        {here + "/closed/new", "nothing can be written in " + here + "/closed\n"},
    };
    for (const auto& [arguments, message] : cases) {
        if (message.starts_with("nothing can be") && geteuid() == 0) continue;  // root may write everywhere
        const Ran ran = run(RYL_NEW_DEMO " " + arguments + " 2>&1");
        EXPECT_EQ(ran.status, 1) << arguments;
        EXPECT_TRUE(ran.output.starts_with("[!] " + message)) << ran.output;
        EXPECT_EQ(filesIn(work.path()), 1) << arguments;
    }
}

}  // namespace
