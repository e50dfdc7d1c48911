// models.h - the framework's look at a model: which material library it names, and how many materials that holds
//
// Needs nothing, any thread. Messages go to standard output. Builds no model and keeps nothing: to draw a model, use
// glm/glm.h. No caller in the demo.
#pragma once

// What readMtlToObj is told about a model.
struct ryl_objModel {
    int positions, normals, faces;  // not set, not read
    const char* materialFile;       // name of the material library, as the model writes it
};

// Looks through the OBJ file at `path` and its material library. The library's name is the text between the first
// "mtllib" and the first ".mtl" of the file, wherever these stand; it is opened relative to the working directory.
// Returns 0. A file that cannot be opened, or no memory for it, ends the process with status -1.
int ryl_loadObjModel(const char* path);

// Looks for materials in the record's material library; says so when it cannot be opened or holds none.
void readMtlToObj(const ryl_objModel* model);
