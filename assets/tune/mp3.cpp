#include "mp3.h"

#include "file.h"

#include <lame/lame.h>

#include <cstdio>
#include <memory>

namespace {

constexpr int KILOBITS = 192;
constexpr int QUALITY = 2;  // of the encoder's 0 (best) to 9 (fastest)
constexpr size_t PIECE = 1u << 16;

struct CloseEncoder {
    void operator()(lame_t encoder) const { lame_close(encoder); }
};
using Encoder = std::unique_ptr<lame_global_struct, CloseEncoder>;

void setTags(lame_t encoder, const Score& score) {
    id3tag_init(encoder);
    id3tag_v2_only(encoder);
    id3tag_set_title(encoder, score.title.c_str());
    id3tag_set_artist(encoder, score.artist.c_str());
    id3tag_set_album(encoder, score.album.c_str());
    id3tag_set_year(encoder, score.year.c_str());
    lame_set_write_id3tag_automatic(encoder, 0);
}

Encoder openEncoder(const Score& score) {
    Encoder encoder(lame_init());
    if (!encoder) return nullptr;
    setTags(encoder.get(), score);
    lame_set_in_samplerate(encoder.get(), SAMPLE_RATE);
    lame_set_out_samplerate(encoder.get(), SAMPLE_RATE);
    lame_set_num_channels(encoder.get(), 2);
    lame_set_mode(encoder.get(), JOINT_STEREO);
    lame_set_brate(encoder.get(), KILOBITS);
    lame_set_quality(encoder.get(), QUALITY);
    lame_set_bWriteVbrTag(encoder.get(), 1);
    return lame_init_params(encoder.get()) < 0 ? nullptr : std::move(encoder);
}

// The coded music, with room for the tag in its first frame. Empty on failure.
std::vector<unsigned char> encodeMusic(lame_t encoder, const Stereo& mix) {
    std::vector<unsigned char> bytes(mix.left.size() * 5 / 4 + 2 * PIECE);
    size_t used = 0;
    for (size_t at = 0; at < mix.left.size(); at += PIECE) {
        const size_t count = std::min(PIECE, mix.left.size() - at);
        const int coded =
            lame_encode_buffer_ieee_float(encoder, &mix.left[at], &mix.right[at], static_cast<int>(count),
                                          bytes.data() + used, static_cast<int>(bytes.size() - used));
        if (coded < 0) return {};
        used += static_cast<size_t>(coded);
    }
    const int rest = lame_encode_flush(encoder, bytes.data() + used, static_cast<int>(bytes.size() - used));
    if (rest < 0) return {};
    bytes.resize(used + static_cast<size_t>(rest));
    return bytes;
}

bool put(FILE* file, const std::vector<unsigned char>& bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

}  // namespace

bool writeMp3(const Stereo& mix, const Score& score, const std::string& path) {
    const Encoder encoder = openEncoder(score);
    if (!encoder) {
        std::fputs("[!] the mp3 encoder does not start\n", stderr);
        return false;
    }
    std::vector<unsigned char> tags(lame_get_id3v2_tag(encoder.get(), nullptr, 0));
    lame_get_id3v2_tag(encoder.get(), tags.data(), tags.size());
    std::vector<unsigned char> music = encodeMusic(encoder.get(), mix);
    // The encoder leaves its first frame blank for delay and padding, which it knows only now.
    const size_t tagFrame = lame_get_lametag_frame(encoder.get(), music.data(), music.size());
    const File file(std::fopen(path.c_str(), "wb"));
    if (!music.empty() && tagFrame > 0 && tagFrame <= music.size() && file && put(file.get(), tags) &&
        put(file.get(), music) && std::fflush(file.get()) == 0)
        return true;
    std::remove(path.c_str());  // a broken file would look finished to the next build
    std::fprintf(stderr, "[! %s] cannot be written\n", path.c_str());
    return false;
}
