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
