// model_files.h - models from text
#pragma once

#include "child.h"
#include "glm/glm_util.h"
#include "temp_dir.h"

#include <memory>
#include <string>

using Model = GLMowned;

// A folder with "m.obj" and "m.mtl".
struct ModelFiles {
    explicit ModelFiles(const std::string& obj, const std::string& mtl = "") : path(folder.write("m.obj", obj)) {
        folder.write("m.mtl", mtl);
    }
    Model read() const { return Model(glmReadOBJ(path.c_str())); }
    std::string at(const char* name) const { return (folder.path() / name).string(); }

    TempDir folder;
    std::string path;
};
