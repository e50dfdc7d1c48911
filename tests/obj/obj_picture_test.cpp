// Pictures of models: the pixels that matter, the files that are written; and the window that shows the same.
#include "command.h"
#include "temp_dir.h"
#include "x_server.h"

#include <gtest/gtest.h>

#include <gd.h>

#include <array>
#include <chrono>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>

namespace {

struct Pixel {
    int red, green, blue, alpha;  // 255 is opaque
};

std::ostream& operator<<(std::ostream& stream, const Pixel& p) {
    return stream << p.red << ' ' << p.green << ' ' << p.blue << ' ' << p.alpha;
}

struct DestroyImage {
    void operator()(gdImagePtr image) const { gdImageDestroy(image); }
};
using GdImage = std::unique_ptr<gdImage, DestroyImage>;

// Squares across the camera's view, a unit apart in depth, each with a material of its own.
constexpr char MATERIALS[] =
    "newmtl red\nKd 1 0 0\nillum 0\nnewmtl blue\nKd 0 0 1\nillum 0\n"
    "newmtl glass\nKd 1 0 0\nd 0.5\nillum 0\nnewmtl map\nKd 1 1 1\nillum 0\nmap_Kd four.ppm\n";
constexpr char CORNERS[] = "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n";
// The camera looks straight at the squares, which then fill the middle of the picture.
constexpr char STRAIGHT[] = " --azimuth 0 --elevation 0 --fov 0 --size 100 --background ffffff --force ";

std::string square(const std::string& material, double z, int number) {
    std::ostringstream text;
    for (const char* corner : {"0 0", "1 0", "1 1", "0 1"}) text << "v " << corner << ' ' << z << '\n';
    text << "usemtl " << material << "\nf";
    for (int i = 1; i <= 4; ++i) text << ' ' << 4 * number + i << '/' << i;
    text << '\n';
    return text.str();
}

class Pictures : public testing::Test {
protected:
    Pictures() {
        folder.write("m.mtl", MATERIALS);
        // The upper row is red and green, the lower one blue and white.
        folder.write("four.ppm", std::string("P6 2 2 255\n\xff\0\0\0\xff\0\0\0\xff\xff\xff\xff", 11 + 12));
        writeModel("red.obj", square("red", 0, 0));
    }
    void writeModel(const std::string& name, const std::string& body) const {
        folder.write(name, std::string("mtllib m.mtl\n") + CORNERS + body);
    }
    Ran ryl(const std::string& arguments) const {
        return run("cd '" + folder.path().string() + "' && " + RYL_OBJ + " " + arguments + " 2>&1");
    }
    GdImage read(const std::string& name) const {
        std::string bytes = readFile(folder.path() / name);
        return GdImage(gdImageCreateFromPngPtr(static_cast<int>(bytes.size()), bytes.data()));
    }
    GdImage picture(const std::string& model, const std::string& options = "") const {
        const Ran ran = ryl("picture" + std::string(STRAIGHT) + options + " " + model + " out.png");
        EXPECT_EQ(ran.status, 0) << ran.output;
        return read("out.png");
    }
    TempDir folder;
};

void expectPixel(const GdImage& image, int x, int y, const Pixel& wanted, int tolerance = 3) {
    ASSERT_NE(image, nullptr);
    const int colour = gdImageGetTrueColorPixel(image.get(), x, y);
    const Pixel is = {gdTrueColorGetRed(colour), gdTrueColorGetGreen(colour), gdTrueColorGetBlue(colour),
                      255 - gdTrueColorGetAlpha(colour) * 255 / gdAlphaMax};
    for (const auto channel : {&Pixel::red, &Pixel::green, &Pixel::blue, &Pixel::alpha})
        EXPECT_NEAR(is.*channel, wanted.*channel, tolerance)
            << "at " << x << ", " << y << ": " << is << " for " << wanted;
}

constexpr Pixel RED = {255, 0, 0, 255}, GREEN = {0, 255, 0, 255}, BLUE = {0, 0, 255, 255},
                WHITE = {255, 255, 255, 255};

TEST_F(Pictures, ShowWhatIsNearInTheColourOfItsMaterial) {
    const GdImage one = picture("red.obj");
    expectPixel(one, 50, 50, RED);
    expectPixel(one, 1, 1, WHITE);
    for (const bool redFirst : {true, false}) {
        writeModel("two.obj", redFirst ? square("red", 0, 0) + square("blue", 1, 1)
                                       : square("blue", 1, 0) + square("red", 0, 1));
        expectPixel(picture("two.obj"), 50, 50, BLUE);
        expectPixel(picture("two.obj", "--azimuth 180"), 50, 50, RED);
        expectPixel(picture("two.obj", "--samples 1 --threads 3"), 50, 50, BLUE);
    }
    // On its side: the axis that was to the right points up, and what was near is still in front.
    expectPixel(picture("two.obj", "--up x"), 50, 50, BLUE);
}

TEST_F(Pictures, LayTexturesUpright) {
    constexpr int MIXED = 45;  // the middle of a texel is not that of a pixel, so a little of its neighbours shows
    writeModel("map.obj", square("map", 0, 0));
    const GdImage plain = picture("map.obj");
    expectPixel(plain, 27, 27, RED, MIXED);
    expectPixel(plain, 73, 27, GREEN, MIXED);
    expectPixel(plain, 27, 73, BLUE, MIXED);
    // Moved by half a width, the right column comes to stand left.
    folder.write("m.mtl", "newmtl map\nKd 1 1 1\nillum 0\nmap_Kd -o 0.5 0 0 four.ppm\n");
    expectPixel(picture("map.obj"), 27, 27, GREEN, MIXED);
}

TEST_F(Pictures, BlendWhatIsTranslucentOverTheRest) {
    writeModel("glass.obj", square("glass", 2, 0) + square("blue", 0, 1));
    // Half of each light: 188 is the byte of a half.
    expectPixel(picture("glass.obj"), 50, 50, {188, 0, 188, 255});
    expectPixel(picture("glass.obj", "--azimuth 180"), 50, 50, BLUE);
    writeModel("alone.obj", square("glass", 0, 0));
    const GdImage alone = picture("alone.obj", "--background transparent");
    expectPixel(alone, 50, 50, {255, 0, 0, 128});
    expectPixel(alone, 1, 1, {0, 0, 0, 0});
}

// A square with a notch from above, a line across the notch, and a point in the colour of its position.
TEST_F(Pictures, ShowConcavePolygonsLinesAndPoints) {
    folder.write("notch.obj", "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0.5 0.2 0\nv 0 1 0\nv 0.5 0.6 0 0 1 0\n"
                              "p 6\nusemtl red\nf 1 2 3 4 5\nusemtl blue\nl 3 5\n");
    const GdImage image = picture("notch.obj", "--line-width 4 --point-size 2.9");
    expectPixel(image, 10, 50, RED);
    expectPixel(image, 50, 60, WHITE);
    expectPixel(image, 50, 4, BLUE);
    expectPixel(image, 50, 41, GREEN);
}

TEST_F(Pictures, DoNotDependOnTheNumberOfThreads) {
    std::string body;
    for (int i = 0; i < 300; ++i) body += square(i % 3 == 0 ? "glass" : "red", (i * 37) % 100 / 50.0, i);
    writeModel("many.obj", body);
    for (const char* options : {"--azimuth 40 --fov 60 --edges", "--azimuth 40 --samples 1 --wireframe"}) {
        std::array<std::string, 2> bytes;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            EXPECT_NE(picture("many.obj", std::string(options) + (i == 0 ? " --threads 1" : " --threads 3")),
                      nullptr);
            bytes[i] = readFile(folder.path() / "out.png");
        }
        EXPECT_EQ(bytes[0], bytes[1]) << options;
    }
}

