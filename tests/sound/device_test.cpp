// Playing on an audio device that the test serves itself, or leaves alone.
#include "audio_device.h"
#include "mp3_stream.h"
#include "noise.h"
#include "playback.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <vector>

namespace {

constexpr int BUFFER = 1024, DEPTH = 2;
constexpr double RATE = 44100;

// A sound card with two buffers, in real time.
struct Card {
    FillAudio fill = nullptr;
    void* context = nullptr;
    bool lost = false;
    std::array<std::int16_t, std::size_t{2} * BUFFER> buffer{};  // what it got last
    double endMs = 0;                                            // when all it has will have been played
    Clock::time_point start = Clock::now();

    void serve() {
        while (endMs - msSince(start) < BUFFER / RATE * 1000 * (DEPTH - 1)) {
            fill(context, reinterpret_cast<unsigned char*>(buffer.data()), sizeof buffer);
            endMs = std::max(endMs, msSince(start)) + BUFFER / RATE * 1000;
        }
    }
};
Card card;
int setBack = 0;  // seconds by which the system's clock is wrong

}  // namespace

AudioDevice openAudioDevice(int /*rate*/, int /*channels*/, FillAudio fill, void* context) {
    card.fill = fill;
    card.context = context;
    return {1, BUFFER, true};
}
bool startAudio() { return true; }
void runAudioDevice(const AudioDevice& /*device*/) { card.serve(); }
bool audioDeviceLost(const AudioDevice& /*device*/) { return card.lost; }
bool closeAudioDevice(const AudioDevice& /*device*/) { return true; }
void stopAudio() {}
int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME) time->tv_sec -= setBack;
    return static_cast<int>(result);
}

namespace {

TEST(Device, PositionKeepsTheTimeWhateverBecomesOfItAndTheSoundIsWhereThePositionIs) {
    const TempDir folder;
    Mp3Stream tune;
    ASSERT_EQ(openMp3(noiseMp3(folder, "tune.mp3", 20, 44100, 2).c_str(), tune), Mp3Open::Ok);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(tune.frames) * 2);
    for (std::size_t at = 0; at < samples.size();)
        at += static_cast<std::size_t>(readMp3(tune, std::span(samples).subspan(at))) * 2;

    Playback& playback = *makePlayback(true);
    play(playback, tune, false);
    const auto idle = [&] { return playPosition(playback) / RATE * 1000; };
    const auto served = [&] {
        card.serve();
        return idle();
    };
    // Where in the tune the buffer handed over last is, in ms.
    const auto heard = [&] {
        const auto same = [](std::int16_t a, std::int16_t b) { return std::abs(a - b) <= 1; };
        const auto found = std::search(samples.begin(), samples.end(), card.buffer.begin(), card.buffer.end(), same);
        return static_cast<double>(found - samples.begin()) / 2 / RATE * 1000;
    };
    for (int i = 0; i < 3000; ++i, usleep(1000)) served();
    expectSmooth(500, served);
    EXPECT_NEAR(heard(), idle(), 60);

    setBack = 3600;
    expectSmooth(300, served);
    expectSmooth(1500, idle);  // it asks for nothing, longer than what is decoded lasts
    for (int i = 0; i < 500; ++i, usleep(1000)) card.serve();
    expectSmooth(500, served);
    EXPECT_NEAR(heard(), idle(), 60);

    card.lost = true;
    expectSmooth(300, idle);
    seekPlayback(playback, 441000);
    pausePlayback(playback, true);
    EXPECT_NEAR(idle(), 10000, TOLERANCE_MS);
    pausePlayback(playback, false);
    expectSmooth(300, served);
}

}  // namespace
