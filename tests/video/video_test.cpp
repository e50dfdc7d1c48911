// ./video from the outside: what its files hold once they are decoded, and what it says and leaves when it fails.
#include "command.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr double FRAME_SECONDS = 1.0 / 40;
constexpr long SAMPLE_RATE = 44100;

Ran video(const std::string& arguments, const std::string& environment = "") {
    return run(environment + " " RYL_VIDEO " --demo " RYL_DEMO_DIR " " + arguments + " 2>&1");
}

std::string decode(const std::string& file, const std::string& options) {
    const Ran ran = run("ffmpeg -nostdin -v error -i " + file + " " + options + " -");
    EXPECT_EQ(ran.status, 0) << file;
    return ran.output;
}

std::ptrdiff_t filesIn(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

// ---- Twenty seconds, decoded --------------------------------------------------------------------------------------

constexpr int WIDTH = 320, HEIGHT = 180;

struct Picture {
    const std::uint8_t* rgb;

    const std::uint8_t* at(int x, int y) const { return rgb + (static_cast<std::ptrdiff_t>(y) * WIDTH + x) * 3; }
    bool isRed(int x, int y) const { return at(x, y)[0] > 150 && at(x, y)[1] < 90 && at(x, y)[2] < 90; }
    int redInRow(int y) const {
        int count = 0;
        for (int x = 0; x < WIDTH; ++x) count += isRed(x, y) ? 1 : 0;
        return count;
    }
    // How many pixels of a rectangle are clearly coloured or dark.
    int ink(int left, int top, int right, int bottom) const {
        int count = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) count += at(x, y)[1] < 170 ? 1 : 0;
        return count;
    }
};

double difference(Picture a, Picture b) {
    double sum = 0;
    for (std::ptrdiff_t i = 0; i < WIDTH * HEIGHT * 3; ++i) sum += std::abs(a.rgb[i] - b.rgb[i]);
    return sum / (WIDTH * HEIGHT * 3);
}

// When the drop comes, in seconds: the first loud sample after the quiet that precedes it.
double dropTime(const std::string& samples) {
    constexpr std::int16_t LOUD = 32767 / 2;
    for (long i = 5320 * SAMPLE_RATE / 1000; i < static_cast<long>(samples.size() / sizeof(std::int16_t)); ++i) {
        std::int16_t sample = 0;
        std::memcpy(&sample, samples.data() + static_cast<std::size_t>(i) * sizeof sample, sizeof sample);
        if (std::abs(sample) > LOUD) return static_cast<double>(i) / SAMPLE_RATE;
    }
    return 0;
}

TEST(Video, TwentySecondsAreUprightCompleteAndInStepWithTheSound) {
    const TempDir folder;
    const std::string file = folder.path() / "start.mp4";
    const Ran ran = video("--size 320x180 --to 20 " + file);
    ASSERT_EQ(ran.status, 0) << ran.output;
    EXPECT_NE(ran.output.find("[*] frame 800 of 800, "), std::string::npos) << ran.output;
    EXPECT_TRUE(ran.output.ends_with("[*] Video: " + file + "\n")) << ran.output;
    EXPECT_EQ(ran.output.find('\r'), std::string::npos) << "no bar where there is no terminal";
    EXPECT_EQ(filesIn(folder.path()), 1);

    EXPECT_EQ(run("ffprobe -v error -select_streams v -show_entries "
                  "stream=codec_name,width,height,sample_aspect_ratio,pix_fmt,r_frame_rate,start_time -of csv=p=0 " +
                  file)
                  .output,
              "h264,320,180,1:1,yuv420p,40/1,0.000000\n");
    EXPECT_EQ(run("ffprobe -v error -select_streams a -show_entries stream=codec_name,start_time -of csv=p=0 " + file)
                  .output,
              "aac,0.000000\n");
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat")) << "a player on the net starts at once";

    const std::string pixels = decode(file, "-map 0:v -f rawvideo -pix_fmt rgb24");
    ASSERT_EQ(pixels.size(), 800U * WIDTH * HEIGHT * 3);
    const auto frame = [&](int n) {
        return Picture{reinterpret_cast<const std::uint8_t*>(pixels.data()) +
                       static_cast<std::ptrdiff_t>(n - 1) * WIDTH * HEIGHT * 3};
    };

    // The loading bar, from the left edge of its place to the right.
    int previous = 0;
    for (const int n : {2, 5, 8, 11, 14}) {
        const int length = frame(n).redInRow(HEIGHT / 2);
        EXPECT_GT(length, previous) << n;
        EXPECT_TRUE(frame(n).isRed(WIDTH / 2 - 36, HEIGHT / 2)) << n;
        EXPECT_FALSE(frame(n).isRed(WIDTH / 2 + 85, HEIGHT / 2)) << n;
        previous = length;
    }
    // The images: right of the middle there is one above, and nothing below.
    const Picture images = frame(161);
    EXPECT_GT(images.ink(170, 60, 245, 90), 300);
    EXPECT_EQ(images.ink(190, 100, 280, 150), 0);

    // The ribbons begin to open at 5.4 s, from a point: the next frame is the first to show them. Until then the
    // picture has stood still for seconds.
    int opened = 180;
    while (opened < 280 && difference(frame(opened), frame(opened - 1)) < 0.3) ++opened;
    const double picture = (opened - 1) * FRAME_SECONDS;
    EXPECT_NEAR(picture, 5.425, 1e-6);

    const std::string toSamples = "-map 0:a -t 8 -f s16le -ac 1 -ar 44100";
    const double sound = dropTime(decode(file, toSamples));
    EXPECT_LE(std::abs(picture - sound), FRAME_SECONDS) << "drop at " << sound;
    EXPECT_NEAR(sound, dropTime(decode(RYL_DEMO_DIR "/data/tune.mp3", toSamples)), 0.002)
        << "the soundtrack begins with frame 1";
}

