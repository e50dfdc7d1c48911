// mp3_stream.h - an mp3 file as a stream of 16-bit samples
//
// Needs libmpg123. A stream may be used by one thread at a time. Never prints; never changes its format: a
// file that changes rate or channels on its way is converted to those of its first frame.
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

// Opens the file and reads through it once, so that length and seeking are exact to the sample. What an
// encoder says it has added at both ends (the info frame that LAME introduced) is no part of the stream;
// without such a frame the stream is all that the decoder gives. A stretch of 64 KiB without an mp3 frame
// ends the stream; if there is no frame before, the file is no mp3. `stream` is written on success only.
Mp3Open openMp3(const char* path, Mp3Stream& stream);

// Releases what openMp3 has taken. Nothing for a stream that is not open.
void closeMp3(Mp3Stream& stream);

// Makes `frame` (0 to `frames`) the next one to be read. False when the file does not allow it any more. What
// is read then is what reading from the start gives, but for the last bit of a sample in ten thousand: the
// order in which the decoder's filter adds depends on how much it has decoded before. Read something before
// seeking again: the decoder takes a second seek to a place close ahead for reading on, without a preroll.
bool seekMp3(const Mp3Stream& stream, std::int64_t frame);

// Reads up to `samples.size()` / channels frames. Returns the number of frames, 0 at the end and when nothing
// more can be decoded.
int readMp3(const Mp3Stream& stream, std::span<std::int16_t> samples);