TEST_F(Pictures, AreWrittenWholeWhereTheyAreAskedFor) {
    folder.write("bad.obj", "v 0 0 0\nf 1 2 x\n");
    folder.write("nan.obj", "v nan 0 0\nv 1e38 0 0\nv -1e38 2 0\nv 0 0 3e38\nf 1 2 3\nf 2 3 4\n");
    folder.write("damaged.ppm", "P6 0 0 255\n");
    writeModel("missing.obj", square("map", 0, 0));
    constexpr struct {
        const char* arguments;
        int status;
        const char* printed;
    } CASES[] = {
        {"picture red.obj a.png", 0, ""},
        {"picture red.obj a.png", 2, "a.png: there already"},
        {"picture bad.obj b.png", 2, "bad.obj:2: "},
        {"picture nan.obj n.png", 0, ""},
        {"picture --turntable 2 red.obj t%02d.png", 0, ""},
        {"picture --turntable 2 red.obj t.png", 2, "--turntable takes an OUT with one"},
        {"picture --sheet 2x1 --size 30x20 red.obj nan.obj s.png", 0, ""},
        {"picture red.obj nan.obj b.png", 2, "several models need --sheet"},
        {"picture --size 0 red.obj b.png", 2, "--size takes two numbers"},
        {"picture --max-seconds 0.01 --size 8000 --turntable 50 red.obj b%d.png", 2, "processor time"},
        {"picture --size 40x30 - - <red.obj >piped.png", 0, ""},
        {"picture --force --size 40x30 red.obj missing/a.png", 2, "missing/a.png: No such file or directory"},
    };
    for (const auto& each : CASES) {
        const Ran ran = ryl(each.arguments);
        EXPECT_EQ(ran.status, each.status) << each.arguments << '\n' << ran.output;
        EXPECT_NE(ran.output.find(each.printed), std::string::npos) << each.arguments << '\n' << ran.output;
    }
    EXPECT_EQ(
        run("cd '" + folder.path().string() + "' && echo *.png; ls -A | grep -c tmp || true").output.substr(0, 45),
        "a.png n.png piped.png s.png t00.png t01.png\n0");
    const GdImage sheet = read("s.png");
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(gdImageSX(sheet.get()), 60);
    EXPECT_EQ(gdImageSY(sheet.get()), 20);
}

