#include "texts.h"

#include "live.h"
#include "system.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>

namespace {

std::map<std::string, std::string> texts;  // by path; entries never move

// Returns the message if the file cannot be read.
std::string readText(const std::string& path) {
    const std::optional<std::string> text = ryl_readFile(path.c_str());
    if (!text) return "[! " + path + "] file not found.";
    texts[path] = text->ends_with('\n') ? text->substr(0, text->size() - 1) : *text;
    return "";
}

}  // namespace

const std::string& ryl_loadText(const char* path) {
    const std::string wrong = readText(path);
    if (!wrong.empty()) {
        std::puts(wrong.c_str());
        std::exit(-1);
    }
    ryl_reloadOnSave({path}, [path = std::string(path)] { return readText(path); });
    return texts[path];
}
