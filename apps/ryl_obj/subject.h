// subject.h - a model file that is drawn
#pragma once

#include "command.h"
#include "surface.h"

#include <memory>

struct Subject {
    Model model;
    Surface surface;
};

// Reads the model with the images of its materials. Null when it cannot be used; the error is reported unless `error`
// takes it. Warnings are reported. `options` need not say how images are found.
std::unique_ptr<Subject> readSubject(const char* path, SurfaceOptions options, GLMerror* error = nullptr);
