// model_files.h - models from text, and what reading them says
#pragma once

#include "child.h"
#include "glm/glm.h"
#include "temp_dir.h"

#include <memory>
#include <string>

struct DeleteModel {
    void operator()(GLMmodel* model) const { glmDelete(model); }
};
using Model = std::unique_ptr<GLMmodel, DeleteModel>;

// A folder with "m.obj", and with "m.mtl" when `mtl` is not empty.
struct ModelFiles {
    explicit ModelFiles(const std::string& obj, const std::string& mtl = "") : path(folder.write("m.obj", obj)) {
        if (!mtl.empty()) folder.write("m.mtl", mtl);
    }
    Model read() const { return Model(glmReadOBJ(path.c_str())); }
    // Reads and deletes the model in a child process, for what it prints and how it ends. In what it prints,
    // the folder is "@".
    ChildResult readInChild() const {
        ChildResult result = runInChild([this] { read(); });
        const std::string name = folder.path().string() + "/";
        for (std::size_t at = result.errors.find(name); at != std::string::npos; at = result.errors.find(name))
            result.errors.replace(at, name.size(), "@");
        return result;
    }

    TempDir folder;
    std::string path;
};
