#include "sync.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double HALF_MS = 0.5;  // a position is rounded down

double nowNs() {
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void makeClicks(const std::string& path, double seconds, const std::vector<double>& clicks) {
    constexpr int RATE = 44100;
    constexpr int LONG = RATE / 1000;
    std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * RATE));
    for (const double click : clicks)
        std::fill_n(samples.begin() + std::lround(click * RATE), LONG, std::int16_t{30000});
    std::FILE* encoder =
        popen(("ffmpeg -v error -y -f s16le -ar 44100 -ac 1 -i - -ac 2 -b:a 192k " + path).c_str(), "w");
    const bool written = encoder && std::fwrite(samples.data(), 2, samples.size(), encoder) == samples.size();
    if (!encoder || pclose(encoder) != 0 || !written) std::exit(EXIT_FAILURE);
}

void makeClicks(const std::string& path, double seconds) {
    std::vector<double> clicks;
    for (int i = 1; i * CLICK_MS / 1000 < seconds - 1; ++i) clicks.push_back(i * CLICK_MS / 1000);
    makeClicks(path, seconds, clicks);
}

std::vector<Poll> pollPosition(double seconds, const std::function<unsigned int()>& position) {
    std::vector<Poll> polls;
    for (const double end = nowNs() + seconds * 1e9; nowNs() < end; usleep(1000)) {
        const double asked = nowNs(), ms = position() + HALF_MS;
        polls.push_back({(asked + nowNs()) / 2, ms});
    }
    return polls;
}

std::vector<double> clickErrors(const Recording& recording, const std::vector<Poll>& polls) {
    std::vector<double> errors;
    for (const std::int64_t frame : recording.onsets()) {
        const double heard = recording.heardNs(frame);
        const auto next = std::ranges::upper_bound(polls, heard, {}, &Poll::ns);
        if (next == polls.begin() || next == polls.end()) continue;
        const double position = std::prev(next)->ms + (heard - std::prev(next)->ns) / 1e6;
        errors.push_back(position - std::round(position / CLICK_MS) * CLICK_MS);
    }
    return errors;
}
