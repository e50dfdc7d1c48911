// Times the noise beside the plain noise.
#include "noise.h"
#include "plain_noise.h"

#include <benchmark/benchmark.h>

namespace {

template <float (*noise)(float, float, int)>
void runNoise(benchmark::State& state) {
    float x = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(noise(x, 0.3f * x, 32));
        x += 0.37f;
    }
}

BENCHMARK(runNoise<plain::perlin2DNoise>)->Name("noise/plain");
BENCHMARK(runNoise<ryl_perlin2DNoise>)->Name("noise/ryl_perlin2DNoise");

}  // namespace
