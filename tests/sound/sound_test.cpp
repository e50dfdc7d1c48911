// The sound library through its interface, on SDL's drivers that need no hardware.
#include "fmod.h"

#include "child.h"
#include "make_mp3.h"
#include "player.h"
#include "temp_dir.h"

#include <SDL.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* NO_DEVICE = "sound: no audio device, playing silently\n";

class EveryOutput : public testing::TestWithParam<const char*> {
protected:
    TempDir folder;
    // 6001.0 ms: 1 ms is 44.1 frames.
    std::string tune = folder.write("tune.mp3", makeMp3({}, 264645));
    FMOD_SYSTEM* system = startSystem(GetParam());
    FMOD_SOUND* sound = openSound(system, tune);
};

TEST_P(EveryOutput, PositionIsSmoothAndInTime) {
    FMOD_CHANNEL* channel = playSound(system, sound);
    expectSmooth(channel, 3s);
}

TEST_P(EveryOutput, PauseStandsStillAndResumeGoesOnFromThere) {
    FMOD_CHANNEL* channel = playSound(system, sound);
    std::this_thread::sleep_for(100ms);
    setPaused(channel, true);
    FMOD_BOOL paused = 0;
    EXPECT_EQ(FMOD_Channel_GetPaused(channel, &paused), FMOD_OK);
    EXPECT_EQ(paused, 1);
    expectStandsStill(channel);
    const unsigned int stand = positionOf(channel);
    const Clock::time_point before = Clock::now();
    setPaused(channel, false);
    EXPECT_EQ(FMOD_Channel_GetPaused(channel, &paused), FMOD_OK);
    EXPECT_EQ(paused, 0);
    const Sample resumed = sample(channel);
    EXPECT_GE(resumed.position, stand);
    EXPECT_LT(resumed.position, stand + toMs(resumed.after - before) + TOLERANCE_MS);
    expectSmooth(channel, 300ms);
}

TEST_P(EveryOutput, SeeksExactlyBothWaysAndWhilePaused) {
    FMOD_CHANNEL* channel = playSound(system, sound);
    for (const unsigned int target : {3000U, 1U, 0U, 4567U, 4568U}) expectSeek(channel, target);
    setPaused(channel, true);
    for (const unsigned int target : {2222U, 5999U, 0U, 17U}) {
        seek(channel, target);
        EXPECT_EQ(positionOf(channel), target);
    }
    expectStandsStill(channel);
    setPaused(channel, false);
    expectSmooth(channel, 300ms);
}

TEST_P(EveryOutput, StandsAtTheLengthAndPlaysOnAfterASeekBack) {
    const unsigned int length = lengthOf(sound);
    EXPECT_EQ(length, 6001U);
    FMOD_CHANNEL* channel = playSound(system, sound);
    seek(channel, length - 100);
    playUntil(channel, length);
    expectStandsStill(channel);
    EXPECT_EQ(positionOf(channel), length);
    EXPECT_EQ(FMOD_Channel_SetPosition(channel, length + 1, FMOD_TIMEUNIT_MS), FMOD_ERR_POSITION);
    EXPECT_EQ(positionOf(channel), length);
    expectSeek(channel, 5000);
    seek(channel, length);
    EXPECT_EQ(positionOf(channel), length);
}

TEST_P(EveryOutput, PlayingAgainRestartsFromZero) {
    FMOD_CHANNEL* channel = playSound(system, sound);
    seek(channel, 3000);
    setPaused(channel, true);
    const Clock::time_point before = Clock::now();
    EXPECT_EQ(playSound(system, sound), channel);
    const Sample first = sample(channel);
    EXPECT_LT(first.position, toMs(first.after - before) + TOLERANCE_MS);
    expectSmooth(channel, 200ms);
    // Another format takes another device.
    FMOD_SOUND* slow = openSound(system, folder.write("slow.mp3", makeMp3({22050, 1, 64}, 44100)));
    EXPECT_EQ(lengthOf(slow), 2000U);
    playSound(system, slow, true);
    expectStandsStill(channel);
    EXPECT_EQ(positionOf(channel), 0U);
    setPaused(channel, false);
    expectSmooth(channel, 300ms);
    EXPECT_EQ(FMOD_Channel_SetPosition(channel, 2001, FMOD_TIMEUNIT_MS), FMOD_ERR_POSITION);
}

