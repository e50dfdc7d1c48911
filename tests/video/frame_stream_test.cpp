// Frames on their way from the program to an encoder: what arrives, what is refused, what stays on the disk. A shell
// script stands in for the program.
#include "command.h"
#include "temp_dir.h"

#include <gd.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

// A frame file of the given size. Its pixels tell their place: red is the row in the file, green the column.
std::string framePng(int width, int height) {
    gdImage* image = gdImageCreateTrueColor(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) gdImageSetPixel(image, x, y, gdTrueColor(y & 255, x & 255, 7));
    int size = 0;
    void* bytes = gdImagePngPtrEx(image, &size, 1);
    std::string png(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    gdFree(bytes);
    gdImageDestroy(image);
    return png;
}

// A folder with the frames that scripts take: good (4 x 2) and what is wrong with others.
class Frames : public TempDir {
public:
    Frames() {
        fs::create_directory(path() / "capture");
        const std::string good = framePng(4, 2);
        write("good", good);
        write("empty", "");
        write("torn", good.substr(0, good.size() - 12));
        write("hole", good.substr(0, 50) + good.substr(good.size() - 12));
        write("text", "no picture");
        std::string flipped = good;
        flipped[flipped.find("IDAT") + 8] ^= 0x20;
        write("flipped", flipped);
        write("large", framePng(6, 2));
    }
    Ran stream(const std::string& arguments, const std::string& script, const std::string& then = "") const {
        write("program", "frame() { cp $2 capture/$1.png; echo \"[CAPTURE] frame $1\"; }\n" + script);
        return run("cd " + path().string() + " && " RYL_DEMO_DIR "/frame_stream " + arguments + " sh program " +
                   then);
    }
    std::ptrdiff_t filesLeft() const {
        return std::distance(fs::directory_iterator(path() / "capture"), fs::directory_iterator());
    }
};

TEST(FrameStream, PassesTheRangeOnUprightAndRemovesEveryFile) {
    const Frames frames;
    const std::string upright = {1, 0, 7, 1, 1, 7, 1, 2, 7, 1, 3, 7, 0, 0, 7, 0, 1, 7, 0, 2, 7, 0, 3, 7};
    // What is left out may be damaged, but must be there. The program would go on for long.
    Ran ran =
        frames.stream("4x2 3 4", "echo loading; frame 1 torn; frame 2 good; frame 3 good; frame 4 good; sleep 1000");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.output, upright + upright);
    EXPECT_EQ(frames.filesLeft(), 0);

    ran = frames.stream("4x2 2 ~9", "frame 1 good; frame 2 good; frame 3 good", "3>&1 2>&1");
    EXPECT_EQ(ran.status, 0) << "the program's own end is the end";
    EXPECT_EQ(ran.output.substr(0, 48), upright + upright);
    EXPECT_TRUE(ran.output.substr(48).starts_with("[*] frame 3 of 3, ")) << ran.output;
}

TEST(FrameStream, StopsWithOneMessageAtWhateverIsWrong) {
    const struct {
        const char* script;
        const char* message;
    } cases[] = {
        {"frame 1 good; echo 'no room on disk'; echo '[CAPTURE] frame 2'",
         "[!] frame 2 is missing: capture/2.png: No such file or directory\n    no room on disk\n"},
        {"frame 1 good; frame 2 empty", "[!] frame 2 is empty: capture/2.png\n"},
        {"frame 1 good; frame 2 torn", "[!] frame 2 is torn: capture/2.png has no end\n"},
        {"frame 1 good; frame 2 text", "[!] frame 2 is torn: capture/2.png has no end\n"},
        {"frame 1 good; frame 2 hole", "[!] frame 2 is damaged: capture/2.png: "},
        {"frame 1 good; frame 2 flipped", "[!] frame 2 is damaged: capture/2.png: "},
        {"frame 1 good; frame 2 large", "[!] frame 2 is of 6 x 2 pixels, 4 x 2 were asked for\n"},
        {"frame 1 good; frame 3 good", "[!] frame 3 came after frame 1\n"},
        {"frame 1 good", "[!] the demo ended after frame 1, before frame 3\n"},
        {"frame 1 good; echo why; exit 5", "[!] the demo ended with status 5 after frame 1\n    why\n"},
        {"frame 1 good; kill -SEGV $$", "[!] the demo was ended by signal 11 after frame 1\n"},
    };
    for (const auto& [script, message] : cases) {
        const Frames frames;
        const Ran ran = frames.stream("4x2 1 3", script, "2>&1 >/dev/null");
        EXPECT_EQ(ran.status, 1) << script;
        EXPECT_TRUE(ran.output.starts_with(message)) << script << "\n" << ran.output;
        EXPECT_EQ(ran.output.rfind("[!]"), 0U) << ran.output;
    }
    const Frames frames;
    EXPECT_EQ(
        frames.stream("4x2 1 3", "while :; do frame $((i += 1)) good; done", "| true; exit ${PIPESTATUS:-3}").status,
        3);
    for (const char* wrong : {"4x 1 3", "4x2 0 3", "4x2 3 2", "x2 1 3", "4x2x 1 3"})
        EXPECT_EQ(frames.stream(wrong, "frame 1 good", "2>&1").status, 2) << wrong;
}

TEST(FrameStream, ASlowReaderMakesTheProgramWait) {
    const Frames frames;
    frames.write("wide", framePng(1024, 512));
    // Raw, a frame is larger than any pipe. The program looks itself at how many of its frames are waiting.
    const Ran ran =
        frames.stream("1024x512 1 60", "for n in $(seq 60); do frame $n wide; ls capture | wc -l >>waiting; done",
                      "| { sleep 2; wc -c; sort -n waiting | tail -n 1; }");
    long bytes = 0, most = 0;
    ASSERT_EQ(std::sscanf(ran.output.c_str(), "%ld %ld", &bytes, &most), 2) << ran.output;
    EXPECT_EQ(bytes, 60L * 1024 * 512 * 3);
    EXPECT_LE(most, 18);
}

}  // namespace
