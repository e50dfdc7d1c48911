// models.h - looks through a model file: which material library it names, and whether that holds materials
//
// Needs nothing, any thread. Messages go to standard output. Builds no model and keeps nothing: to draw a model, use
// glm/glm.h. For other programs; the demo does not call it.
#pragma once

// The argument of readMtlToObj.
struct ryl_objModel {
    int positions, normals, faces;  // not set, not read
    const char* materialFile;       // name of the material library, as the model writes it
};

// Looks through the OBJ file at `path` and its material library. The library's name is the text between the first
// "mtllib" and the first ".mtl" of the file, wherever these stand; it is opened relative to the working directory.
// Returns 0. A file that cannot be opened, or no memory for it, ends the process with status -1.
int ryl_loadObjModel(const char* path);

// Looks for materials in the record's material library. Prints a line if it cannot be opened or holds none.
void readMtlToObj(const ryl_objModel* model);