INSTANTIATE_TEST_SUITE_P(Sound, EveryOutput, testing::Values("dummy", "nonexistent"),
                         [](const auto& info) { return std::string(info.param); });

// What SDL's disk driver has recorded so far, in frames of `channels` samples.
class Recording {
public:
    Recording(const TempDir& folder, int channels) : path(folder.path() / "recording.raw"), channels(channels) {
        setenv("SDL_DISKAUDIOFILE", path.c_str(), 1);
    }

    std::size_t frames() const {
        std::error_code none;
        const auto bytes = std::filesystem::file_size(path, none);
        return none ? 0 : bytes / sizeof(std::int16_t) / static_cast<std::size_t>(channels);
    }

    // Waits until `more` frames have been recorded after those that are there now.
    void waitFor(std::size_t more) const {
        const std::size_t target = frames() + more;
        for (int i = 0; frames() < target && i < 6000; ++i) std::this_thread::sleep_for(10ms);
        ASSERT_GE(frames(), target);
    }

    std::vector<std::int16_t> read() const {
        std::vector<std::int16_t> samples(frames() * static_cast<std::size_t>(channels));
        std::ifstream(path, std::ios::binary)
            .read(reinterpret_cast<char*>(samples.data()), static_cast<long>(samples.size() * sizeof(std::int16_t)));
        return samples;
    }

private:
    std::filesystem::path path;
    int channels;
};

// The decoder's filter adds up in an order that depends on what it has decoded before, which the last bit of a
// sample may show.
constexpr int LAST_BIT = 1;

// A walk along the recording in blocks: every device asks for whole ones, so the stream starts and stops between
// two.
struct Walk {
    std::vector<std::int16_t> recorded;
    std::size_t block;  // samples
    std::size_t at = 0;

    // Whether the next block is these samples, and silence after them.
    bool nextIs(const std::int16_t* stream, std::size_t samples) const {
        if (at + block > recorded.size()) return false;
        for (std::size_t i = 0; i < block; ++i)
            if (std::abs(recorded[at + i] - (i < samples ? stream[i] : 0)) > LAST_BIT) return false;
        return true;
    }

    void skipSilence() {
        while (nextIs(nullptr, 0)) at += block;
    }

    // How many samples from here on are those of `stream` from `from` on.
    std::size_t follow(const std::vector<std::int16_t>& stream, std::size_t from) {
        std::size_t followed = 0;
        while (from + followed < stream.size()) {
            const std::size_t samples = std::min(block, stream.size() - from - followed);
            if (!nextIs(stream.data() + from + followed, samples)) break;
            at += block;
            followed += samples;
        }
        return followed;
    }
};

constexpr std::size_t SMALLEST_REQUEST = 256;  // frames; larger ones are multiples

constexpr int SECONDS = 12;
constexpr unsigned int DECOY_MS = 3210;
constexpr std::array<unsigned int, 6> TARGETS_MS = {4567, 17, 5001, 0, 9999, 10777};

class EveryFormat : public testing::TestWithParam<Mp3Format> {};

