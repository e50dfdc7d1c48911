// convert.h - what the parts of ryl-obj convert share: changes of a model, and PLY files
//
// The model is one that was read with its extras and with GLMoptions::polygons: its faces are elements of the
// extras. Colours, points and lines go with its positions through every change. Geometry of the model library that
// runs out of memory ends the process, with a message.
#pragma once

#include "command.h"

#include <array>
#include <cstdio>

// Makes faces of the triangles of a model that was read without GLMoptions::polygons.
void makeFaces(Model& read);

enum class Mapping { linear, spherical, cube };
enum class Grouping { none, object, material, part };

void translateModel(GLMmodel& model, const std::array<float, 3>& offset);

// Centres the positions and scales them into the cube from -1 to 1.
void unitizeModel(GLMmodel& model);

// Turns all faces and normals over.
void reverseModel(Model& read);

// Makes one position of those within `distance` of each other: the first of them, with its colour.
void weldModel(Model& read, float distance);

// Gives corners new normals, smooth where faces meet at less than `angle` degrees; or one for each face.
void smoothNormals(Model& read, float angle);
void facetNormals(Model& read);
void dropNormals(Model& read);

// Gives corners new texture coordinates: from above, by the normals as on a sphere, or from the side of a cube
// that the face looks to. False if there are no normals for a sphere.
bool mapTexture(Model& read, Mapping mapping);
void dropTexcoords(Model& read);

// Sorts the faces into one group, or one for each object, material, or part that hangs together.
void groupModel(Model& read, Grouping grouping);

// Writes the model to `file`: positions with normals, texture coordinates and colours, faces, and lines as edges.
// False with errno set when it cannot be written.
bool writePly(std::FILE* file, const Model& model, bool ascii);