// ---- Ranges, posters ----------------------------------------------------------------------------------------------

std::string frameHashes(const std::string& file) { return decode(file, "-map 0:v -pix_fmt rgb24 -f framehash"); }

TEST(Video, ARangeIsTheSameEveryTimeAndAPosterIsOneOfItsFrames) {
    const TempDir folder;
    const std::string first = folder.path() / "first.mkv", second = folder.path() / "second.mkv",
                      poster = folder.path() / "poster.png";
    for (const std::string& file : {first, second}) {
        const Ran ran = video("--size 64x36 --from 0.61 --to 1.5 --lossless " + file);
        ASSERT_EQ(ran.status, 0) << ran.output;
    }
    EXPECT_EQ(frameHashes(first), frameHashes(second));
    // Frames are 25 ms apart: the first at or after 0.61 s is frame 26, the last before 1.5 s is frame 60.
    const std::string pixels = decode(first, "-map 0:v -f rawvideo -pix_fmt rgb24");
    constexpr std::size_t FRAME_BYTES = 64 * 36 * 3;
    ASSERT_EQ(pixels.size(), 35 * FRAME_BYTES);

    const Ran ran = video("--size 64x36 --poster 60 " + poster);
    ASSERT_EQ(ran.status, 0) << ran.output;
    EXPECT_TRUE(ran.output.ends_with("[*] Poster: " + poster + "\n")) << ran.output;
    EXPECT_EQ(decode(poster, "-f rawvideo -pix_fmt rgb24"), pixels.substr(34 * FRAME_BYTES));
    EXPECT_NE(pixels.substr(34 * FRAME_BYTES), pixels.substr(33 * FRAME_BYTES, FRAME_BYTES)) << "no other frame's";
}

// ---- What goes wrong ----------------------------------------------------------------------------------------------

TEST(Video, SaysWhatIsWrongBeforeItRenders) {
    const TempDir folder;
    const std::string out = folder.path() / "out.mp4";
    const struct {
        std::string arguments, message;
    } cases[] = {
        {"--size 1280 " + out, "--size is WIDTHxHEIGHT, such as 1280x720, not 1280"},
        {"--size 641x360 " + out, "--size needs an even width and height, not 641x360"},
        {"--size 99999x16 " + out, "--size is from 16x16 to 8192x8192, not 99999x16"},
        {"--from -1 " + out, "--from is a number of seconds, not -1"},
        {"--to 1e3 " + out, "--to is a number of seconds, not 1e3"},
        {"--from 9 --to 8 " + out, "--from 9 leaves nothing to show before 8"},
        {"--from 138 " + out, "--from 138 leaves nothing to show before the end at 137"},
        {"--crf 52 " + out, "--crf is from 0 to 51, not 52"},
        {"--crf 9 --lossless " + out, "--crf and --lossless: one of them"},
        {"--poster 0 out.png", "--poster is a frame from 1 to 5480, not 0"},
        {"--poster 1 " + out, "a poster is a .png file, not " + out},
        {"--size", "--size needs a value"},
        {"--fast " + out, "--fast is no option: ./video --help lists them"},
        {out + " b.mp4", "one output file, not two: " + out + ", b.mp4"},
        {"/tmp/out.avi", "the output is a .mp4, .webm or .mkv file, not /tmp/out.avi"},
        {folder.path() / "none/out.mp4", "there is no directory " + (folder.path() / "none").string()},
        {"/proc/out.mp4", "nothing can be written in /proc"},
        {"--demo " + folder.path().string() + " " + out,
         folder.path().string() + " is no run directory of the demo: it has no ryl"},
    };
    for (const auto& [arguments, message] : cases) {
        const Ran ran = video(arguments);
        EXPECT_EQ(ran.status, 1) << arguments;
        EXPECT_EQ(ran.output, "[!] " + message + "\n");
    }
    EXPECT_EQ(filesIn(folder.path()), 0);
}

