#include "live_tune.h"

#include "system.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace {

std::uint32_t bigEndian(std::string_view bytes) {
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(0, 4)) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

// From an ID3v2 tag (id3.org), whose size has seven bits a byte, to what follows it.
std::string_view withoutTag(std::string_view mp3) {
    constexpr std::size_t HEADER = 10;
    if (!mp3.starts_with("ID3") || mp3.size() < HEADER) return mp3;
    std::size_t size = 0;
    for (const char byte : mp3.substr(6, 4)) size = size << 7 | (static_cast<unsigned char>(byte) & 0x7fU);
    return mp3.substr(std::min(mp3.size(), HEADER + size));
}

// Whether the info frame that encoders write first (Xing's VBR header, which LAME uses for all files) counts more
// bytes than there are.
bool isCutShort(std::string_view file) {
    constexpr unsigned MPEG1 = 3, MONO = 3, HAS_FRAMES = 1, HAS_BYTES = 2;
    const std::string_view mp3 = withoutTag(file);
    if (mp3.size() < 4) return true;
    const unsigned header = bigEndian(mp3);
    const bool isMpeg1 = (header >> 19 & 3) == MPEG1, isMono = (header >> 6 & 3) == MONO;
    const std::size_t sideInfo = isMpeg1 ? (isMono ? 17 : 32) : (isMono ? 9 : 17);
    const std::string_view info = mp3.substr(std::min(mp3.size(), 4 + sideInfo));
    if (info.size() < 16 || (!info.starts_with("Xing") && !info.starts_with("Info"))) return false;
    const unsigned flags = bigEndian(info.substr(4));
    return (flags & HAS_BYTES) != 0 && bigEndian(info.substr((flags & HAS_FRAMES) != 0 ? 12 : 8)) > mp3.size();
}

// Replaces what is in the file.
bool writeAll(int file, std::string_view bytes) {
    if (ftruncate(file, 0) != 0 || lseek(file, 0, SEEK_SET) != 0) return false;
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

TuneCopy ryl_copyTune(const std::string& path) {
    // One plays while the other one is written.
    static int copies[] = {memfd_create("tune", MFD_CLOEXEC), memfd_create("tune", MFD_CLOEXEC)};
    const std::optional<std::string> mp3 = ryl_readFile(path.c_str());
    if (!mp3) return {{}, "[! " + path + "] file not found."};
    if (isCutShort(*mp3)) return {{}, "[! " + path + "] the file is cut short."};
    std::swap(copies[0], copies[1]);
    if (!writeAll(copies[0], *mp3)) return {{}, "[! " + path + "] there is no memory for a copy."};
    return {"/proc/self/fd/" + std::to_string(copies[0])};
}
