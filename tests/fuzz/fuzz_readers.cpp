// Targets that feed one file to one area. The build compiles this once for each, and FEED names the function.
#include "fuzz.h"
#include "glm/glm.h"
#include "models.h"
#include "textures.h"
#include "tracks.h"

#include <png.h>

#include <algorithm>

namespace {

constexpr const char* PATH = "file.mtl";

// Reads the file as pixels, all of which must be there, and as a texture.
void feedLibrary(decltype(glmReadPNG)* read) {
    constexpr std::uint32_t FORMATS[] = {0x1909, 0x190a, 0x1907, 0x1908};  // of 1 to 4 samples
    int width = 0, height = 0;
    std::uint32_t format = 0;
    if (unsigned char* pixels = read(PATH, true, &width, &height, &format)) {
        const auto samples = std::find(FORMATS, FORMATS + 3, format) - FORMATS + 1;
        std::reverse(pixels, pixels + samples * width * height);
        std::free(pixels);
    }
    float factors[2];
    goesOn([&] { glmLoadTexture(PATH, true, true, true, true, &factors[0], &factors[1]); });
}

[[maybe_unused]] void png() {
    feedLibrary(glmReadPNG);
    goesOn([] { ryl_loadPNG(PATH); });
}
[[maybe_unused]] void ppm() { feedLibrary(glmReadPPM); }
[[maybe_unused]] void tga() {
    goesOn([] { ryl_loadTGA(PATH); });
}
[[maybe_unused]] void tracks() {
    goesOn([] { ryl_loadTracks(PATH); });
    for (const double t : {-1.0, 0.5, 4.0, 0.5, 1e9}) ryl_track("a", t);
}
[[maybe_unused]] void probe() {
    goesOn([] { ryl_loadObjModel(PATH); });  // a model, and its library when it names itself
}

}  // namespace

// In place of libpng's. Goes on after a wrong checksum, because nearly every change gives one. Limits the size,
// because libgd takes memory for all the pixels that a file claims to have.
png_structp png_create_read_struct(png_const_charp version, png_voidp data, png_error_ptr error, png_error_ptr warn) {
    png_structp png = png_create_read_struct_2(version, data, error, warn, nullptr, nullptr, nullptr);
    png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_set_user_limits(png, 2000, 2000);
    return png;
}

void feed(const std::string& input) {
    writeFile(PATH, input);
    FEED();
}
