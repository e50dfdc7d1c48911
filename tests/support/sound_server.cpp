#include "sound_server.h"

#include "child.h"
#include "command.h"

#include <pulse/pulseaudio.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

constexpr std::int64_t START_LIMIT_NS = 20'000'000'000;
constexpr double AROUND_SECONDS = 1;
constexpr int PIECE_MS = 4;
constexpr int LOUD = 8000;  // of 32767

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "sound server: %s\n", what.c_str());
    std::exit(EXIT_FAILURE);
}

std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::string outputOf(const std::string& commandLine) {
    std::string output = run(commandLine).output;
    while (output.ends_with('\n')) output.pop_back();
    return output;
}

// Starts a shell command in a process group of its own, which ends with this process.
pid_t startGroup(const std::string& commandLine) {
    const pid_t child = fork();
    if (child < 0) fail("no process");
    setpgid(child, child);
    if (child > 0) return child;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    execute({"sh", "-c", "trap 'kill -KILL 0' TERM; (" + commandLine + ") </dev/null >/dev/null 2>&1 & wait"});
}

void endGroup(pid_t group) {
    kill(-group, SIGKILL);
    waitpid(group, nullptr, 0);
}

}  // namespace

SoundServer::SoundServer(Kind kind) : kind(kind) {
    const sched_param before = {.sched_priority = 10};
    sched_setscheduler(0, SCHED_RR, &before);
}

std::string SoundServer::missing() const {
    const char* programs =
        kind == PulseAudio ? "pulseaudio pactl" : "pipewire pipewire-pulse wireplumber dbus-run-session pactl";
    return outputOf(std::string("for p in ") + programs + "; do command -v $p >/dev/null || echo no $p; done");
}

void SoundServer::start(int rate) {
    const std::string at = folder.path();
    for (const char* part : {"run", "home", "pulse"}) {
        std::filesystem::create_directories(folder.path() / part);
        std::filesystem::permissions(folder.path() / part, std::filesystem::perms::owner_all);
    }
    const std::string surroundings = "exec env -u DISPLAY -u DBUS_SESSION_BUS_ADDRESS -u PULSE_SERVER HOME=" + at +
                                     "/home XDG_CONFIG_HOME=" + at + "/home XDG_STATE_HOME=" + at +
                                     "/home XDG_RUNTIME_DIR=" + at + "/run PULSE_RUNTIME_PATH=" + at + "/pulse ";
    const char* command =
        kind == PulseAudio ? "pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --disable-shm=yes "
                             "-L 'module-native-protocol-unix auth-anonymous=1'"
                           : "dbus-run-session -- sh -c 'pipewire & pipewire-pulse & until wireplumber; do :; done'";
    group = startGroup(surroundings + command);
    setenv("PULSE_SERVER", address().c_str(), 1);
    const std::string options = "rate=" + std::to_string(rate);
    const std::int64_t end = nowNs() + START_LIMIT_NS;
    for (heard.clear(); heard.empty(); usleep(20000)) {
        if (nowNs() > end) fail("it does not start");
        heard = addSink("heard", options);
    }
}

void SoundServer::end() {
    if (group != 0) endGroup(group);
    group = 0;
}

void SoundServer::suspend(bool on) const { kill(-group, on ? SIGSTOP : SIGCONT); }

std::string SoundServer::control(const std::string& words) const {
    return outputOf("PULSE_SERVER=" + address() + " timeout 5 pactl " + words + " 2>/dev/null");
}

std::string SoundServer::addSink(const std::string& name, const std::string& options) const {
    const std::string module = control("load-module module-null-sink sink_name=" + name + " " + options);
    control("set-default-sink " + name);
    return module;
}

void SoundServer::addTunnel(const std::string& name, const SoundServer& far, int milliseconds) const {
    control("load-module module-tunnel-sink sink_name=" + name + " server=" + far.address() +
            " sink=heard latency_msec=" + std::to_string(milliseconds));
    control("set-default-sink " + name);
}

double Recording::heardNs(std::int64_t frame) const {
    const double nsPerFrame = 1e9 / rate;
    const auto at = static_cast<double>(frame);
    std::vector<double> told;
    for (const Moment& moment : moments)
        if (std::abs(moment.frame - at) < AROUND_SECONDS * rate)
            told.push_back(moment.ns + (at - moment.frame) * nsPerFrame);
    if (told.empty()) fail("no word of when a frame was heard");
    const auto middle = told.begin() + static_cast<std::ptrdiff_t>(told.size() / 2);
    std::nth_element(told.begin(), middle, told.end());
    return *middle;
}

