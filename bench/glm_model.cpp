// Times the model library on a field of a million triangles, each function beside a plain implementation.
#include "glm/glm_try.h"
#include "glm/glm_util.h"
#include "plain_geometry.h"
#include "plain_reader.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

constexpr int COLUMNS = 1000, ROWS = 500;  // of cells, two triangles each

using Model = GLMowned;

// A file of the field, removed at the end.
struct FieldFile {
    FieldFile() : path(std::filesystem::temp_directory_path() / ("ryl-field-" + std::to_string(getpid()) + ".obj")) {
        std::FILE* file = std::fopen(path.c_str(), "w");
        if (file == nullptr) std::abort();
        writePoints(file);
        writeFaces(file);
        if (std::fclose(file) != 0) std::abort();
    }
    ~FieldFile() { std::filesystem::remove(path); }
    FieldFile(const FieldFile&) = delete;
    FieldFile& operator=(const FieldFile&) = delete;

    static void writePoints(std::FILE* file) {
        for (int z = 0; z <= ROWS; ++z)
            for (int x = 0; x <= COLUMNS; ++x) {
                const double u = x / static_cast<double>(COLUMNS), v = z / static_cast<double>(ROWS);
                const double slope = 0.3 * std::cos(9 * u), length = std::hypot(1, slope);
                std::fprintf(file, "v %f %f %f\n", 20 * u - 10, std::sin(9 * u), 10 * v - 5);
                std::fprintf(file, "vt %f %f\nvn %f %f %f\n", u, v, -slope / length, 1 / length, 0.0);
            }
    }
    static void writeFaces(std::FILE* file) {
        const auto corner = [&](int x, int z) {
            const int index = z * (COLUMNS + 1) + x + 1;
            std::fprintf(file, " %d/%d/%d", index, index, index);
        };
        const auto triangle = [&](int x, int z, int step) {
            std::fputc('f', file);
            corner(x, z);
            corner(x + (step == 1 ? 0 : 1), z + 1);
            corner(x + 1, z + (step == 1 ? 1 : 0));
            std::fputc('\n', file);
        };
        for (int z = 0; z < ROWS; ++z)
            for (int x = 0; x < COLUMNS; ++x) {
                triangle(x, z, 1);
                triangle(x, z, 2);
            }
    }

    std::filesystem::path path;
};

const std::string& fieldPath() {
    static const FieldFile file;
    static const std::string path = file.path.string();
    return path;
}

Model field() { return Model(glmReadOBJ(fieldPath().c_str())); }

// By the rules for what today's programs write; 0 threads are as many as there are processors.
Model fieldFreely(unsigned threads) {
    GLMoptions options;
    options.threads = threads;
    return Model(glmTryReadOBJ(fieldPath().c_str(), nullptr, options));
}

// The field with separate positions for every triangle.
Model splitField() {
    Model model = field();
    auto* vertices = static_cast<float*>(std::malloc((std::size_t{9} * model->numtriangles + 3) * sizeof(float)));
    std::uint32_t next = 1;
    for (std::uint32_t i = 0; i < model->numtriangles; ++i)
        for (std::uint32_t& position : model->triangles[i].vindices) {
            std::copy_n(model->vertices + std::size_t{3} * position, 3, vertices + std::size_t{3} * next);
            position = next++;
        }
    std::free(model->vertices);
    model->vertices = vertices;
    model->numvertices = next - 1;
    return model;
}

// "VmRSS", resident memory, or "VmHWM", its largest value so far; bytes.
double memory(const std::string& kind) {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word)
        if (word == kind + ":") {
            double kilobytes = 0;
            status >> kilobytes;
            return 1024 * kilobytes;
        }
    return 0;
}

double arrayBytes(const GLMmodel& model) {
    return 12.0 * (model.numvertices + model.numnormals + model.numfacetnorms) + 8.0 * model.numtexcoords +
           (sizeof(GLMtriangle) + sizeof(std::uint32_t)) * static_cast<double>(model.numtriangles);
}

void countBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(std::filesystem::file_size(fieldPath())));
}

template <typename Read>
void timeReading(benchmark::State& state, Read read) {
    fieldPath();
    double most = 0, arrays = 1;
    while (state.KeepRunning()) {
        state.PauseTiming();
        std::ofstream("/proc/self/clear_refs") << 5;  // VmHWM starts again from the present size
        const double before = memory("VmRSS");
        state.ResumeTiming();
        Model model = read();
        benchmark::DoNotOptimize(model.get());
        state.PauseTiming();
        most = std::max(most, memory("VmHWM") - before);
        arrays = arrayBytes(*model);
        model.reset();
        state.ResumeTiming();
    }
    countBytes(state);
    state.counters["memory/arrays"] = most / arrays;
}

void readLibrary(benchmark::State& state) { timeReading(state, field); }
void readFreely(benchmark::State& state) {
    timeReading(state, [&] { return fieldFreely(static_cast<unsigned>(state.range(0))); });
}

void readPlain(benchmark::State& state) {
    fieldPath();
    while (state.KeepRunning()) {
        const auto model = plain::readOBJ(fieldPath().c_str());
        benchmark::DoNotOptimize(model->vertices.data());
    }
    const auto expected = plain::readOBJ(fieldPath().c_str());
    if (!plain::isSame(*expected, *field()) || !plain::isSame(*expected, *fieldFreely(0)))
        state.SkipWithError("the readers differ");
    countBytes(state);
}

// Times `change` on a fresh model each time.
template <typename Change>
void change(benchmark::State& state, Model (*make)(), Change change) {
    while (state.KeepRunning()) {
        state.PauseTiming();
        Model model = make();
        state.ResumeTiming();
        change(*model);
        state.PauseTiming();
        model.reset();
        state.ResumeTiming();
    }
}

constexpr float ANGLE = 60, EPSILON = 1e-4f;

void smoothLibrary(benchmark::State& state) {
    change(state, field, [](GLMmodel& model) { glmVertexNormals(&model, ANGLE, false); });
}
void smoothPlain(benchmark::State& state) {
    change(state, field, [](GLMmodel& model) { plain::vertexNormals(model, ANGLE); });
}
void weldLibrary(benchmark::State& state) {
    change(state, splitField, [](GLMmodel& model) { glmWeld(&model, EPSILON); });
}
void weldPlain(benchmark::State& state) {
    change(state, splitField, [](GLMmodel& model) { plain::weld(model, EPSILON); });
}

BENCHMARK(readLibrary)->Unit(benchmark::kMillisecond);
BENCHMARK(readFreely)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(0)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(readPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(smoothLibrary)->Unit(benchmark::kMillisecond);
BENCHMARK(smoothPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(weldLibrary)->Unit(benchmark::kMillisecond);
BENCHMARK(weldPlain)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
