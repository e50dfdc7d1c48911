// sound_server.h - private sound servers with sinks that nobody hears, and what these sinks took
//
//   SoundServer server(SoundServer::PulseAudio);
//   if (!server.missing().empty()) GTEST_SKIP() << server.missing();
//   server.start();
//   const Monitor monitor(server, "heard");
//   ... play ...
//   monitor.recording().heardNs(frame)
//
// A server has its own sockets, settings and sinks, and does not touch the machine's sound system. All waits are
// bounded; if something does not come in time, the process ends with a message.
#pragma once

#include "temp_dir.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class SoundServer {
public:
    enum Kind { PulseAudio, PipeWire };

    // Gives this process's threads priority, as sound has on a desktop, if the system allows it.
    explicit SoundServer(Kind kind);
    ~SoundServer() { end(); }
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    // The programs that this kind needs and that are not installed; empty if there are none.
    std::string missing() const;
    // Starts it with the null sink "heard" as its default. From here on this process plays on it.
    void start(int rate = 44100);
    // Kills it. It can be started again.
    void end();
    void suspend(bool on) const;  // stops the processes, or lets them go on
    // Calls pactl with these words and returns what it prints, without the line end.
    std::string control(const std::string& words) const;
    // Adds a null sink with `options` such as "rate=48000 channels=1" and makes it the default. Returns the number
    // to unload it by, or nothing if it cannot be added.
    std::string addSink(const std::string& name, const std::string& options) const;
    // Adds a sink that passes its sound on to "heard" of another server, with a delay, and makes it the default.
    void addTunnel(const std::string& name, const SoundServer& far, int milliseconds) const;
    const std::string& heardModule() const { return heard; }  // to unload "heard" by
    std::string address() const { return "unix:" + (folder.path() / "pulse/native").string(); }

private:
    Kind kind;
    TempDir folder;
    pid_t group = 0;
    std::string heard;
};

// 16-bit samples from a sink's monitor, and when they were heard.
struct Recording {
    struct Moment {
        double ns;     // at this monotonic time ...
        double frame;  // ... this frame is heard, by the server's account
    };
    int rate = 0;
    int channels = 0;
    std::vector<std::int16_t> samples;
    std::vector<Moment> moments;

    // When the frame was heard, in monotonic nanoseconds: the median by the moments of the second around it.
    double heardNs(std::int64_t frame) const;
    // The frames where a sound begins after a fifth of a second of silence.
    std::vector<std::int64_t> onsets() const;
};

// Records a sink's monitor while it exists.
class Monitor {
public:
    Monitor(const SoundServer& server, const std::string& sink, int rate = 44100, int channels = 2);
    ~Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    Recording recording() const;

private:
    struct Reader;
    std::unique_ptr<Reader> reader;
};
