// sound_server.h - private sound servers with sinks that nobody hears, and what these sinks took
//
//   SoundServer server(SoundServer::PulseAudio);
//   if (!server.missing().empty()) GTEST_SKIP() << server.missing();
//   server.start();
//   const Monitor monitor(server, "heard");
//   ... play ...
//   monitor.recording().heardNs(frame)
//
// For tests and measurements. Nothing of the machine's own sound system is used or touched: a server has its own
// sockets, settings and sinks. All waits are bounded; what does not come in time ends the process with a message.
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

    // As on a desktop, sound goes before everything else from here on in this process, where it may ask for that.
    explicit SoundServer(Kind kind);
    ~SoundServer() { end(); }
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    // Names the programs that this kind needs and that are not installed; empty when it can be had.
    std::string missing() const;
    // Starts it, with the null sink "heard" as its default one, and makes it the one that this process plays on.
    void start(int rate = 44100);
    // Kills it, as a crash does. It can be started again.
    void end();
    void suspend(bool on) const;  // stops the processes, or lets them go on
    // pactl, with these words; what it prints, without the line end.
    std::string control(const std::string& words) const;
    // Adds a null sink and makes it the default one; `options` such as "rate=48000 channels=1". Returns the number to unload
    // it by; empty: it cannot be added.
    std::string addSink(const std::string& name, const std::string& options) const;
    // Adds a sink that carries what it gets to "heard" of another server, so long later, and makes it the default one.
    void addTunnel(const std::string& name, const SoundServer& far, int milliseconds) const;
    const std::string& heardModule() const { return heard; }  // to unload "heard" by
    std::string address() const { return "unix:" + (folder.path() / "pulse/native").string(); }

private:
    Kind kind;
    TempDir folder;
    pid_t group = 0;
    std::string heard;
};

// 16-bit samples as they came from a sink's monitor, and when.
struct Recording {
    struct Moment {
        double ns;     // at this monotonic time ...
        double frame;  // ... this frame is heard, as the server tells it
    };
    int rate = 0;
    int channels = 0;
    std::vector<std::int16_t> samples;
    std::vector<Moment> moments;

    // When the frame was heard, in monotonic nanoseconds: what the moments of the seconds around it tell.
    double heardNs(std::int64_t frame) const;
    // The frames at which something is heard after a fifth of a second of silence.
    std::vector<std::int64_t> onsets() const;
};

// Records a sink's monitor while it exists, in pieces of 4 ms or what the server has instead.
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
