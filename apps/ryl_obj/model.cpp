// Models: reading them, and the files that they name.
#include "command.h"
#include "number.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const {
        if (file != stdin) std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

bool isStandardInput(const char* path) { return std::strcmp(path, "-") == 0; }

void fail(const char* path, GLMerror* error, const char* text) {
    if (error == nullptr) return report(nameOf(path), 0, text);
    *error = {};
    std::snprintf(error->file, sizeof error->file, "%s", nameOf(path));
    std::snprintf(error->text, sizeof error->text, "%s", text);
}

// Null with errno set.
File open(const char* path) {
    if (isStandardInput(path)) return File(stdin);
    File file(std::fopen(path, "rb"));
    struct stat status {};
    if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) {
        file.reset();
        errno = EISDIR;
    }
    return file;
}

void warn(void*, const GLMwarning& warning) {
    std::string text = "warning: " + std::string(withoutFunction(warning.text));
    if (warning.count > 1) text += " (" + std::to_string(warning.count) + " times)";
    report(nameOf(warning.file), warning.line, text);
}

bool show(void*, float done) {
    showProgress("reading", done);
    return true;
}

fs::path folderOf(const GLMmodel& model) { return fs::path(model.pathname).parent_path(); }

// Reading what a model names must come to an end: pipes and devices count as missing.
bool isFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

// Files made elsewhere name others with backslashes.
std::optional<std::string> findIn(const fs::path& folder, std::string_view name) {
    if (name.empty()) return std::nullopt;
    std::string slashes(name);
    for (char& character : slashes)
        if (character == '\\') character = '/';
    for (const fs::path& path : {folder / name, folder / slashes})
        if (isFile(path)) return path.string();
    return std::nullopt;
}

}  // namespace

const char* nameOf(const char* path) { return *path == '\0' || isStandardInput(path) ? "standard input" : path; }

bool readText(const char* path, std::string& text) {
    constexpr std::size_t PIECE = 1 << 16;
    const File file = open(path);
    if (!file) return false;
    struct stat status {};
    const bool sized = fstat(fileno(file.get()), &status) == 0 && S_ISREG(status.st_mode);
    std::size_t size = 0;
    do {
        // Whatever the file has grown by comes in pieces.
        text.resize(size == 0 && sized ? static_cast<std::size_t>(status.st_size) + 1 : std::max(2 * size, PIECE));
        size += std::fread(text.data() + size, 1, text.size() - size, file.get());
    } while (size == text.size());
    text.resize(size);
    return std::ferror(file.get()) == 0;
}

bool readModel(const char* path, Model& model, GLMoptions options, GLMerror* error, std::string* text) {
    const File file = text == nullptr ? open(path) : nullptr;
    if (text != nullptr ? !readText(path, *text) : !file) {
        fail(path, error, std::strerror(errno));
        return false;
    }
    GLMextras* extras = nullptr;
    GLMerror met{};
    options.extras = &extras;
    options.progress = show;
    if (options.warn == nullptr) options.warn = warn;
    model = {};
    const char* const name = isStandardInput(path) ? "" : path;
    model.model.reset(text != nullptr ? glmTryReadMemory(text->data(), text->size(), name, &met, options)
                                      : glmTryReadFile(file.get(), name, &met, options));
    model.extras.reset(extras);
    if (model.model != nullptr) return true;
    if (error != nullptr)
        *error = met;
    else
        report(nameOf(met.file), met.line, withoutFunction(met.text));
    return false;
}

std::optional<std::string> findLibrary(const GLMmodel& model, std::string_view name) {
    return findIn(folderOf(model), name);
}

std::optional<std::string> findTexture(const Model& model, std::string_view path) {
    if (auto found = findIn(folderOf(*model.model), path)) return found;
    if (model.extras == nullptr) return std::nullopt;
    for (std::uint32_t i = 0; i < model.extras->numlibraries; ++i) {
        const auto library = findLibrary(*model.model, model.extras->libraries[i]);
        if (!library) continue;
        if (auto found = findIn(fs::path(*library).parent_path(), path)) return found;
    }
    return std::nullopt;
}

double shortest(float number) {
    std::array<char, 64> digits{};
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    double result = number;
    ryl_numberAt({digits.data(), end}, result);
    return result;
}
