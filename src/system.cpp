#include "system.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {

constexpr int TEST_BLOCKS = 10;
constexpr std::size_t TEST_BLOCK_BYTES = 2048;

// The volatile pointer keeps the compiler from dropping the unused allocation.
bool canAllocate(std::size_t bytes) {
    void* volatile block = std::malloc(bytes);
    const bool got = block != nullptr;
    std::free(block);
    return got;
}

}  // namespace

File ryl_openFile(const char* path) {
    std::error_code unknown;
    if (std::filesystem::is_directory(path, unknown)) return nullptr;
    return File(std::fopen(path, "rb"));
}

long ryl_bytesLeft(std::FILE* file) {
    const long here = std::ftell(file);
    if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return -1;
    const long end = std::ftell(file);
    return std::fseek(file, here, SEEK_SET) == 0 ? end - here : -1;
}

std::optional<std::string> ryl_readFile(const char* path) {
    const File file = ryl_openFile(path);
    if (!file) return std::nullopt;
    std::string bytes;
    char block[4096];
    while (const std::size_t read = std::fread(block, 1, sizeof block, file.get())) bytes.append(block, read);
    if (std::ferror(file.get()) != 0) return std::nullopt;
    return bytes;
}

void ryl_systemCheck(int quiet) {
    std::puts("[*] systemcheck.");
    if constexpr (std::endian::native != std::endian::little) {
        std::puts("[!] System is not little endian.");
        if (quiet == 0) std::exit(-1);
    }
    for (int i = 0; i < TEST_BLOCKS; ++i) {
        if (!canAllocate(TEST_BLOCK_BYTES) && quiet == 0)
            std::puts("[!] System cannot allocate memory. is fatal. is bad. is really reaaally bad. "
                      "fix ur goddamn system :'(");
    }
    std::puts("[*] system seems fine");
}

void dprint(const char* message, int enabled) {
    if (enabled != 0) std::printf("[DEV] %s\n", message);
}
