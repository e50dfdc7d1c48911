#include "make_mp3.h"

#include <lame/lame.h>
#include <mpg123.h>

#include <algorithm>
#include <array>
#include <random>

namespace {

std::vector<std::int16_t> noise(int samples) {
    std::mt19937 random{7};
    std::vector<std::int16_t> made(static_cast<std::size_t>(samples));
    int low = 0;
    for (std::int16_t& sample : made) {
        // Low-passed: an encoder drops the highest frequencies, and what is left must be loud.
        low += (static_cast<int>(random() % 40000) - 20000 - low) / 4;
        sample = static_cast<std::int16_t>(low);
    }
    return made;
}

}  // namespace

std::string makeMp3(const Mp3Format& format, int frames) {
    lame_t encoder = lame_init();
    lame_set_in_samplerate(encoder, format.rate);
    lame_set_out_samplerate(encoder, format.rate);
    lame_set_num_channels(encoder, format.channels);
    lame_set_mode(encoder, format.channels == 1 ? MONO : STEREO);
    lame_set_brate(encoder, format.kbps);
    lame_init_params(encoder);

    std::vector<std::int16_t> left = noise(frames);
    std::vector<std::int16_t> right(left.rbegin(), left.rend());
    std::vector<unsigned char> coded(static_cast<std::size_t>(frames) * 2 + 16384);
    const auto room = [&](int used) { return static_cast<int>(coded.size()) - used; };
    int size = lame_encode_buffer(encoder, left.data(), right.data(), frames, coded.data(), room(0));
    size += lame_encode_flush(encoder, coded.data() + size, room(size));
    std::string bytes(coded.begin(), coded.begin() + size);
    // The encoder has left room for the info frame at the start.
    const std::size_t info = lame_get_lametag_frame(encoder, coded.data(), coded.size());
    std::copy_n(coded.begin(), info, bytes.begin());
    lame_close(encoder);
    return bytes;
}

std::vector<std::int16_t> decodeWhole(const std::string& path) {
    mpg123_handle* decoder = mpg123_new(nullptr, nullptr);
    std::vector<std::int16_t> samples;
    std::array<std::int16_t, 4096> piece{};
    mpg123_open(decoder, path.c_str());
    int result = MPG123_OK;
    while (result == MPG123_OK || result == MPG123_NEW_FORMAT) {
        std::size_t bytes = 0;
        result = mpg123_read(decoder, piece.data(), sizeof piece, &bytes);
        samples.insert(samples.end(), piece.begin(), piece.begin() + static_cast<long>(bytes / sizeof piece[0]));
    }
    mpg123_delete(decoder);
    return samples;
}
