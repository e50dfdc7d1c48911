// mp3_stream.h - an mp3 file as a stream of 16-bit samples
//
// Needs    libmpg123. One thread at a time uses a stream.
// Never    prints; changes a stream's format. If rate or channels change within a file, the samples are converted to
//          those of its first frame.
#pragma once

#include <cstdint>
#include <span>

struct mpg123_handle_struct;  // libmpg123's decoder

enum class Mp3Open { ok, notFound, unreadable, notMp3, noDecoder };

struct Mp3Stream {
    mpg123_handle_struct* decoder = nullptr;  // owned, as is the file behind it
    int file = -1;                            // descriptor
    int rate = 0;                             // frames per second
    int channels = 0;                         // 1 or 2; a frame is one sample of each
    std::int64_t frames = 0;                  // length
};

// Opens the file and reads it once, so that length and seeks are exact to the sample. The stream leaves out what the
// encoder has added at both ends, if the file's info frame (LAME's) tells. 64 KiB without an mp3 frame end the
// stream; if no frame comes before them, the file is no mp3. Writes `stream` on success only.
Mp3Open openMp3(const char* path, Mp3Stream& stream);

// Releases what openMp3 has taken. Does nothing to a stream that is not open.
void closeMp3(Mp3Stream& stream);

// Makes `frame` (0 to `frames`) the next one to be read. Returns false if the file no longer allows it. The samples
// are those of a reading from the start, except for the last bit of one in ten thousand, because the order in which
// the decoder's filter adds depends on what it decoded before. Callers read something before they seek again: the
// decoder would take a second seek to a place close ahead for reading on, without a preroll.
bool seekMp3(const Mp3Stream& stream, std::int64_t frame);

// Reads up to `samples.size()` / channels frames. Returns their number; 0 at the end, or if nothing more can be
// decoded.
int readMp3(const Mp3Stream& stream, std::span<std::int16_t> samples);
