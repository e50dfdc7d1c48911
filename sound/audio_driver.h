// audio_driver.h - the ways to the machine's audio output
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
// For one thread. Opening takes CONNECT_SECONDS at the most where a server does not answer, everything else about
// WAIT_SECONDS; only a driver of the hardware that hangs takes longer. Nothing is printed.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

constexpr double CONNECT_SECONDS = 10;  // a client of PipeWire may need two
constexpr double WAIT_SECONDS = 0.1;
// What is handed over and not played yet, before whatever the hardware or a server beyond it holds: short enough for a
// seek to be heard at once, long enough for a machine that draws in software.
constexpr double BUFFER_SECONDS = 0.08;
constexpr int PERIODS = 4;  // in a buffer

// How many of the written frames had been heard at a moment, as far as hardware and server know.
struct HeardReport {
    std::int64_t ns;  // monotonic
    double frames;
};

enum class Room {
    free,  // a period can be written
    none,  // not yet
    gone,  // the device has been unplugged, or its server has ended: it does not come back
};

struct AudioDriver {
    const char* name;
    // Opens the default output for interleaved 16-bit samples. Null when there is none. `period`: frames to write at a time.
    void* (*open)(int rate, int channels, int& period);
    Room (*waitForRoom)(void* device);
    void (*write)(void* device, std::span<const std::int16_t> samples);  // a period, when there is room
    std::optional<HeardReport> (*report)(void* device);                  // what is new since the last call
    void (*close)(void* device);                                         // what is not heard yet is let go
};

extern const AudioDriver PULSE_DRIVER;  // the server of PulseAudio, or of PipeWire, which answers in its place
extern const AudioDriver ALSA_DRIVER;   // the output that ALSA's configuration names "default"

inline std::int64_t audioClockNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