// The line that file managers run.
TEST_F(Pictures, AreThumbnails) {
    std::string entry = readFile(RYL_THUMBNAILER),
                line = entry.substr(entry.find("Exec=ryl-obj ", entry.find('\n', entry.find("TryExec"))) + 13);
    line.resize(line.find('\n'));
    for (const auto& [name, value] : {std::pair{"%s", "128"}, {"%i", "red.obj"}, {"%o", "thumb/out"}})
        line.replace(line.find(name), 2, value);
    const Ran ran = run("cd '" + folder.path().string() + "' && mkdir thumb && touch thumb/out && ls >before && " +
                        RYL_OBJ + " " + line + " 2>/dev/null && ls | cmp - before && ls -A thumb");
    EXPECT_EQ(ran.status, 0) << ran.output;
    EXPECT_EQ(ran.output, "out\n");
    const GdImage thumbnail = read("thumb/out");
    ASSERT_NE(thumbnail, nullptr);
    EXPECT_EQ(gdImageSX(thumbnail.get()), 128);
    expectPixel(thumbnail, 1, 1, {0, 0, 0, 0});
}

class Windows : public Pictures {
protected:
    // Presses "s" in the window until a screenshot has that colour in its middle; half a minute at most.
    bool showsSoon(const Pixel& wanted) {
        for (int i = 0; i < 60; ++i) {
            const std::string name = "red-" + std::to_string(shots + 1) + ".png";
            press("s");
            for (int wait = 0; wait < 10 && readFile(folder.path() / name).empty(); ++wait) pause();
            const GdImage shot = read(name);
            if (!shot) continue;
            ++shots;
            const int colour =
                gdImageGetTrueColorPixel(shot.get(), gdImageSX(shot.get()) / 2, gdImageSY(shot.get()) / 2);
            if ((gdTrueColorGetRed(colour) > 120) == (wanted.red > 120) &&
                (gdTrueColorGetBlue(colour) > 120) == (wanted.blue > 120))
                return true;
            pause();
        }
        return false;
    }
    static void press(const std::string& key) {
        run("xdotool search --sync --onlyvisible --name '^red.obj$' key --clearmodifiers " + key + " 2>&1");
    }
    static void pause() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

    int shots = 0;
    Ran ended = {};
};

TEST_F(Windows, ShowTheFileAsItIsNow) {
    startPrivateDisplay();
    writeModel("other.obj", square("blue", 0, 0));
    std::thread program([&] { ended = ryl("view --size 200x160 red.obj"); });
    EXPECT_TRUE(showsSoon(RED));
    for (const char* key :
         {"F1", "Left", "shift+Up", "plus", "w", "w", "e", "n", "bracketright", "g", "a", "Home", "F1"})
        press(key);
    EXPECT_TRUE(showsSoon(RED));
    writeModel("red.obj", square("blue", 0, 0));
    EXPECT_TRUE(showsSoon(BLUE));
    folder.write("red.obj", "v 0 0 x\nf 1 2 3\n");
    press("F5");
    EXPECT_TRUE(showsSoon(BLUE));
    press("q");
    program.join();
    EXPECT_EQ(ended.status, 0) << ended.output;
    EXPECT_NE(ended.output.find("red.obj:"), std::string::npos) << ended.output;
}

}  // namespace
