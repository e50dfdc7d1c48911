// Times a seek in the soundtrack up to the first decoded samples, beside decoding from the start to the same place.
#include "mp3_stream.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <span>

namespace {

constexpr std::size_t CHUNK_SAMPLES = std::size_t{1152} * 2;  // one mp3 frame of both channels

struct Tune {
    Mp3Stream stream;
    Tune() {
        if (openMp3("data/tune.mp3", stream) != Mp3Open::ok) std::abort();
    }
    ~Tune() { closeMp3(stream); }
    Tune(const Tune&) = delete;
    Tune& operator=(const Tune&) = delete;
};

// Returns the number of frames read.
int readChunk(Mp3Stream& stream) {
    std::array<std::int16_t, CHUNK_SAMPLES> samples{};
    const int frames = readMp3(stream, samples);
    benchmark::DoNotOptimize(samples);
    return frames;
}

// Seeks to the given second; below 0, to random places in the whole file.
void seek(benchmark::State& state) {
    Tune tune;
    std::mt19937 random{1};
    for (auto _ : state) {
        const std::int64_t place = state.range(0) < 0 ? static_cast<std::int64_t>(random()) % tune.stream.frames
                                                      : state.range(0) * tune.stream.rate;
        if (!seekMp3(tune.stream, place) || readChunk(tune.stream) == 0) state.SkipWithError("nothing to read there");
    }
}
BENCHMARK(seek)->Arg(10)->Arg(100)->Arg(180)->Arg(-1)->Unit(benchmark::kMicrosecond);

void decodeFromStart(benchmark::State& state) {
    Tune tune;
    const std::int64_t place = state.range(0) * tune.stream.rate;
    for (auto _ : state) {
        if (!seekMp3(tune.stream, 0)) state.SkipWithError("the start cannot be sought");
        for (std::int64_t frames = 0; frames <= place;) {
            const int got = readChunk(tune.stream);
            if (got == 0) return state.SkipWithError("the file ends before");
            frames += got;
        }
    }
}
BENCHMARK(decodeFromStart)->Arg(10)->Arg(100)->Arg(180)->Unit(benchmark::kMicrosecond);

// Opening reads through the whole file once, which makes length and seeking exact.
void openAndMeasure(benchmark::State& state) {
    for (auto _ : state) {
        Tune tune;
        benchmark::DoNotOptimize(tune.stream.frames);
    }
}
BENCHMARK(openAndMeasure)->Unit(benchmark::kMillisecond);

}  // namespace
