// Targets that feed one file to one area; the build compiles this once for each, with FEED as one of these functions.
#include "fuzz.h"
#include "models.h"
#include "textures.h"

#include <zlib.h>

#include <algorithm>
#include <vector>

namespace {

constexpr const char* PATH = "file.mtl";
constexpr std::uint64_t GD_PIXELS = 1 << 22;  // libgd takes memory for all that a PNG claims to have

// Reads the file as pixels, all of which must be there, and as a texture.
void feedLibrary(decltype(glmReadPNG)* read) {
    constexpr std::uint32_t FORMATS[] = {0x1909, 0x190a, 0x1907, 0x1908};  // of 1 to 4 samples
    int width = 0, height = 0;
    std::uint32_t format = 0;
    if (unsigned char* pixels = read(PATH, true, &width, &height, &format)) {
        const auto samples = std::find(FORMATS, FORMATS + 3, format) - FORMATS + 1;
        const std::vector<unsigned char> copy(pixels, pixels + samples * width * height);
        std::free(pixels);
    }
    float factors[2];
    goesOn([&] { glmLoadTexture(PATH, true, true, true, true, &factors[0], &factors[1]); });
}

std::uint32_t numberAt(const std::string& png, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(png[at + i]);
    return number;
}

// A wrong checksum, which is what nearly every change leads to, would end the reading early.
void mendChecksums(std::string& png) {
    for (std::size_t at = 8, end = 0; at + 12 <= png.size(); at = end + 4) {
        const std::uint32_t length = numberAt(png, at);
        if (length > png.size() - at - 12) return;
        end = at + 8 + length;
        auto sum = crc32(0, reinterpret_cast<const Bytef*>(&png[at + 4]), length + 4);
        for (std::size_t i = 4; i-- > 0; sum >>= 8) png[end + i] = static_cast<char>(sum);
    }
}

[[maybe_unused]] void png(std::string& file) {
    mendChecksums(file);
    writeFile(PATH, file);
    feedLibrary(glmReadPNG);
    if (file.size() < 24 || std::uint64_t{numberAt(file, 16)} * numberAt(file, 20) < GD_PIXELS)
        goesOn([] { ryl_loadPNG(PATH); });
}

[[maybe_unused]] void ppm(std::string& file) {
    writeFile(PATH, file);
    feedLibrary(glmReadPPM);
}

[[maybe_unused]] void tga(std::string& file) {
    writeFile(PATH, file);
    goesOn([] { ryl_loadTGA(PATH); });
}

// A model, and its library if it names itself.
[[maybe_unused]] void probe(std::string& file) {
    writeFile(PATH, file);
    goesOn([] { ryl_loadObjModel(PATH); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string file(reinterpret_cast<const char*>(data), size);
    FEED(file);
    return 0;
}
