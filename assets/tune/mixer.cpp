#include "mixer.h"

#include "effects.h"
#include "voice.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <thread>

namespace {

constexpr float CEILING_DB = -2.8f;  // leaves room for what the mp3 encoder adds to the peaks
constexpr double DELAY_BEATS = 0.75;
constexpr float DELAY_FEEDBACK = 0.45f, DELAY_FLOOR = 300, DELAY_CEILING = 5200;
constexpr ReverbSettings ROOM = {0.018f, 2.6f, 180, 6500};

struct Buses {
    Stereo dry, toDelay, toReverb;
    std::vector<float> duck;  // gain under the kick
};

// Gives tracks to the free threads but adds them to the mix strictly in order, because sums of floats depend on it.
struct Turns {
    std::atomic<size_t> next{0};
    size_t turn = 0;
    std::mutex mutex;
    std::condition_variable moved;
};

// Plays the track's notes into `sound`, over what was there.
void playTrack(const Score& score, size_t track, Stereo& sound) {
    std::fill(sound.left.begin(), sound.left.end(), 0.0f);
    std::fill(sound.right.begin(), sound.right.end(), 0.0f);
    const Instrument* instrument = findInstrument(score.tracks[track].instrument);
    for (const Note& note : score.notes)
        if (note.track == static_cast<int>(track)) instrument->play(*instrument, note, sound);
}

// Adds one side of a track to the buses.
void mixSide(const std::vector<float>& sound, float gain, const Track& track, const std::vector<float>& duck,
             std::vector<float>& dry, std::vector<float>& toDelay, std::vector<float>& toReverb) {
    for (size_t i = 0; i < sound.size(); ++i) {
        const float sample = sound[i] * gain * (1.0f - track.duck * (1.0f - duck[i]));
        dry[i] += sample;
        toDelay[i] += track.delay * sample;
        toReverb[i] += track.reverb * sample;
    }
}

void mixTrack(const Stereo& sound, const Track& track, Buses& buses) {
    const float gain = gainOfDb(track.gainDb);
    mixSide(sound.left, gain * std::min(1.0f, 1.0f - track.pan), track, buses.duck, buses.dry.left,
            buses.toDelay.left, buses.toReverb.left);
    mixSide(sound.right, gain * std::min(1.0f, 1.0f + track.pan), track, buses.duck, buses.dry.right,
            buses.toDelay.right, buses.toReverb.right);
}

void onAllProcessors(const std::function<void()>& work) {
    std::vector<std::thread> helpers;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) helpers.emplace_back(work);
    work();
    for (std::thread& helper : helpers) helper.join();
}

// Plays the tracks that duck, or those that do not, and gives each, in order, to `receive`.
void playTracks(const Score& score, size_t samples, bool ducks,
                const std::function<void(const Stereo&, const Track&)>& receive) {
    Turns turns;
    onAllProcessors([&] {
        Stereo sound = silence(samples);
        for (size_t i = turns.next++; i < score.tracks.size(); i = turns.next++) {
            const bool chosen = score.tracks[i].ducks == ducks;
            if (chosen) playTrack(score, i, sound);
            std::unique_lock lock(turns.mutex);
            turns.moved.wait(lock, [&] { return turns.turn == i; });
            if (chosen) receive(sound, score.tracks[i]);
            ++turns.turn;
            turns.moved.notify_all();
        }
    });
}

void add(Stereo& mix, const Stereo& more) {
    for (size_t i = 0; i < mix.left.size(); ++i) {
        mix.left[i] += more.left[i];
        mix.right[i] += more.right[i];
    }
}

}  // namespace

bool playScore(const Score& score, Stereo& mix) {
    for (const Track& track : score.tracks)
        if (!findInstrument(track.instrument)) {
            std::fprintf(stderr, "[!] track \"%s\": there is no instrument \"%s\"\n", track.name.c_str(),
                         track.instrument.c_str());
            return false;
        }
    const auto samples = static_cast<size_t>(std::llround(score.length * SAMPLE_RATE));
    Buses buses{silence(samples), silence(samples), silence(samples), std::vector<float>(samples, 1.0f)};
    Stereo key = silence(samples);
    playTracks(score, samples, true, [&](const Stereo& sound, const Track& track) {
        add(key, sound);
        mixTrack(sound, track, buses);
    });
    buses.duck = duckingGain(key);
    playTracks(score, samples, false,
               [&](const Stereo& sound, const Track& track) { mixTrack(sound, track, buses); });

    Stereo delayed;
    std::thread delaying([&] {
        const auto seconds = static_cast<float>(DELAY_BEATS * 60.0 / score.beatsPerMinute);
        delayed = echoes(buses.toDelay, {seconds, DELAY_FEEDBACK, DELAY_FLOOR, DELAY_CEILING});
    });
    const Stereo room = reverberation(buses.toReverb, ROOM);
    delaying.join();
    mix = std::move(buses.dry);
    add(mix, delayed);
    add(mix, room);
    master(mix, gainOfDb(score.masterGainDb), gainOfDb(CEILING_DB));
    return true;
}