TEST_P(EveryFormat, PlaysTheDecodedFileSampleForSample) {
    const Mp3Format format = GetParam();
    const TempDir folder;
    const std::string path = folder.write("tune.mp3", makeMp3(format, format.rate * SECONDS));
    const std::vector<std::int16_t> stream = decodeWhole(path);
    const auto rate = static_cast<std::size_t>(format.rate);
    const auto channels = static_cast<std::size_t>(format.channels);
    // The sample at which a seek to `ms` starts: of the first frame that is not before it.
    const auto sampleAt = [&](unsigned int ms) { return (rate * ms + 999) / 1000 * channels; };
    setenv("SDL_DISKAUDIODELAY", "4", 1);
    const Recording recording(folder, format.channels);

    FMOD_SYSTEM* system = startSystem("disk");
    FMOD_SOUND* sound = openSound(system, path);
    EXPECT_EQ(lengthOf(sound), stream.size() / channels * 1000 / rate);
    FMOD_CHANNEL* channel = playSound(system, sound);
    recording.waitFor(rate / 4);
    setPaused(channel, true);
    recording.waitFor(rate / 4);
    setPaused(channel, false);
    recording.waitFor(rate / 4);
    // Each seek comes while the decoder is at work on another.
    auto pause = 0us;
    for (const unsigned int target : TARGETS_MS) {
        seek(channel, DECOY_MS);
        std::this_thread::sleep_for(pause += 150us);
        seek(channel, target);
        recording.waitFor(rate / 4);
    }
    recording.waitFor(rate * 2);

    Walk walk{recording.read(), SMALLEST_REQUEST * channels};
    walk.skipSilence();
    const std::size_t beforePause = walk.follow(stream, 0);
    EXPECT_GT(beforePause, rate * channels / 8);
    walk.skipSilence();
    EXPECT_GT(walk.follow(stream, beforePause), rate * channels / 8);
    for (const unsigned int target : TARGETS_MS) {
        walk.follow(stream, sampleAt(DECOY_MS));  // if the device asked in between
        const std::size_t followed = walk.follow(stream, sampleAt(target));
        EXPECT_GT(followed, rate * channels / 8) << "after the seek to " << target;
        if (target == TARGETS_MS.back()) {
            EXPECT_EQ(followed, stream.size() - sampleAt(target));
        }
    }
    walk.skipSilence();
    EXPECT_EQ(walk.at, walk.recorded.size());
}

INSTANTIATE_TEST_SUITE_P(Sound, EveryFormat,
                         testing::Values(Mp3Format{44100, 2, 128}, Mp3Format{48000, 1, 96}, Mp3Format{22050, 2, 64},
                                         Mp3Format{8000, 1, 24}),
                         [](const auto& info) {
                             return std::to_string(info.param.rate) + "x" + std::to_string(info.param.channels);
                         });

std::string randomBytes(int count) {
    std::mt19937 random{3};
    std::string bytes;
    for (int i = 0; i < count; ++i) bytes += static_cast<char>(random());
    return bytes;
}

TEST(Sound, FilesThatCannotBePlayedGiveACode) {
    const TempDir folder;
    const std::string mp3 = makeMp3({}, 44100);
    const std::pair<const char*, std::string> files[] = {
        {"empty.mp3", ""},
        {"text.mp3", std::string(5000, 'x')},
        {"zeros.mp3", std::string(200000, '\0')},
        {"random.mp3", randomBytes(200000)},
        {"first-frame-cut.mp3", mp3.substr(0, 300)},
        {"tag-without-stream.mp3", std::string("ID3\x04\0\0\x7f\x7f\x7f\x7f", 10) + "TIT2"},
        {"tag-alone.mp3", "TAG" + std::string(125, ' ')},
    };
    FMOD_SYSTEM* system = startSystem("dummy");
    FMOD_SOUND* sound = nullptr;
    const auto open = [&](const std::string& path) {
        return FMOD_System_CreateSound(system, path.c_str(), STREAM, nullptr, &sound);
    };
    for (const auto& [name, bytes] : files) EXPECT_EQ(open(folder.write(name, bytes)), FMOD_ERR_FILE_NOT_MP3) << name;
    const std::string pipe = folder.path() / "pipe.mp3";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(open(pipe), FMOD_ERR_FILE_UNREADABLE);
    EXPECT_EQ(open(folder.path()), FMOD_ERR_FILE_UNREADABLE);
    EXPECT_EQ(open(folder.path() / "none.mp3"), FMOD_ERR_FILE_NOT_FOUND);
    EXPECT_EQ(open(folder.path() / "empty.mp3" / "below-a-file.mp3"), FMOD_ERR_FILE_NOT_FOUND);
    EXPECT_EQ(open(""), FMOD_ERR_FILE_NOT_FOUND);
    EXPECT_EQ(sound, nullptr);
}

