// The sound library through its interface, on SDL's drivers that need no hardware.
#include "child.h"
#include "command.h"
#include "fmod.h"
#include "mp3_stream.h"
#include "temp_dir.h"

#include <SDL.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// The test's own definition comes before that in the library.
bool deviceHangs = false;
void SDL_CloseAudioDevice(SDL_AudioDeviceID device) {
    while (deviceHangs) pause();
    reinterpret_cast<decltype(&SDL_CloseAudioDevice)>(dlsym(RTLD_NEXT, "SDL_CloseAudioDevice"))(device);
}

namespace {

constexpr unsigned int STREAM = FMOD_2D | FMOD_SOFTWARE | FMOD_CREATESTREAM, MS = FMOD_TIMEUNIT_MS;
constexpr const char* NO_DEVICE = "sound: no audio device, playing silently\n";

// Makes `seconds` of loud noise that never repeats, so that any two places differ. Returns the file's path.
std::string noiseMp3(const TempDir& folder, int seconds, int rate = 44100, int channels = 2) {
    const std::string path = folder.path() / (std::to_string(rate) + ".mp3");
    const std::string source = "anoisesrc=a=0.5:c=pink:seed=7:r=" + std::to_string(rate);
    run("ffmpeg -v error -f lavfi -i " + source + " -t " + std::to_string(seconds) + " -ac " +
        std::to_string(channels) + " " + path);
    return path;
}

// Every sample of the file, interleaved.
std::vector<std::int16_t> decoded(const std::string& path) {
    Mp3Stream stream;
    EXPECT_EQ(openMp3(path.c_str(), stream), Mp3Open::Ok);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(stream.frames * stream.channels));
    for (std::size_t at = 0; at < samples.size();)
        at += static_cast<std::size_t>(readMp3(stream, std::span(samples).subspan(at)) * stream.channels);
    closeMp3(stream);
    return samples;
}

// The last bit of a sample depends on what the decoder has decoded before.
bool sameSample(std::int16_t a, std::int16_t b) { return std::abs(a - b) <= 1; }

constexpr double TOLERANCE_MS = 5;  // how far a position may be off

using Clock = std::chrono::steady_clock;
double msSince(Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(Clock::now() - time).count();
}

// Sampled every millisecond for `ms`, the position (in ms) never goes back, never jumps and keeps the time.
template <typename Position>
void expectSmooth(double ms, Position position) {
    const Clock::time_point asked = Clock::now();
    const double first = position();
    const Clock::time_point answered = Clock::now();
    for (double last = first; msSince(asked) < ms; usleep(1000)) {
        const double least = first + msSince(answered) - TOLERANCE_MS, now = position();
        ASSERT_GE(now, std::max(last, least));
        ASSERT_LT(now, first + msSince(asked) + TOLERANCE_MS);
        last = now;
    }
}

struct Player {
    FMOD_SYSTEM* system = nullptr;
    FMOD_SOUND* sound = nullptr;
    FMOD_CHANNEL* channel = nullptr;

    FMOD_RESULT open(const std::string& path) {
        return FMOD_System_CreateSound(system, path.c_str(), STREAM, nullptr, &sound);
    }
    // The first call that fails, or FMOD_OK.
    FMOD_RESULT play(const char* driver, const std::string& path) {
        setenv("SDL_AUDIODRIVER", driver, 1);
        FMOD_RESULT result = system ? FMOD_OK : FMOD_System_Create(&system);
        if (result == FMOD_OK) result = FMOD_System_Init(system, 1, FMOD_INIT_NORMAL, nullptr);
        if (result == FMOD_OK || result == FMOD_ERR_INITIALIZED) result = open(path);
        return result == FMOD_OK ? FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, sound, 0, &channel) : result;
    }
    unsigned int position() const {
        unsigned int position = ~0U;
        EXPECT_EQ(FMOD_Channel_GetPosition(channel, &position, MS), FMOD_OK);
        return position;
    }
    void smooth(double ms) const {
        expectSmooth(ms, [&] { return static_cast<double>(position()); });
    }
    void standsStill(unsigned int ms) const {
        for (int i = 0; i < 100; ++i, usleep(1000)) ASSERT_EQ(position(), ms);
    }
    void seek(unsigned int ms) const {
        const Clock::time_point before = Clock::now();
        EXPECT_EQ(FMOD_Channel_SetPosition(channel, ms, MS), FMOD_OK);
        const unsigned int reached = position();
        EXPECT_GE(reached, ms);
        EXPECT_LT(reached, ms + msSince(before) + TOLERANCE_MS);
    }
};

