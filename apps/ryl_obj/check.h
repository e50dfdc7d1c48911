// check.h - what the parts of ryl-obj check share: kinds of findings, and where they are
#pragma once

#include "command.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class Kind {
    syntax,
    index,
    missingFile,
    material,
    unusedMaterial,
    notFinite,
    degenerateFace,
    duplicateFace,
    winding,
    flipped,
    nonManifoldEdge,
    openEdge,
    normalLength,
    duplicatePosition,
    unused,
};
constexpr std::size_t KINDS = 15;

// What the number of a spot counts, from 0: faces, or "v", "vn" and "vt" statements.
enum class Place { face, position, normal, texcoord };

// A finding of the shape. What `a` and `b` are depends on its kind: positions of an edge from 1, another face, or
// a number of things.
struct Spot {
    Place place;
    std::uint32_t number, a, b;
};

// Spots of each kind, in no order.
struct Shape {
    std::array<std::vector<Spot>, KINDS> spots;

    void add(Kind kind, Spot spot) { spots[static_cast<std::size_t>(kind)].push_back(spot); }
};

// Looks at all faces, positions and normals of a model that was read with GLMoptions::polygons. Positions that are
// equal are one.
Shape checkShape(const Model& read);

// A finding in words. Line 0 is none.
struct Finding {
    Kind kind;
    std::string file;
    unsigned long long line;
    std::string text;
    bool unusable = false;  // it is why the file cannot be used
};

// Looks through the material libraries for what the reader does not tell: unused materials, "d" and "Tr" at odds.
void checkLibraries(const Model& model, std::vector<Finding>& findings);

// Numbers of statements of an OBJ file whose lines are wanted, ascending.
struct Wanted {
    Place place;
    std::uint32_t number;
    unsigned long long line;  // found, or 0
};

// Finds the lines in the file's text.
void findLines(std::string_view text, std::vector<Wanted>& wanted);
