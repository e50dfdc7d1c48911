// Any bytes as an mp3 file: it is refused, or measured, read and sought in without an error of the memory's.
#include "mp3_stream.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

constexpr int READS = 64;  // of one place

void readOn(const Mp3Stream& stream) {
    std::array<std::int16_t, 2304> samples{};
    for (int i = 0; i < READS; ++i) {
        const int frames = readMp3(stream, samples);
        if (frames < 0 || frames * stream.channels > static_cast<int>(samples.size())) std::abort();
        if (frames == 0) return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int file = memfd_create("mp3", 0);
    if (file < 0 || write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    Mp3Stream stream;
    if (openMp3(path.c_str(), stream) == Mp3Open::Ok) {
        if (stream.rate <= 0 || stream.channels < 1 || stream.channels > 2 || stream.frames <= 0) std::abort();
        readOn(stream);
        for (const std::int64_t place : {stream.frames, stream.frames / 2, std::int64_t{0}})
            if (seekMp3(stream, place)) readOn(stream);
        // The file may be cut while it plays.
        if (ftruncate(file, static_cast<off_t>(size / 2)) == 0 && seekMp3(stream, stream.frames / 3)) readOn(stream);
    }
    closeMp3(stream);
    close(file);
    return 0;
}
