// obj_file.h - writes a model piece by piece: OBJ text and its material library
#pragma once

#include "file.h"
#include "vec3.h"

#include <array>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

using Point = Vector<double>;

struct ObjFile {
    std::string folder, name;
    File obj = nullptr, mtl = nullptr;
    int positions = 0, texcoords = 0;  // written so far
};

// Opens NAME.obj and NAME.mtl in the folder.
inline ObjFile openObj(const std::string& folder, const std::string& name) {
    ObjFile file = {folder, name, File(std::fopen((folder + "/" + name + ".obj").c_str(), "w")),
                    File(std::fopen((folder + "/" + name + ".mtl").c_str(), "w"))};
    if (file.obj) std::fprintf(file.obj.get(), "mtllib %s.mtl\no %s\n", name.c_str(), name.c_str());
    return file;
}

// A statement as it stands, without its line end.
inline void put(const ObjFile& file, const std::string& line) { std::fprintf(file.obj.get(), "%s\n", line.c_str()); }

// Adds a material, with statements in the lines of `text`, and chooses it.
inline void material(const ObjFile& file, const std::string& name, const std::string& text) {
    std::fprintf(file.mtl.get(), "newmtl %s\n%s\n", name.c_str(), text.c_str());
    put(file, "usemtl " + name);
}

// These return the number of what they add.
inline int position(ObjFile& file, Point p) {
    std::fprintf(file.obj.get(), "v %.5f %.5f %.5f\n", p.x, p.y, p.z);
    return ++file.positions;
}
inline int position(ObjFile& file, Point p, Point colour) {
    std::fprintf(file.obj.get(), "v %.5f %.5f %.5f %.3f %.3f %.3f\n", p.x, p.y, p.z, colour.x, colour.y, colour.z);
    return ++file.positions;
}
inline int texcoord(ObjFile& file, double u, double v) {
    std::fprintf(file.obj.get(), "vt %.5f %.5f\n", u, v);
    return ++file.texcoords;
}

// "f", "l" or "p" with positions alone.
inline void element(const ObjFile& file, const char* keyword, const std::vector<int>& corners) {
    std::fputs(keyword, file.obj.get());
    for (const int corner : corners) std::fprintf(file.obj.get(), " %d", corner);
    std::fputc('\n', file.obj.get());
}

// A surface over 0 <= u, v <= 1 in rows x columns quads, counter-clockwise where u goes right and v up.
struct Grid {
    int columns, rows;
    bool closedU = false, closedV = false;  // the last column, or row, is the first
    bool textured = false;
};
inline void grid(ObjFile& file, const Grid& grid, const std::function<Point(double, double)>& place,
                 const std::function<Point(Point)>& paint = nullptr) {
    const int wide = grid.columns + (grid.closedU ? 0 : 1), high = grid.rows + (grid.closedV ? 0 : 1);
    const int first = file.positions + 1, firstTexcoord = file.texcoords + 1;
    for (int row = 0; row < high; ++row)
        for (int column = 0; column < wide; ++column) {
            const Point p = place(static_cast<double>(column) / grid.columns, static_cast<double>(row) / grid.rows);
            paint ? position(file, p, paint(p)) : position(file, p);
        }
    for (int row = 0; grid.textured && row <= grid.rows; ++row)
        for (int column = 0; column <= grid.columns; ++column)
            texcoord(file, static_cast<double>(column) / grid.columns, static_cast<double>(row) / grid.rows);
    constexpr int AROUND[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (int row = 0; row < grid.rows; ++row)
        for (int column = 0; column < grid.columns; ++column) {
            std::fputc('f', file.obj.get());
            for (const auto& step : AROUND) {
                const int x = column + step[0], y = row + step[1];
                std::fprintf(file.obj.get(), " %d", first + y % high * wide + x % wide);
                if (grid.textured) std::fprintf(file.obj.get(), "/%d", firstTexcoord + y * (grid.columns + 1) + x);
            }
            std::fputc('\n', file.obj.get());
        }
}

// A polygon in the plane of x and y, counter-clockwise, as a body from z = back to z = front.
inline void extrude(ObjFile& file, const std::vector<std::array<double, 2>>& outline, double back, double front) {
    const auto count = static_cast<int>(outline.size());
    const int first = file.positions + 1;
    for (const double z : {back, front})
        for (const auto& point : outline) position(file, {point[0], point[1], z});
    std::vector<int> upper, lower;
    for (int i = 0; i < count; ++i) {
        const int next = (i + 1) % count;
        element(file, "f", {first + i, first + next, first + count + next, first + count + i});
        upper.push_back(first + count + i);
        lower.push_back(first + count - 1 - i);
    }
    element(file, "f", upper);
    element(file, "f", lower);
}

inline void box(ObjFile& file, Point low, Point high) {
    extrude(file, {{low.x, low.y}, {high.x, low.y}, {high.x, high.y}, {low.x, high.y}}, low.z, high.z);
}