std::vector<std::int64_t> Recording::onsets() const {
    std::vector<std::int64_t> found;
    const std::int64_t frames = static_cast<std::int64_t>(samples.size()) / channels;
    std::int64_t lastLoud = -rate;
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        if (std::abs(samples[static_cast<std::size_t>(frame * channels)]) < LOUD) continue;
        if (frame - lastLoud > rate / 5) found.push_back(frame);
        lastLoud = frame;
    }
    return found;
}

// PulseAudio's client library, on a thread of its own.
struct Monitor::Reader {
    pa_threaded_mainloop* loop = pa_threaded_mainloop_new();
    pa_context* context = pa_context_new(pa_threaded_mainloop_get_api(loop), "monitor");
    pa_stream* stream = nullptr;
    int frameBytes = 0;
    Recording recording;
};

namespace {

// Lets the loop run until `done` says so.
template <typename Done>
void waitFor(pa_threaded_mainloop* loop, const std::string& what, Done done) {
    for (const std::int64_t end = nowNs() + START_LIMIT_NS;;) {
        pa_threaded_mainloop_lock(loop);
        const bool ready = done();
        pa_threaded_mainloop_unlock(loop);
        if (ready) return;
        if (nowNs() > end) fail(what);
        usleep(10000);
    }
}

}  // namespace

Monitor::Monitor(const SoundServer& server, const std::string& sink, int rate, int channels)
    : reader(std::make_unique<Reader>()) {
    Reader& r = *reader;
    r.recording.rate = rate;
    r.recording.channels = channels;
    const pa_sample_spec format = {PA_SAMPLE_S16NE, static_cast<std::uint32_t>(rate),
                                   static_cast<std::uint8_t>(channels)};
    r.frameBytes = static_cast<int>(pa_frame_size(&format));
    pa_context_connect(r.context, server.address().c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr);
    pa_threaded_mainloop_start(r.loop);
    waitFor(r.loop, "no connection", [&] { return pa_context_get_state(r.context) == PA_CONTEXT_READY; });

    const auto read = [](pa_stream* stream, std::size_t, void* context) {
        Reader& to = *static_cast<Reader*>(context);
        const void* piece = nullptr;
        for (std::size_t bytes = 0; pa_stream_peek(stream, &piece, &bytes) == 0 && bytes > 0;
             pa_stream_drop(stream)) {
            const auto* samples = static_cast<const std::int16_t*>(piece);
            const std::size_t count = bytes / sizeof(std::int16_t);
            std::vector<std::int16_t>& all = to.recording.samples;
            if (samples)
                all.insert(all.end(), samples, samples + count);
            else
                all.resize(all.size() + count);  // a hole
        }
        if (pa_operation* question = pa_stream_update_timing_info(stream, nullptr, nullptr))
            pa_operation_unref(question);
    };
    const auto timed = [](pa_stream* stream, void* context) {
        Reader& to = *static_cast<Reader*>(context);
        const pa_timing_info* timing = pa_stream_get_timing_info(stream);
        if (!timing || !timing->playing || timing->write_index_corrupt) return;
        // The monitor's newest frame: the sink plays it so much later, or has played it so long ago.
        const double later = static_cast<double>(timing->sink_usec) - static_cast<double>(timing->source_usec) -
                             static_cast<double>(timing->transport_usec);
        to.recording.moments.push_back(
            {static_cast<double>(nowNs()) + later * 1000, static_cast<double>(timing->write_index) / to.frameBytes});
    };
    pa_threaded_mainloop_lock(r.loop);
    r.stream = pa_stream_new(r.context, "monitor", &format, nullptr);
    pa_stream_set_read_callback(r.stream, read, &r);
    pa_stream_set_latency_update_callback(r.stream, timed, &r);
    pa_buffer_attr buffer = {};
    buffer.maxlength = ~0U;
    buffer.fragsize = static_cast<std::uint32_t>(r.frameBytes * rate * PIECE_MS / 1000);
    pa_stream_connect_record(r.stream, (sink + ".monitor").c_str(), &buffer, PA_STREAM_ADJUST_LATENCY);
    pa_threaded_mainloop_unlock(r.loop);
    waitFor(r.loop, "the monitor of " + sink + " says nothing", [&] { return !r.recording.moments.empty(); });
}

Monitor::~Monitor() {
    pa_threaded_mainloop_stop(reader->loop);
    if (reader->stream) pa_stream_unref(reader->stream);
    pa_context_unref(reader->context);
    pa_threaded_mainloop_free(reader->loop);
}

Recording Monitor::recording() const {
    pa_threaded_mainloop_lock(reader->loop);
    Recording copy = reader->recording;
    pa_threaded_mainloop_unlock(reader->loop);
    return copy;
}