TEST(Sound, PositionIsInTimeThroughPausesSeeksAndTheEnd) {
    const TempDir folder;
    const std::string tune = noiseMp3(folder, 6), other = noiseMp3(folder, 2, 22050, 1);
    for (const char* driver : {"dummy", "nonexistent"}) {
        Player player;
        ASSERT_EQ(player.play(driver, tune), FMOD_OK);
        player.smooth(3000);
        FMOD_Channel_SetPaused(player.channel, 1);
        player.standsStill(player.position());
        player.seek(2222);
        player.standsStill(2222);
        FMOD_BOOL paused = 0;
        FMOD_Channel_GetPaused(player.channel, &paused);
        EXPECT_EQ(paused, 1);
        FMOD_Channel_SetPaused(player.channel, 0);
        for (const unsigned int target : {3000U, 1U, 4567U, 0U}) {
            player.seek(target);
            player.smooth(200);
        }
        unsigned int length = 0;
        EXPECT_EQ(FMOD_Sound_GetLength(player.sound, &length, MS), FMOD_OK);
        EXPECT_EQ(length, 6000U);
        player.seek(length - 50);
        usleep(100000);
        player.standsStill(length);
        EXPECT_EQ(FMOD_Channel_SetPosition(player.channel, length + 1, MS), FMOD_ERR_POSITION);
        player.seek(5000);
        player.smooth(100);
        ASSERT_EQ(player.play(driver, other), FMOD_OK);  // of another format, so on another device
        EXPECT_LT(player.position(), 100U);
        player.smooth(300);
    }
}

// What SDL's disk driver has recorded but for requests that got silence.
std::vector<std::int16_t> recorded(const std::string& path, std::size_t channels) {
    const std::string bytes = run("cat " + path).output;
    std::vector<std::int16_t> samples, block(256 * channels);  // the smallest request
    for (std::size_t at = 0; at + block.size() * 2 <= bytes.size(); at += block.size() * 2) {
        std::memcpy(block.data(), bytes.data() + at, block.size() * 2);
        if (std::ranges::any_of(block, [](int sample) { return sample != 0; }))
            samples.insert(samples.end(), block.begin(), block.end());
    }
    return samples;
}

TEST(Sound, PlaysTheDecodedFileSampleForSample) {
    for (const auto& [rate, channels] : {std::pair{44100, 2}, std::pair{48000, 1}, std::pair{8000, 2}}) {
        const TempDir folder;
        const std::string path = noiseMp3(folder, 12, rate, channels), disk = folder.path() / "recording.raw";
        setenv("SDL_DISKAUDIOFILE", disk.c_str(), 1);
        setenv("SDL_DISKAUDIODELAY", "4", 1);
        Player player;
        ASSERT_EQ(player.play("disk", path), FMOD_OK);
        const long second = rate * channels;
        const auto record = [&](long ms) {
            const auto size = [&] { return static_cast<long>(std::filesystem::file_size(disk)); };
            const long target = size() + second * 2 / 1000 * ms;
            for (int i = 0; i < 6000 && size() < target; ++i) usleep(10000);
        };
        record(500);
        FMOD_Channel_SetPaused(player.channel, 1);
        record(250);
        FMOD_Channel_SetPaused(player.channel, 0);
        record(500);
        constexpr long TARGETS[] = {4567, 17, 9999, 10777};
        for (const long target : TARGETS) {
            // Comes while the decoder is at work on another.
            FMOD_Channel_SetPosition(player.channel, 3210, MS);
            usleep(static_cast<unsigned int>(target) % 1000);
            FMOD_Channel_SetPosition(player.channel, static_cast<unsigned int>(target), MS);
            record(250);
        }
        record(2000);

        const std::vector<std::int16_t> stream = decoded(path),
                                        heard = recorded(disk, static_cast<std::size_t>(channels));
        ASSERT_GT(static_cast<long>(heard.size()), second);
        EXPECT_TRUE(std::equal(heard.begin(), heard.begin() + second * 3 / 4, stream.begin(), sameSample)) << "pause";
        for (const long target : TARGETS) {
            const auto from = stream.begin() + (rate * target + 999) / 1000 * channels;
            const auto to = target == TARGETS[3] ? stream.end() : from + second / 8;
            EXPECT_NE(std::search(heard.begin(), heard.end(), from, to, sameSample), heard.end()) << target;
        }
    }
}

