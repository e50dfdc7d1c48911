// A frame that asks 100 tracks of 50 rows for their values, as time goes on, beside the plain way: a search for the
// name in an ordered map and for the row among all rows.
#include "tracks.h"

#include "temp_dir.h"

#include <benchmark/benchmark.h>

#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int TRACKS = 100, ROWS = 50;
constexpr double FRAME_S = 0.025;

std::string nameOf(int track) { return "scene" + std::to_string(track % 7) + ".value" + std::to_string(track); }

std::vector<std::string> loadTracks() {
    const TempDir dir;
    std::string text;
    std::vector<std::string> names;
    for (int track = 0; track < TRACKS; ++track) {
        names.push_back(nameOf(track));
        text += "track " + names.back() + "\n";
        for (int row = 0; row < ROWS; ++row)
            text += std::to_string(row) + " " + std::to_string(row * track) + " smooth\n";
    }
    ryl_loadTracks(dir.write("bench.tracks", text).c_str());
    return names;
}

void tracks(benchmark::State& state) {
    const std::vector<std::string> names = loadTracks();
    double t = 0;
    for (auto _ : state) {
        for (const std::string& name : names) benchmark::DoNotOptimize(ryl_track(name, t));
        t = t < ROWS ? t + FRAME_S : 0;
    }
}
BENCHMARK(tracks);

void plainTracks(benchmark::State& state) {
    std::map<std::string, std::map<double, float>> plain;
    std::vector<std::string> names;
    for (int track = 0; track < TRACKS; ++track) {
        names.push_back(nameOf(track));
        for (int row = 0; row < ROWS; ++row) plain[names.back()][row] = static_cast<float>(row * track);
    }
    double t = 0;
    for (auto _ : state) {
        for (const std::string& name : names) {
            const std::map<double, float>& rows = plain.at(name);
            const auto to = rows.upper_bound(t), from = std::prev(to);
            const double f = to == rows.end() ? 0 : (t - from->first) / (to->first - from->first);
            const double target = to == rows.end() ? from->second : to->second;
            benchmark::DoNotOptimize(
                static_cast<float>(from->second + (target - from->second) * f * f * (3 - 2 * f)));
        }
        t = t < ROWS ? t + FRAME_S : 0;
    }
}
BENCHMARK(plainTracks);

}  // namespace

BENCHMARK_MAIN();
