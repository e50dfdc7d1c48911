// audio_driver.h - drivers of the machine's audio output
//
//   void* device = driver.open(44100, 2, period);
//   while (device) {
//       const Room room = driver.waitForRoom(device);
//       if (room == Room::gone) break;
//       if (room == Room::free) driver.write(device, samples);
//       if (const auto report = driver.report(device)) ...
//   }
//   driver.close(device);
//
// Threads  one uses a driver.
// Waits    opening takes at most CONNECT_SECONDS if a server does not answer, every other call about WAIT_SECONDS.
//          Only a hanging driver of the hardware takes longer.
// Never    prints.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

constexpr double CONNECT_SECONDS = 10;  // a client of PipeWire may need two
constexpr double WAIT_SECONDS = 0.1;
// The sound that waits in a driver; hardware and servers beyond it hold more. So short that a seek is heard at once,
// and long enough for machines that draw in software.
constexpr double BUFFER_SECONDS = 0.08;
constexpr int PERIODS = 4;  // in a buffer

// How many of the written frames had been heard at a moment, by the account of hardware and server.
struct HeardReport {
    std::int64_t ns;  // monotonic
    double frames;
};

enum class Room {
    free,  // a period can be written
    none,  // not yet
    gone,  // for good: the device has been unplugged, or its server has ended
};

struct AudioDriver {
    const char* name;
    // Opens the default output for interleaved 16-bit samples; null if there is none. Sets `period`, the frames to
    // write at a time.
    void* (*open)(int rate, int channels, int& period);
    Room (*waitForRoom)(void* device);
    void (*write)(void* device, std::span<const std::int16_t> samples);  // a period, if there is room
    std::optional<HeardReport> (*report)(void* device);                  // what is new since the last call
    void (*close)(void* device);                                         // drops what is not heard yet
};

extern const AudioDriver PULSE_DRIVER;  // a server that speaks PulseAudio's protocol: PulseAudio or PipeWire
extern const AudioDriver ALSA_DRIVER;   // the output that ALSA's configuration calls "default"

inline std::int64_t audioClockNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
