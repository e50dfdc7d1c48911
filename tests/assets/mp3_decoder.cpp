#include "mp3_decoder.h"

#include <mpg123.h>

#include <array>
#include <memory>

Recording decodeMp3(const std::string& path) {
    Recording recording;
    mpg123_init();
    const std::unique_ptr<mpg123_handle, void (*)(mpg123_handle*)> decoder(mpg123_new(nullptr, nullptr),
                                                                           mpg123_delete);
    mpg123_param(decoder.get(), MPG123_ADD_FLAGS, MPG123_FORCE_FLOAT | MPG123_QUIET, 0);
    int encoding = 0;
    if (mpg123_open(decoder.get(), path.c_str()) != MPG123_OK ||
        mpg123_getformat(decoder.get(), &recording.rate, &recording.channels, &encoding) != MPG123_OK ||
        recording.channels != 2)
        return {};
    mpg123_id3v2* tags = nullptr;
    if (mpg123_id3(decoder.get(), nullptr, &tags) == MPG123_OK && tags && tags->title)
        recording.title = tags->title->p;
    std::array<float, 8192> block{};
    for (int state = MPG123_OK; state == MPG123_OK;) {
        std::size_t bytes = 0;
        state = mpg123_read(decoder.get(), block.data(), sizeof block, &bytes);
        for (std::size_t i = 0; i < bytes / sizeof(float); i += 2) {
            recording.left.push_back(block[i]);
            recording.right.push_back(block[i + 1]);
        }
    }
    return recording;
}