TEST(Sound, WhatCannotBePlayedGivesACodeAndWhatBreaksOffPlaysOn) {
    const TempDir folder;
    const std::string mp3 = run("cat " + noiseMp3(folder, 2)).output, path = folder.path();
    Player player;
    EXPECT_EQ(player.open(path), FMOD_ERR_NULL_HANDLE);
    EXPECT_EQ(FMOD_System_Create(&player.system), FMOD_OK);
    EXPECT_EQ(player.open(path), FMOD_ERR_NOT_INITIALIZED);
    EXPECT_EQ(FMOD_System_Init(player.system, 1, 1, nullptr), FMOD_ERR_UNSUPPORTED);
    EXPECT_EQ(FMOD_Channel_SetPaused(player.channel, 1), FMOD_ERR_NULL_HANDLE);
    const std::pair<std::string, FMOD_RESULT> files[] = {
        {folder.write("empty.mp3", ""), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("zeros.mp3", std::string(200000, '\0')), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("cut.mp3", mp3.substr(0, 300)), FMOD_ERR_FILE_NOT_MP3},
        {folder.write("tag.mp3", std::string("ID3\x04\0\0\x7f\x7f\x7f\x7f", 10) + "TIT2"), FMOD_ERR_FILE_NOT_MP3},
        {"/proc/self/mem", FMOD_ERR_FILE_UNREADABLE},
        {path, FMOD_ERR_FILE_UNREADABLE},
        {path + "/none.mp3", FMOD_ERR_FILE_NOT_FOUND},
    };
    for (const auto& [name, code] : files) {
        EXPECT_EQ(player.play("dummy", name), code) << name;
        EXPECT_STRNE(FMOD_ErrorString(code), FMOD_ErrorString(static_cast<FMOD_RESULT>(99)));
    }
    EXPECT_STREQ(FMOD_ErrorString(FMOD_ERR_FILE_NOT_FOUND), "The file was not found.");
    ASSERT_EQ(player.play("dummy",
                          folder.write("hole.mp3", mp3.substr(0, 9000) + std::string(3000, '\0') + mp3.substr(9000))),
              FMOD_OK);
    std::filesystem::resize_file(folder.path() / "hole.mp3", 15000);
    player.seek(1000);
    player.smooth(300);
}

TEST(Sound, ExitEndsAPlayingSoundThoughTheDeviceHangsAndAMissingDeviceIsOneLine) {
    const TempDir folder;
    const std::string path = noiseMp3(folder, 2);
    for (const char* driver : {"dummy", "alsa", "nonexistent"}) {
        const ChildResult result = runInChild([&] {
            deviceHangs = true;
            Player player;
            if (player.play(driver, path) != FMOD_OK) exit(1);
        });
        EXPECT_EQ(result.status, 0) << driver << ", signal " << result.signal;
        EXPECT_EQ(result.output + result.errors, *driver == 'd' ? "" : NO_DEVICE);
    }
}

TEST(SharedObject, ExportsTheInterfaceAloneUnderItsRelativeName) {
    EXPECT_EQ(
        run("nm -D --defined-only libs/libfmodex.so | awk '{ print $2, substr($3, 1, 5) }' | sort | uniq -c").output,
        "     11 T FMOD_\n");
    EXPECT_EQ(run("readelf -d libs/libfmodex.so | grep -c 'soname: .libs/libfmodex.so.'").output, "1\n");
}

}  // namespace
