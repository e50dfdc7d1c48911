// ./video, and frame_stream with a shell script in the program's place.
#include "command.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>

namespace fs = std::filesystem;

namespace {

Ran video(const std::string& arguments, const std::string& environment = "") {
    return run(environment + " " RYL_VIDEO " --program " RYL_DEMO_DIR "/ryl " + arguments + " 2>&1");
}

std::string decode(const std::string& file, const std::string& options) {
    return run("ffmpeg -nostdin -v error -i " + file + " " + options + " -").output;
}

// In seconds: the first loud sample after the quiet before the drop.
double dropTime(const std::string& file) {
    const std::string samples = decode(file, "-map 0:a -t 8 -f s8 -ac 1 -ar 44100");
    const auto isLoud = [](char sample) { return std::abs(sample) > 64; };
    const auto drop = std::find_if(samples.begin() + 5320 * 44100 / 1000, samples.end(), isLoud);
    return static_cast<double>(drop - samples.begin()) / 44100;
}

TEST(Video, IsUprightCompleteAndInStepWithTheSound) {
    const TempDir folder;
    const std::string file = folder.path() / "start.mp4";
    const Ran ran = video("--size 320x180 --to 20 " + file);
    ASSERT_EQ(ran.status, 0) << ran.output;
    EXPECT_TRUE(ran.output.ends_with("[*] Video: " + file + "\n")) << ran.output;
    const std::string facts = "codec_name,width,height,sample_aspect_ratio,pix_fmt,r_frame_rate,start_time";
    EXPECT_EQ(run("ffprobe -v error -show_entries stream=" + facts + " -of csv=p=0 " + file).output,
              "h264,320,180,1:1,yuv420p,40/1,0.000000\naac,0/0,0.000000\n");
    EXPECT_EQ(run("grep -abo -m1 -e moov -e mdat " + file + " | head -1 | cut -d: -f2").output, "moov\n");
    const std::string pixels = decode(file, "-map 0:v -f rawvideo -pix_fmt gray");
    ASSERT_EQ(pixels.size(), 800U * 320 * 180);
    // Mean grey of a rectangle of a frame; number 1 is the first.
    const auto mean = [&](int frame, int left, int top, int right, int bottom) {
        double sum = 0;
        for (int y = (frame - 1) * 180 + top; y < (frame - 1) * 180 + bottom; ++y)
            for (int x = left; x < right; ++x) sum += static_cast<unsigned char>(pixels.at(y * 320UL + x));
        return sum / ((right - left) * (bottom - top));
    };
    // To the right of the middle there is an image above and nothing below.
    EXPECT_LT(mean(161, 170, 60, 245, 90), 230);
    EXPECT_GT(mean(161, 190, 100, 280, 150), 250);
    // For seconds nothing moves; then the ribbons open from a point at 5.4 s, and the frame after that differs.
    int opened = 180;
    while (opened < 280 && std::abs(mean(opened, 0, 0, 320, 180) - mean(opened - 1, 0, 0, 320, 180)) < 0.1) ++opened;
    EXPECT_EQ(opened, 218) << "5.425 s";
    EXPECT_NEAR(dropTime(file), (opened - 1) * 0.025, 0.025);
    EXPECT_NEAR(dropTime(file), dropTime(RYL_DEMO_DIR "/data/tune.mp3"), 0.002) << "the tune begins with frame 1";
}

TEST(Video, GivesTheSameFramesForARangeEveryTimeAndForAPoster) {
    const TempDir folder;
    const std::string out = folder.path() / "out.mkv", poster = folder.path() / "poster.png";
    std::string pixels[2];
    for (std::string& range : pixels) {
        EXPECT_EQ(video("--size 64x36 --from 0.61 --to 1.5 --lossless " + out).status, 0);
        range = decode(out, "-map 0:v -f rawvideo -pix_fmt rgb24");
    }
    // Frames are 25 ms apart: the first at or after 0.61 s is frame 26, the last before 1.5 s is frame 60.
    ASSERT_EQ(pixels[0].size(), 35U * 64 * 36 * 3);
    EXPECT_NEAR(static_cast<double>(decode(out, "-map 0:a -f s8 -ac 1 -ar 44100").size()) / 44100, 35 * 0.025, 1e-3);
    EXPECT_TRUE(pixels[0] == pixels[1]);
    EXPECT_EQ(video("--size 64x36 --poster 60 " + poster).status, 0);
    EXPECT_TRUE(pixels[0].ends_with(decode(poster, "-f rawvideo -pix_fmt rgb24")));
}

// The demo under another name, in a run directory of its own.
TEST(Video, OfAnotherProgramHasItsNameItsTuneAndItsEnd) {
    const TempDir folder;
    const fs::path place = folder.path() / "a place", original = RYL_DEMO_DIR;
    fs::create_directory(place);
    for (const char* name : {"libs", "data", "tools"}) fs::create_directory_symlink(original / name, place / name);
    fs::create_symlink(original / "ryl", place / "show");
    const std::string program = RYL_VIDEO " --size 64x36 --program '" + place.string() + "/show' ";
    const std::string out = (folder.path() / "out.mkv").string(), song = (folder.path() / "song.wav").string();
    run("ffmpeg -v error -f lavfi -i sine=880:duration=9 " + song);
    const Ran ran = run(program + "--lossless --end 0.5 --tune " + song + " " + out + " 2>&1");
    EXPECT_EQ(ran.status, 0) << ran.output;
    EXPECT_NE(ran.output.find("[*] frame 20 of 20, "), std::string::npos) << ran.output;
    EXPECT_EQ(decode(out, "-map 0:v -f rawvideo -pix_fmt rgb24").size(), 20U * 64 * 36 * 3);
    EXPECT_EQ(decode(out, "-map 0:a -f s8 -ac 1 -ar 44100").size(), 22050U);
    fs::remove(place / "data");
    // libGL unloads its driver at exit, so the driver's own leaks could not be told from the program's.
    const Ran broken = run("ASAN_OPTIONS=detect_leaks=0 " + program + "--end 1 " + out + " 2>&1");
    EXPECT_EQ(broken.status, 1);
    EXPECT_TRUE(broken.output.starts_with("[/] There is no tune.mp3 in " + place.string())) << broken.output;
    EXPECT_NE(broken.output.find("data/images/background.png] file not found."), std::string::npos) << broken.output;
}

TEST(Video, SaysWhatIsWrongAndLeavesNothing) {
    const struct {
        const char *arguments, *command, *script, *message;
    } cases[] = {
        {"--program none/ryl", "none", "", "there is no program none/ryl\n"},
        {"--tune none.mp3", "none", "", "there is no tune "},
        {"--size 641x360", "none", "", "--size needs an even width and height, not 641x360\n"},
        {"", "ffmpeg", "echo no libavcodec >&2; exit 127", "ffmpeg does not start: no libavcodec\n"},
        {"", "ffmpeg", "echo ' V..... mpeg4     an encoder'", "this ffmpeg has no encoder libx264\n"},
        {"", "ffmpeg",
         "case $* in *-encoders*) exec /usr/bin/ffmpeg $*; esac; head -c 99 >/dev/null; echo disk full; exit 1",
         "encoding failed: disk full\n"},
        {"", "df", "echo Avail; echo 4096", "no disk space: waiting frames may take 1 MiB in "},
    };
    for (const auto& [arguments, command, script, message] : cases) {
        const TempDir tools, folder, temporary;
        fs::permissions(tools.write(command, std::string("#!/bin/bash\n") + script), fs::perms::owner_all);
        const Ran ran = video("--size 64x36 " + std::string(arguments) + " " + (folder.path() / "out.mp4").string(),
                              "PATH=" + tools.path().string() + ":$PATH TMPDIR=" + temporary.path().string());
        EXPECT_EQ(ran.status, 1) << ran.output;
        EXPECT_TRUE(ran.output.starts_with(std::string("[!] ") + message)) << ran.output;
        for (const TempDir* place : {&folder, &temporary})
            EXPECT_EQ(std::distance(fs::directory_iterator(place->path()), {}), 0) << message;
    }
}

// `script` gives frames: a good one of the size, and damaged ones. `then` follows the call of frame_stream.
Ran stream(const std::string& size, const std::string& range, const std::string& script, const std::string& then) {
    const TempDir folder;
    folder.write("program", "frame() { cp $2 capture/$1.png; echo \"[CAPTURE] frame $1\"; }\n" + script);
    return run(
        "cd " + folder.path().string() +
        "; mkdir capture; mkfifo reader; : >empty; ffmpeg -v error -f lavfi -i testsrc=s=" + size +
        " -frames:v 1 -f image2 -c png good; head -c -12 good >torn; { head -c 90 torn; tail -c 12 good; } >hole; " +
        RYL_DEMO_DIR "/frame_stream " + size + " " + range + " sh program " + then);
}

TEST(FrameStream, StopsWithOneMessageAtWhateverIsWrong) {
    const std::pair<const char*, const char*> cases[] = {
        {"frame 1 good; echo 'no room on disk'; echo '[CAPTURE] frame 2'",
         "[!] frame 2 is missing: capture/2.png: No such file or directory\n    no room on disk\n"},
        {"frame 2 empty", "[!] frame 2 is empty: capture/2.png\n"},
        {"frame 2 torn", "[!] frame 2 is torn: capture/2.png has no end\n"},
        {"frame 2 hole", "[!] frame 2 is damaged: capture/2.png: "},
        {"frame 2 good; frame 4 good", "[!] frame 4 came after frame 2\n"},
        {"frame 3 good", "[!] frame 3 came after frame 0\n"},
        {"frame 1 good; echo 'no text' >&2; exit 7", "[!] the demo ended with status 7 after frame 1\n    no text\n"},
    };
    for (const auto& [script, message] : cases) {
        const Ran ran = stream("16x16", "2 3", script, "2>&1 >/dev/null");
        EXPECT_EQ(ran.status, 1) << script;
        EXPECT_TRUE(ran.output.starts_with(message)) << script << "\n" << ran.output;
    }
}

TEST(FrameStream, SaysHowManyFramesOfTheRangeHaveCome) {
    const std::string frames = "for i in $(seq 5 209); do frame $i good; done";  // 7 is the first that is wanted
    const std::string length = "echo 'DEV: DEMO_LENGTH = 9975 SCENE_TIME[0] = 9.975000'; ";
    const std::pair<std::string, std::string> cases[] = {{"209", "203"},          {"~240", "about 234"},
                                                         {"~", "at most 394"},    {"~7", ""},
                                                         {"<900", "at most 394"}, {"<209", "at most 203"}};
    for (const auto& [last, all] : cases) {
        const Ran ran = stream("16x16", "7 '" + last + "'", length + frames, "3>&1 >/dev/null");
        EXPECT_EQ(ran.status, 0);
        const std::string of = all.empty() ? "" : " of " + all;
        EXPECT_TRUE(ran.output.starts_with("[*] frame 200" + of + ", ")) << ran.output;
        EXPECT_NE(ran.output.find("\n[*] frame 203 of 203, "), std::string::npos) << ran.output;
        EXPECT_TRUE(ran.output.ends_with(" frames per second, 0:00 left\n")) << ran.output;
    }
}

TEST(FrameStream, EndsWithItsReader) {
    const std::string frames = "i=0; while :; do i=$((i + 1)); frame $i good; done";
    EXPECT_EQ(stream("16x16", "1 '~'", frames, ">reader & head -c 768 reader | wc -c; wait $!; echo $?").output,
              "768\n3\n");
}

}  // namespace
