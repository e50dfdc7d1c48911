#include "temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

TempDir::TempDir() {
    std::string name = (fs::temp_directory_path() / "ryl-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder = name;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

std::string TempDir::write(const std::string& name, const std::string& bytes) const {
    const fs::path file = folder / name;
    std::ofstream(file, std::ios::binary) << bytes;
    return file.string();
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
