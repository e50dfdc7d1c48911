// Playing on an audio device that the test serves itself, or leaves alone.
#include "audio_device.h"
#include "noise.h"
#include "playback.h"

#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <ctime>

namespace {

constexpr double RATE = 44100, BUFFER_MS = 1024 / RATE * 1000;

// A sound card with two buffers, in real time.
struct Card {
    FillAudio fill = nullptr;
    void* context = nullptr;
    bool lost = false;
    std::array<std::int16_t, 2048> buffer{};  // what it got last
    double endMs = 0;                         // when all it has will have been played
    Clock::time_point start = Clock::now();

    void serve() {
        for (; endMs - msSince(start) < BUFFER_MS; endMs = std::max(endMs, msSince(start)) + BUFFER_MS)
            fill(context, reinterpret_cast<unsigned char*>(buffer.data()), sizeof buffer);
    }
};
Card card;
int setBack = 0;  // seconds by which the system's clock is wrong

}  // namespace

AudioDevice openAudioDevice(int /*rate*/, int /*channels*/, FillAudio fill, void* context) {
    card.fill = fill;
    card.context = context;
    return {1, 1024, true};
}
void runAudioDevice(const AudioDevice& /*device*/) { card.serve(); }
bool audioDeviceLost(const AudioDevice& /*device*/) { return card.lost; }
bool closeAudioDevice(const AudioDevice& /*device*/) { return true; }
int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto result = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME) time->tv_sec -= setBack;
    return static_cast<int>(result);
}

TEST(Device, PositionKeepsTheTimeWhateverBecomesOfItAndTheSoundIsWhereThePositionIs) {
    const TempDir folder;
    const std::string path = noiseMp3(folder, 20);
    const std::vector<std::int16_t> samples = decoded(path);
    static Mp3Stream tune;
    ASSERT_EQ(openMp3(path.c_str(), tune), Mp3Open::Ok);
    static Playback& playback = *makePlayback(true);
    play(playback, tune, false);
    const auto idle = [&] { return playPosition(playback) / RATE * 1000; };
    const auto served = [&] {
        card.serve();
        return idle();
    };
    const auto expectSoundAtPosition = [&] {
        const auto found =
            std::search(samples.begin(), samples.end(), card.buffer.begin(), card.buffer.end(), sameSample);
        EXPECT_NEAR(static_cast<double>(found - samples.begin()) / 2 / RATE * 1000, idle(), 3 * BUFFER_MS);
    };
    for (int i = 0; i < 2000; ++i, usleep(1000)) served();
    expectSmooth(500, served);
    expectSoundAtPosition();

    setBack = 3600;
    expectSmooth(300, served);
    expectSmooth(1500, idle);  // it asks for nothing, longer than what is decoded lasts
    for (int i = 0; i < 500; ++i, usleep(1000)) card.serve();
    expectSmooth(500, served);
    expectSoundAtPosition();

    card.lost = true;
    expectSmooth(300, idle);
    seekPlayback(playback, 441000);
    EXPECT_NEAR(idle(), 10000, TOLERANCE_MS);
    expectSmooth(300, served);
}