TEST(Sound, EveryCodeHasASentenceOfItsOwn) {
    // One code more than there are: its sentence is for all unknown ones.
    std::set<std::string> sentences;
    for (int code = FMOD_OK; code <= FMOD_ERR_RESOURCES + 1; ++code)
        sentences.insert(FMOD_ErrorString(static_cast<FMOD_RESULT>(code)));
    EXPECT_EQ(sentences.size(), static_cast<std::size_t>(FMOD_ERR_RESOURCES) + 2);
    EXPECT_STREQ(FMOD_ErrorString(FMOD_ERR_FILE_NOT_FOUND), "The file was not found.");
}

TEST(Sound, WrongArgumentsGiveACodeAndChangeNothing) {
    const TempDir folder;
    const std::string path = folder.write("tune.mp3", makeMp3({}, 44100));
    const char* name = path.c_str();
    constexpr unsigned int MS = FMOD_TIMEUNIT_MS;
    constexpr unsigned int OTHER = 2;  // unit, flag or mode
    FMOD_SYSTEM* system = startSystem("dummy");
    FMOD_SYSTEM* idle = nullptr;
    FMOD_SOUND* none = nullptr;
    FMOD_CHANNEL* nowhere = nullptr;
    unsigned int number = 7;
    FMOD_BOOL flag = 7;
    ASSERT_EQ(FMOD_System_Create(&idle), FMOD_OK);
    FMOD_SOUND* sound = openSound(system, path);
    FMOD_CHANNEL* channel = playSound(system, sound, true);

    const std::pair<FMOD_RESULT, std::vector<FMOD_RESULT>> expectations[] = {
        {FMOD_ERR_NULL_HANDLE,
         {FMOD_System_GetVersion(nullptr, &number), FMOD_System_Init(nullptr, 1, FMOD_INIT_NORMAL, nullptr),
          FMOD_System_CreateSound(nullptr, name, STREAM, nullptr, &none),
          FMOD_System_PlaySound(nullptr, FMOD_CHANNEL_FREE, sound, 0, &nowhere),
          FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, nullptr, 0, &nowhere),
          FMOD_Sound_GetLength(nullptr, &number, MS), FMOD_Channel_GetPosition(nullptr, &number, MS),
          FMOD_Channel_SetPosition(nullptr, 0, MS), FMOD_Channel_GetPaused(nullptr, &flag),
          FMOD_Channel_SetPaused(nullptr, 1)}},
        {FMOD_ERR_PARAMETER,
         {FMOD_System_Create(nullptr), FMOD_System_Init(idle, 0, FMOD_INIT_NORMAL, nullptr),
          FMOD_System_CreateSound(system, nullptr, STREAM, nullptr, &none),
          FMOD_System_CreateSound(system, name, STREAM, nullptr, nullptr),
          FMOD_System_PlaySound(system, 1, sound, 0, &nowhere),
          FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, sound, 0, nullptr),
          FMOD_System_PlaySound(idle, FMOD_CHANNEL_FREE, sound, 0, &nowhere),
          FMOD_Channel_GetPosition(channel, nullptr, MS), FMOD_Channel_GetPaused(channel, nullptr)}},
        {FMOD_ERR_UNSUPPORTED,
         {FMOD_System_Init(idle, 1, OTHER, nullptr),
          FMOD_System_CreateSound(system, name, STREAM | OTHER, nullptr, &none),
          FMOD_Sound_GetLength(sound, &number, OTHER), FMOD_Channel_GetPosition(channel, &number, OTHER),
          FMOD_Channel_SetPosition(channel, 10, OTHER)}},
        {FMOD_ERR_NOT_INITIALIZED, {FMOD_System_CreateSound(idle, name, STREAM, nullptr, &none)}},
        {FMOD_ERR_INITIALIZED, {FMOD_System_Init(system, 1, FMOD_INIT_NORMAL, nullptr)}},
        {FMOD_ERR_POSITION, {FMOD_Channel_SetPosition(channel, ~0U, MS)}},
    };
    for (const auto& [expected, results] : expectations)
        EXPECT_EQ(results, std::vector<FMOD_RESULT>(results.size(), expected));
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(nowhere, nullptr);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(flag, 7);
    EXPECT_EQ(positionOf(channel), 0U);
}