// A PATH with everything that the machine has but `left out`, and with `script` in its place where there is one.
std::string pathWith(const TempDir& folder, const std::string& leftOut, const std::string& script) {
    for (const auto& entry : fs::directory_iterator("/usr/bin"))
        if (entry.path().filename() != leftOut)
            fs::create_symlink(entry.path(), folder.path() / entry.path().filename());
    if (!script.empty()) {
        folder.write(leftOut, "#!/bin/bash\n" + script);
        fs::permissions(folder.path() / leftOut, fs::perms::owner_all);
    }
    return "PATH=" + folder.path().string();
}

TEST(Video, SaysWhatTheMachineLacksAndLeavesNothing) {
    const struct {
        const char *command, *script, *message;
    } cases[] = {
        {"ffmpeg", "", "[!] there is no ffmpeg here\n"},
        {"ffmpeg", "echo ' V..... mpeg4     an encoder'", "[!] this ffmpeg has no encoder libx264\n"},
        {"ffmpeg", "echo 'no libavcodec' >&2; exit 127", "[!] ffmpeg does not start: no libavcodec\n"},
        {"ffmpeg",
         "case $* in *-encoders*) exec /usr/bin/ffmpeg $*; esac; head -c 100 >/dev/null; echo disk full; exit 1",
         "[!] encoding failed: disk full\n"},
        {"Xvfb", "", "[!] there is no Xvfb here\n"},
        {"Xvfb", "echo no fonts >&2; exit 1", "[!] Xvfb does not start: no fonts\n"},
        {"df", "echo Avail; echo 4096", "[!] no disk space: waiting frames may take 1 MiB in "},
        {"mktemp", "exit 1", "[!] nothing can be written in "},
    };
    for (const auto& [command, script, message] : cases) {
        const TempDir tools, folder, temporary;
        const Ran ran = video("--size 64x36 --to 60 " + (folder.path() / "out.mp4").string(),
                              pathWith(tools, command, script) + " TMPDIR=" + temporary.path().string());
        EXPECT_EQ(ran.status, 1) << ran.output;
        EXPECT_TRUE(ran.output.starts_with(message)) << ran.output;
        EXPECT_EQ(filesIn(folder.path()) + filesIn(temporary.path()), 0) << message;
    }
}

// The processes whose environment has the given entry.
std::vector<std::string> processesWith(const std::string& entry) {
    std::vector<std::string> found;
    for (const auto& process : fs::directory_iterator("/proc")) {
        std::ifstream file(process.path() / "environ", std::ios::binary);
        const std::string environment{std::istreambuf_iterator<char>(file), {}};
        if (environment.find(entry) != std::string::npos) found.push_back(process.path().filename());
    }
    return found;
}

TEST(Video, AnInterruptEndsEveryProcessAndKeepsTheOldFile) {
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        const TempDir folder, temporary;
        const std::string out = folder.write("out.mp4", "an earlier video");
        const std::string entry = "TMPDIR=" + temporary.path().string();
        const pid_t process = fork();
        if (process == 0) {
            // A group of its own: the signal goes to all of it, as a terminal sends it.
            setpgid(0, 0);
            putenv(const_cast<char*>(entry.c_str()));
            if (std::freopen((temporary.path() / "said").c_str(), "w", stderr) != nullptr)
                execl(RYL_VIDEO, RYL_VIDEO, "--demo", RYL_DEMO_DIR, "--size", "64x36", out.c_str(), nullptr);
            _exit(127);
        }
        const auto rendering = [&] {
            return std::ranges::any_of(fs::recursive_directory_iterator(temporary.path()),
                                       [](const auto& file) { return file.path().extension() == ".png"; });
        };
        for (int i = 0; i < 6000 && !rendering(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_GE(processesWith(entry).size(), 5U) << "script, stream, program, server, encoder";
        kill(-process, signalNumber);
        int ended = 0;
        waitpid(process, &ended, 0);
        EXPECT_EQ(WEXITSTATUS(ended), 128 + signalNumber);
        EXPECT_EQ(processesWith(entry), std::vector<std::string>{});
        EXPECT_EQ(run("cat " + (temporary.path() / "said").string()).output,
                  "[!] Stopped: " + out + " is not written.\n");
        EXPECT_EQ(filesIn(temporary.path()), 1);
        EXPECT_EQ(filesIn(folder.path()), 1);
        EXPECT_EQ(fs::file_size(out), 16U);
    }
}

}  // namespace
