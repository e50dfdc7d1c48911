#include "subject.h"

#include <optional>
#include <string>
#include <utility>

std::unique_ptr<Subject> readSubject(const char* path, SurfaceOptions options, GLMerror* error) {
    auto subject = std::make_unique<Subject>();
    GLMoptions reading;
    reading.threads = options.threads;
    if (!readModel(path, subject->model, reading, error)) return nullptr;
    options.find = [&](const char* name, std::string& found) {
        std::optional<std::string> file = findTexture(subject->model, name);
        if (file) found = std::move(*file);
        return file.has_value();
    };
    options.warn = [&](const std::string& file, const std::string& text) {
        report(file.empty() ? nameOf(path) : file, 0, "warning: " + text);
    };
    subject->surface = makeSurface(*subject->model.model, subject->model.extras.get(), options);
    return subject;
}
