// Captured frames that are written while the next ones are drawn: the files, and the lines and their order.
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
#include <string>
#include <thread>

namespace {

// So large that writing takes longer than drawing the next picture.
constexpr int WIDTH = 800, HEIGHT = 600;

// Draws a picture of the frame's colour and hands it over.
void handOver(int frame, const std::string& folder, int level = 0) {
    glClearColor(static_cast<float>(frame) / 255.0f, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    ryl_blendPicture(WIDTH, HEIGHT, 0);
    const std::string number = std::to_string(frame);
    ryl_handOverFrame(WIDTH, HEIGHT, folder + "/" + number + ".png", level, "frame " + number);
}

// The red of the last pixel; -1 if the file is no image.
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

// A thread has a file open for longer than the two seconds that a signal waits for the main thread, which hangs.
TEST(FrameWriter, IsNotCutOffInAFileByASignal) {
    const TempDir folder;
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
    EXPECT_EQ(readFile(folder.path() / "file"), "whole");
}

}  // namespace
