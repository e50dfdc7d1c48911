// Measures on a private sound server how far the demo, or another program, is out of step. For scripts/measure-sync.
//
//   sync_meter position SERVER AWAY SECONDS        the play position against what is heard
//   sync_meter picture SERVER AWAY COMMAND         the picture of a program whose window fills the display, against
//                                                  its sound, at the cuts of the demo
//   sync_meter clicks FILE                         makes the soundtrack that "picture" needs: a click at each cut
//
// SERVER is pulseaudio, pipewire, or alsa (ALSA's plugin for PulseAudio); AWAY: milliseconds to another server's
// sink. Runs in the run directory.
#include "fmod.h"
#include "sync.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr std::array<double, 5> CUTS = {10.4, 30.8, 61.2, 81.6, 106.6};  // seconds into the soundtrack
constexpr double SETTLED_MS = 3000;
constexpr double AROUND_NS = 4e8;  // of a click, where its cut is looked for
constexpr double CUT_FALL = 30;    // of 255, from one look to another
constexpr int POLL_US = 4000;

struct Rig {
    SoundServer server;
    SoundServer far{SoundServer::PulseAudio};
    bool away;

    Rig(const std::string& kind, int milliseconds)
        : server(kind == "pipewire" ? SoundServer::PipeWire : SoundServer::PulseAudio), away(milliseconds > 0) {
        if (!server.missing().empty()) {
            std::printf("%s: %s\n", kind.c_str(), server.missing().c_str());
            std::exit(EXIT_FAILURE);
        }
        if (away) far.start();
        server.start();
        if (away) server.addTunnel("away", far, milliseconds);
        if (kind == "alsa") setenv("RYL_SOUND", "alsa", 1);
    }
    const SoundServer& ears() const { return away ? far : server; }
};

double nowMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Asks the channel for its position, and notes the greatest difference between a step of it and the time that it
// took.
struct StepMeter {
    FMOD_CHANNEL* channel = nullptr;
    unsigned int last = 0;
    double asked = 0, answered = 0;  // for the last one, ms
    double worst = 0;                // ms

    unsigned int operator()() {
        const double askedBefore = std::exchange(asked, nowMs()), answeredBefore = answered;
        const unsigned int before = last;
        FMOD_Channel_GetPosition(channel, &last, FMOD_TIMEUNIT_MS);
        answered = nowMs();
        if (before == 0) return last;
        // Positions are rounded down to milliseconds.
        const double moved = double(last) - before;
        worst = std::max({worst, moved - 1 - (answered - askedBefore), asked - answeredBefore - moved - 1});
        return last;
    }
};

int measurePosition(const Rig& rig, double seconds) {
    const TempDir folder;
    const std::string tune = folder.path() / "clicks.mp3";
    makeClicks(tune, seconds + 2);
    const Monitor monitor(rig.ears(), "heard");
    FMOD_SYSTEM* system = nullptr;
    FMOD_SOUND* sound = nullptr;
    FMOD_CHANNEL* channel = nullptr;
    if (FMOD_System_Create(&system) != FMOD_OK || FMOD_System_Init(system, 1, FMOD_INIT_NORMAL, nullptr) != FMOD_OK ||
        FMOD_System_CreateSound(system, tune.c_str(), FMOD_CREATESTREAM, nullptr, &sound) != FMOD_OK ||
        FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, sound, 0, &channel) != FMOD_OK)
        return EXIT_FAILURE;
    StepMeter meter{.channel = channel};
    const std::vector<Poll> polls = pollPosition(seconds, std::ref(meter));
    const auto settled = std::ranges::find_if(polls, [](const Poll& poll) { return poll.ms > SETTLED_MS; });
    std::vector<double> errors = clickErrors(monitor.recording(), {settled, polls.end()});
    if (errors.empty()) {
        std::puts("nothing is heard");
        return EXIT_FAILURE;
    }
    std::ranges::sort(errors);
    const auto at = [&](double part) { return errors[static_cast<std::size_t>(part * double(errors.size() - 1))]; };
    std::printf("%6zu %8.2f %8.2f %8.2f %8.2f %8.2f %10.2f\n", errors.size(), errors.front(), at(0.1), at(0.5),
                at(0.9), errors.back(), meter.worst);
    return EXIT_SUCCESS;
}

struct Look {
    double beforeNs, ns;  // the picture was like this between the two
    double brightness;    // 0 to 255
};

// Looks at three rows of the display until the command ends.
std::vector<Look> watch(const std::string& command) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) std::exit(EXIT_FAILURE);
    const int screen = DefaultScreen(display);
    const int width = DisplayWidth(display, screen);
    const int height = DisplayHeight(display, screen);
    const auto now = [] {
        return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now().time_since_epoch()).count();
    };
    std::vector<Look> looks;
    std::atomic<bool> ended = false;
    std::thread program([&] {
        if (std::system(command.c_str()) != 0) std::puts("the command failed");
        ended = true;
    });
    for (double before = now(); !ended; usleep(POLL_US)) {
        double sum = 0;
        const double asked = now();
        for (const int part : {3, 4, 5}) {
            XImage* row = XGetImage(display, RootWindow(display, screen), 0, height * part / 8,
                                    static_cast<unsigned int>(width), 1, AllPlanes, ZPixmap);
            for (int x = 0; x < width; x += 8) sum += static_cast<double>(XGetPixel(row, x, 0) >> 8 & 255);
            XDestroyImage(row);
        }
        looks.push_back({before, now(), sum * 8 / 3 / width});
        before = asked;
    }
    program.join();
    XCloseDisplay(display);
    return looks;
}

// The first look around a click at which the picture, white at the end of each scene, has turned dark. Null: none.
const Look* findCut(const std::vector<Look>& looks, double heard) {
    double brightest = 0;
    for (const Look& look : looks) {
        if (std::abs(look.ns - heard) > AROUND_NS) continue;
        if (look.brightness < brightest - CUT_FALL) return &look;
        brightest = std::max(brightest, look.brightness);
    }
    return nullptr;
}

int measurePicture(const Rig& rig, const std::string& command) {
    const Monitor monitor(rig.ears(), "heard");
    const std::vector<Look> looks = watch(command);
    const Recording recording = monitor.recording();
    std::vector<double> late;
    for (const std::int64_t click : recording.onsets()) {
        const double heard = recording.heardNs(click);
        const Look* cut = findCut(looks, heard);
        if (!cut) continue;
        late.push_back(((cut->beforeNs + cut->ns) / 2 - heard) / 1e6);
        std::printf("%8.1f", late.back());
    }
    if (late.size() != CUTS.size()) {
        std::printf("  only %zu of %zu cuts were seen and heard\n", late.size(), CUTS.size());
        return EXIT_FAILURE;
    }
    const auto [least, most] = std::ranges::minmax(late);
    std::printf("   mean %.1f, %.1f to %.1f\n", std::accumulate(late.begin(), late.end(), 0.0) / double(late.size()),
                least, most);
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 2 && words[0] == "clicks") {
        makeClicks(words[1], 190, {CUTS.begin(), CUTS.end()});
        return EXIT_SUCCESS;
    }
    if (words.size() != 4) return EXIT_FAILURE;
    const Rig rig(words[1], std::atoi(words[2].c_str()));
    return words[0] == "position" ? measurePosition(rig, std::atof(words[3].c_str())) : measurePicture(rig, words[3]);
}
