// The sound library on an audio device that the test can stall or take away. SDL's audio functions are defined here, and
// the loader prefers a program's own definitions to those of the libraries it needs.
#include "child.h"
#include "make_mp3.h"
#include "player.h"
#include "temp_dir.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A sound card with two buffers, in real time. Its thread is left behind when the process ends, as a hung one would be.
struct Card {
    SDL_AudioSpec spec{};
    std::atomic<bool> running{false};
    std::atomic<bool> asks{true};
    std::atomic<bool> lost{false};
    std::mutex lock;
    std::vector<std::int16_t> handed;  // everything the library has handed over
};

Card& card() {
    static Card& only = *new Card;
    return only;
}

void runCard() {
    Card& device = card();
    std::vector<std::int16_t> buffer(std::size_t{device.spec.samples} * device.spec.channels);
    const auto period = std::chrono::nanoseconds(1'000'000'000LL * device.spec.samples / device.spec.freq);
    // When what it holds has been played.
    Clock::time_point empty = Clock::now();
    for (;; std::this_thread::sleep_for(1ms)) {
        if (!device.running || !device.asks || empty - Clock::now() > period) continue;
        const std::lock_guard held(device.lock);
        device.spec.callback(device.spec.userdata, reinterpret_cast<Uint8*>(buffer.data()),
                             static_cast<int>(buffer.size() * sizeof(std::int16_t)));
        empty = std::max(empty, Clock::now()) + period;
        device.handed.insert(device.handed.end(), buffer.begin(), buffer.end());
    }
}

}  // namespace

int SDL_InitSubSystem(Uint32 /*flags*/) { return 0; }
SDL_bool SDL_SetHint(const char* /*name*/, const char* /*value*/) { return SDL_TRUE; }
const char* SDL_GetCurrentAudioDriver() { return "card"; }
SDL_AudioDeviceID SDL_OpenAudioDevice(const char* /*device*/, int /*capture*/, const SDL_AudioSpec* desired,
                                      SDL_AudioSpec* /*obtained*/, int /*changes*/) {
    card().spec = *desired;
    std::thread(runCard).detach();
    return 1;
}
void SDL_PauseAudioDevice(SDL_AudioDeviceID /*device*/, int pause_on) { card().running = pause_on == 0; }
SDL_AudioStatus SDL_GetAudioDeviceStatus(SDL_AudioDeviceID /*device*/) {
    return card().lost ? SDL_AUDIO_STOPPED : SDL_AUDIO_PLAYING;
}
void SDL_CloseAudioDevice(SDL_AudioDeviceID /*device*/) {
    if (!card().asks && !card().lost) std::abort();  // would wait for ever for a card that hangs
    card().running = false;
}
void SDL_QuitSubSystem(Uint32 /*flags*/) { SDL_CloseAudioDevice(1); }

namespace {

class Device : public testing::Test {
protected:
    TempDir folder;
    std::string path = folder.write("tune.mp3", makeMp3({}, 44100 * 20));
    FMOD_CHANNEL* channel = nullptr;

    void start() { channel = play("card", path); }

    // Stops the card and waits until the library has noticed, which shows in the position: it goes on.
    void stall() const {
        card().asks = false;
        std::this_thread::sleep_for(200ms);
        playUntil(channel, positionOf(channel) + 50);
    }
};

// The stream's frame, to the nearest, that the last frames handed over are; -1 for none.
long lastFrameHanded(const std::vector<std::int16_t>& stream) {
    constexpr long PIECE = 256;
    const std::lock_guard held(card().lock);
    const auto same = [](std::int16_t a, std::int16_t b) { return std::abs(a - b) <= 1; };
    const auto found =
        std::search(stream.begin(), stream.end(), card().handed.end() - PIECE, card().handed.end(), same);
    return found == stream.end() ? -1 : (found - stream.begin() + PIECE) / 2;
}

TEST_F(Device, PositionIsWhatHasLeftTheCardsQueue) {
    start();
    const std::vector<std::int16_t> stream = decodeWhole(path);
    for (const unsigned int start : {0U, 12000U, 3000U}) {
        seek(channel, start);
        EXPECT_EQ(positionOf(channel), start);
        playUntil(channel, start + 300);
        // It never passes what was handed over, and stays within the two buffers before that, and a late request.
        const unsigned int earlier = positionOf(channel);
        const long handed = lastFrameHanded(stream);
        const unsigned int later = positionOf(channel);
        EXPECT_LE(earlier, handed / 44.1 + 1);
        EXPECT_GT(later, handed / 44.1 - 200);
    }
}

TEST_F(Device, PositionGoesOnWhenTheCardIsLost) {
    start();
    playUntil(channel, 200);
    card().lost = true;
    card().asks = false;
    expectSmooth(channel, 300ms);
    expectSeek(channel, 9000);
    setPaused(channel, true);
    expectStandsStill(channel);
    setPaused(channel, false);
    expectSmooth(channel, 300ms);
}

TEST_F(Device, PositionGoesOnWhenTheCardHangsAndTheSoundCatchesUpWhenItPlaysAgain) {
    start();
    playUntil(channel, 200);
    stall();
    expectSmooth(channel, 300ms);
    const unsigned int before = positionOf(channel);
    card().asks = true;
    playUntil(channel, before + 500);
    const long handed = lastFrameHanded(decodeWhole(path));
    EXPECT_NEAR(handed / 44.1, positionOf(channel), 300);
}

TEST_F(Device, PlaysWithoutACardThatNeverAsks) {
    card().asks = false;
    start();
    EXPECT_EQ(positionOf(channel), 0U);
    playUntil(channel, 50);
    expectSmooth(channel, 300ms);
}

TEST_F(Device, ExitDoesNotWaitForACardThatHangs) {
    const ChildResult result = runInChild([&] {
        start();
        stall();
    });
    EXPECT_EQ(result.status, 0) << "signal " << result.signal;
}

}  // namespace
