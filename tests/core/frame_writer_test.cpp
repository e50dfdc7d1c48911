// Frames on their way to files: what is in the files and what is printed when, though the next pictures are drawn meanwhile.
#include "child.h"
#include "endings.h"
#include "frame_writer.h"
#include "gl_window.h"
#include "picture.h"
#include "temp_dir.h"

#include <GL/glew.h>
#include <gd.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
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
    testing::internal::CaptureStdout();
    for (int frame = 1; frame <= FRAMES; ++frame) handOver(frame, folder.path(), frame % 10);
    ryl_finishFrames();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), linesOf(FRAMES));
    for (int frame = 1; frame <= FRAMES; ++frame)
        EXPECT_EQ(redOf(folder.path() / (std::to_string(frame) + ".png")), frame);
}

TEST(FrameWriter, ReportsAFrameThatCannotBeWrittenBeforeItsLine) {
    const TempDir folder;
    const std::string file = folder.path() / "2.png";
    openTestWindow(WIDTH, HEIGHT);
    testing::internal::CaptureStdout();
    handOver(1, folder.path() / "none");
    ryl_finishFrames();
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, RLIM_INFINITY};  // as on a full disk
    setrlimit(RLIMIT_FSIZE, &limit);
    handOver(2, folder.path());
    handOver(3, folder.path(), 10);
    ryl_finishFrames();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "couldn't open " + (folder.path() / "none/1.png").string() +
                  " for writing. screenshot not performed\nframe 1\n[/] couldn't write " + file +
                  ". screenshot not performed\nframe 2\n"
                  "[!] Major fuckup detected in ryl_screenshot, given compressionlevel was faily. redo\nframe 3\n");
    EXPECT_FALSE(fs::exists(file));
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

// The patience of two seconds is over while a file is open on another thread than the one that hangs.
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
