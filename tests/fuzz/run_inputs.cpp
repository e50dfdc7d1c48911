// Stands in for libFuzzer's main: run_inputs FOLDER feeds every file of it to the target, as it is and damaged, the same
// in each run. The file "input" holds what was fed last.
#include "fuzz.h"

#include <filesystem>
#include <iterator>
#include <random>

namespace {

constexpr int DAMAGED_COPIES = 40;  // of each file

void feed(const std::string& input) {
    writeFile("input", input);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

}  // namespace

int main(int argc, char** argv) {
    require(argc == 2);
    std::minstd_rand random;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        feed(input);
        for (int i = 0; i < DAMAGED_COPIES; ++i) {
            std::string copy = input;
            for (int edits = i % 8; edits > 0; --edits) copy[random() % copy.size()] = static_cast<char>(random());
            feed(copy.erase(random() % copy.size(), random() % 4));
        }
    }
    require(random != std::minstd_rand());  // there were files
}
