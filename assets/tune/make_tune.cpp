// make_tune - renders the soundtrack and encodes it as an mp3 file

#include <lame/lame.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int SAMPLE_RATE = 44100;
constexpr double LENGTH = 196.0, PICTURE_END = 132.0;
constexpr double BEAT = 60.0 / 180;

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};

float sampleAt(double t) {
    const double tau = 6.283185307179586;
    const double beat = std::fmod(t < 10.4 ? t - 5.4 + 18 * BEAT : t - 10.4, BEAT);
    const double pad = 0.1 * (std::sin(tau * 110 * t) + std::sin(tau * 164.81 * t) + std::sin(tau * 220 * t));
    if (t < 5.4) return static_cast<float>(pad * t / 5.4);
    if (t > PICTURE_END) return static_cast<float>(0.3 * pad);
    const double kick =
        0.6 * std::exp(-beat * 18) * std::sin(tau * (45 * beat + 6 * (1 - std::exp(-beat * 30))));
    return static_cast<float>(kick + pad);
}

std::vector<unsigned char> encode(const std::vector<float>& samples, bool& ok) {
    lame_t lame = lame_init();
    lame_set_in_samplerate(lame, SAMPLE_RATE);
    lame_set_num_channels(lame, 2);
    lame_set_brate(lame, 192);
    lame_set_quality(lame, 5);
    lame_set_bWriteVbrTag(lame, 1);
    ok = lame_init_params(lame) >= 0;
    std::vector<unsigned char> bytes(samples.size() * 5 / 4 + 7200 + 65536);
    const int body =
        lame_encode_buffer_ieee_float(lame, samples.data(), samples.data(), static_cast<int>(samples.size()),
                                      bytes.data(), static_cast<int>(bytes.size()));
    const int tail = lame_encode_flush(lame, bytes.data() + body, static_cast<int>(bytes.size()) - body);
    lame_get_lametag_frame(lame, bytes.data(), bytes.size());
    bytes.resize(static_cast<size_t>(body) + tail);
    lame_close(lame);
    return bytes;
}

}  // namespace

int main(int, char* argv[]) {
    std::vector<float> samples;
    samples.reserve(static_cast<size_t>(LENGTH * SAMPLE_RATE));
    for (int i = 0; i < static_cast<int>(LENGTH * SAMPLE_RATE); ++i)
        samples.push_back(sampleAt(static_cast<double>(i) / SAMPLE_RATE));
    bool ok = false;
    const std::vector<unsigned char> bytes = encode(samples, ok);
    const std::unique_ptr<FILE, CloseFile> file(std::fopen(argv[1], "wb"));
    return ok && file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() ? 0 : 1;
}