TEST(Sound, ABrokenStreamPlaysWhatThereIsAndThePositionGoesOn) {
    const TempDir folder;
    const std::string whole = makeMp3({}, 88200);
    const std::size_t middle = whole.size() / 2;
    const std::string broken[] = {
        whole.substr(0, middle) + std::string(2000, '\0') + whole.substr(middle + 2000),
        whole.substr(0, middle) + randomBytes(2000) + whole.substr(middle + 2000),
        whole.substr(0, middle) + randomBytes(100000),
        whole.substr(0, middle),
        makeMp3({}, 44100) + makeMp3({22050, 1, 64}, 44100) + makeMp3({48000, 2, 64}, 48000),
    };
    FMOD_SYSTEM* system = startSystem("dummy");
    for (const std::string& bytes : broken) {
        FMOD_SOUND* sound = openSound(system, folder.write("tune.mp3", bytes));
        const unsigned int length = lengthOf(sound);
        EXPECT_GT(length, 900U);
        FMOD_CHANNEL* channel = playSound(system, sound);
        seek(channel, length - 800);
        expectSmooth(channel, 300ms);
    }
    // Cut short while it plays.
    const std::string path = folder.write("tune.mp3", whole);
    FMOD_CHANNEL* channel = playSound(system, openSound(system, path));
    std::filesystem::resize_file(path, 3000);
    expectSeek(channel, 1500);
    expectSeek(channel, 0);
}

TEST(Sound, ExitEndsAPlayingSoundAtOnce) {
    const TempDir folder;
    const std::string path = folder.write("tune.mp3", makeMp3({}, 88200));
    setenv("SDL_DISKAUDIOFILE", "/dev/null", 1);
    for (const std::string driver : {"dummy", "disk", "nonexistent"}) {
        const std::function<void()> endings[] = {
            [&] { startSystem(driver); },
            [&] { openSound(startSystem(driver), path); },
            [&] { play(driver, path); },
            [&] { seek(play(driver, path), 1000); },
            [&] { setPaused(play(driver, path), true); },
            [&] {
                play(driver, path);
                std::this_thread::sleep_for(100ms);
            },
        };
        for (const auto& ending : endings) {
            const ChildResult result = runInChild(ending);
            EXPECT_EQ(result.status, 0) << driver << ", signal " << result.signal << "\n" << result.errors;
            if (driver == "nonexistent") {
                EXPECT_EQ(result.errors, NO_DEVICE);
            }
        }
    }
}

// ALSA's own complaints, a page of them, are not to be seen.
TEST(Sound, AMissingSoundCardIsOneLineOnStandardError) {
    const TempDir folder;
    const std::string path = folder.write("tune.mp3", makeMp3({}, 44100));
    setenv("ALSA_CONFIG_PATH", folder.write("asound.conf", "").c_str(), 1);
    const ChildResult result = runInChild([&] {
        play("alsa", path);
        play("alsa", path);
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.errors, NO_DEVICE);
}

TEST(Sound, TakesNeitherSignalsNorTheVideoSubsystem) {
    startSystem("dummy");
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        EXPECT_EQ(action.sa_handler, SIG_DFL);
    }
    EXPECT_EQ(SDL_WasInit(SDL_INIT_VIDEO), 0U);
    EXPECT_NE(SDL_WasInit(SDL_INIT_AUDIO), 0U);
}

std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) output += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

TEST(SharedObject, ExportsTheInterfaceAloneUnderItsRelativeName) {
    EXPECT_EQ(outputOf("nm -D --defined-only libs/libfmodex.so | sed 's/.* //' | LC_ALL=C sort"),
              "FMOD_Channel_GetPaused\nFMOD_Channel_GetPosition\nFMOD_Channel_SetPaused\n"
              "FMOD_Channel_SetPosition\nFMOD_ErrorString\nFMOD_Sound_GetLength\nFMOD_System_Create\n"
              "FMOD_System_CreateSound\nFMOD_System_GetVersion\nFMOD_System_Init\nFMOD_System_PlaySound\n");
    const std::string needed = "Shared library: [libs/libfmodex.so]";
    EXPECT_NE(outputOf("readelf -d libs/libfmodex.so").find("soname: [libs/libfmodex.so]"), std::string::npos);
    EXPECT_NE(outputOf("readelf -d /proc/" + std::to_string(getpid()) + "/exe").find(needed), std::string::npos);
}

}  // namespace
