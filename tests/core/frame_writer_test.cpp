// Frames on their way to files while the next pictures are drawn: what the files hold, and what is printed when.
#include "child.h"
#include "endings.h"
#include "frame_writer.h"
#include "gl_window.h"
#include "picture.h"
#include "printed.h"
#include "temp_dir.h"

#include <GL/glew.h>
#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

// Large enough for its file to take longer than the next picture.
constexpr int WIDTH = 800, HEIGHT = 600;

// Draws a picture of one colour, the frame's, and hands it over.
void handOver(int frame, const std::string& folder, int level = 0) {
    glClearColor(static_cast<float>(frame) / 255.0f, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    ryl_blendPicture(WIDTH, HEIGHT, 0);
    const std::string number = std::to_string(frame);
    ryl_handOverFrame(WIDTH, HEIGHT, folder + "/" + number + ".png", level, "frame " + number);
}

// The red of the file's last pixel; -1 for a file that is none.
int redOf(const std::string& file) {
    gdImage* image = gdImageCreateFromFile(file.c_str());
    if (image == nullptr) return -1;
    const int red = gdTrueColorGetRed(gdImageGetPixel(image, WIDTH - 1, HEIGHT - 1));
    gdImageDestroy(image);
    return red;
}

std::string linesOf(int frames) {
    std::string lines;
    for (int frame = 1; frame <= frames; ++frame) lines += "frame " + std::to_string(frame) + "\n";
    return lines;
}

TEST(FrameWriter, WritesEachPictureAsItWasAndInOrder) {
    constexpr int FRAMES = 20;
    const TempDir folder;
    openTestWindow(WIDTH, HEIGHT);
    EXPECT_EQ(printedBy([&] {
                  for (int frame = 1; frame <= FRAMES; ++frame) handOver(frame, folder.path(), frame % 10);
                  ryl_finishFrames();
              }),
              linesOf(FRAMES));
    for (int frame = 1; frame <= FRAMES; ++frame)
        EXPECT_EQ(redOf(folder.path() / (std::to_string(frame) + ".png")), frame);
}

TEST(FrameWriter, ReportsAFrameThatCannotBeWrittenBeforeItsLine) {
    const TempDir folder;
    openTestWindow(WIDTH, HEIGHT);
    EXPECT_EQ(printedBy([&] {
                  handOver(1, folder.path(), 10);
                  handOver(2, folder.path());
                  ryl_finishFrames();
              }),
              "[!] Major fuckup detected in ryl_screenshot, given compressionlevel was faily. redo\n" + linesOf(2));
}

TEST(FrameWriter, WritesWhatItHasWhenTheProcessEnds) {
    const TempDir folder;
    const ChildResult child = runInChild([&] {
        openTestWindow(WIDTH, HEIGHT);
        for (int frame = 1; frame <= 5; ++frame) handOver(frame, folder.path(), 9);
        std::exit(3);
    });
    EXPECT_EQ(child.status, 3) << child.errors;
    EXPECT_EQ(child.output, linesOf(5));
    EXPECT_EQ(redOf(folder.path() / "5.png"), 5);
}

// The two seconds that a signal waits are over while another thread than the one that hangs has a file open.
TEST(FrameWriter, IsNotCutOffInAFileByASignal) {
    const TempDir folder;
    const fs::path file = folder.path() / "file";
    const ChildResult child = runInChild([&] {
        ryl_watchEndings();
        std::thread([&] {
            ryl_delayEnding(true);
            std::this_thread::sleep_for(std::chrono::seconds(3));
            folder.write("file", "whole");
            ryl_delayEnding(false);
            for (;;) pause();
        }).detach();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        kill(getpid(), SIGTERM);
        for (;;) pause();
    });
    EXPECT_EQ(child.status, 128 + SIGTERM) << child.errors;
    EXPECT_EQ(child.output, "[*] Ended by signal 15.\n");
    EXPECT_TRUE(fs::exists(file));
}

}  // namespace
