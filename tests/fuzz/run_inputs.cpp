// In place of libFuzzer's main: run_inputs FOLDER feeds every file in it, none of which is empty, to the target,
// whole and damaged, the same in each run. The file "input" holds what was fed last.
#include "fuzz.h"
#include "temp_dir.h"

#include <filesystem>
#include <random>

int main(int, char** argv) {
    constexpr int DAMAGED_COPIES = 40;  // of each file
    assert(!std::filesystem::is_empty(argv[1]));
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        const std::string input = readFile(entry.path());
        std::minstd_rand random;
        for (int i = 0; i <= DAMAGED_COPIES; ++i) {
            std::string copy = input;
            for (int edits = i % 8; edits > 0; --edits) copy[random() % copy.size()] = static_cast<char>(random());
            if (i > 0) copy.erase(random() % copy.size(), random() % 4);
            writeFile("input", copy);
            feed(copy);
        }
    }
}
