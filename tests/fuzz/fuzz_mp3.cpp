// Any bytes as an mp3 file: refused, or measured, read and sought in, even if the file is cut while it plays.
#include "fuzz.h"
#include "mp3_stream.h"

#include <unistd.h>

namespace {

constexpr const char* PATH = "file.mp3";
void readOn(const Mp3Stream& stream) {
    std::int16_t samples[2304];
    for (int i = 0, frames = 1; i < 64 && frames > 0; ++i) {
        frames = readMp3(stream, samples);
        assert(frames >= 0 && frames * stream.channels <= static_cast<int>(std::size(samples)));
    }
}

}  // namespace

void feed(const std::string& input) {
    writeFile(PATH, input);
    Mp3Stream stream;
    if (openMp3(PATH, stream) != Mp3Open::ok) return;
    assert(stream.rate > 0 && stream.channels >= 1 && stream.channels <= 2 && stream.frames > 0);
    readOn(stream);
    for (const std::int64_t place : {stream.frames, stream.frames / 2, std::int64_t{0}})
        if (seekMp3(stream, place)) readOn(stream);
    if (truncate(PATH, static_cast<off_t>(input.size() / 2)) == 0 && seekMp3(stream, stream.frames / 3))
        readOn(stream);
    closeMp3(stream);
}
