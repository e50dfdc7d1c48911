// make_cube - writes the demo's model, a cube with bevelled edges and corners, as OBJ and MTL
//
// The model is drawn up to 500 times a frame with one normal per facet, so it has just what shows: 6 faces
// and 12 edge strips of four corners each and 8 corner triangles, 44 triangles in all, counter-clockwise seen
// from outside.

#include "file.h"

#include <array>
#include <cstdio>
#include <string>

namespace {

constexpr double HALF_EDGE = 1.6;  // scene units; the floor's cells are 10 apart
constexpr double BEVEL = 0.20;     // how far the bevel reaches in from each face

// A corner of the cube is a sign per axis. Each corner has three vertices, one on each of its faces.
struct Corner {
    int sign[3];
};

// Number, from 1, of the vertex that `corner` has on its face across `axis`.
int vertexNumber(Corner corner, int axis) {
    int index = 0;
    for (int i = 0; i < 3; ++i) index = 2 * index + (corner.sign[i] > 0 ? 1 : 0);
    return 3 * index + axis + 1;
}

void writeVertices(FILE* obj) {
    for (int index = 0; index < 8; ++index)
        for (int axis = 0; axis < 3; ++axis) {
            double position[3];
            for (int i = 0; i < 3; ++i)
                position[i] = ((index >> (2 - i)) & 1 ? 1 : -1) * (i == axis ? HALF_EDGE : HALF_EDGE - BEVEL);
            std::fprintf(obj, "v %.4f %.4f %.4f\n", position[0], position[1], position[2]);
        }
}

// Writes corners a, b, c, d as a face; `outwards` says whether that order is counter-clockwise from outside.
void writeQuad(FILE* obj, int a, int b, int c, int d, bool outwards) {
    if (outwards)
        std::fprintf(obj, "f %d %d %d %d\n", a, b, c, d);
    else
        std::fprintf(obj, "f %d %d %d %d\n", a, d, c, b);
}

Corner cornerAt(int axis, int onAxis, int onNext, int onLast) {
    Corner corner{};
    corner.sign[axis] = onAxis;
    corner.sign[(axis + 1) % 3] = onNext;
    corner.sign[(axis + 2) % 3] = onLast;
    return corner;
}

void writeFaces(FILE* obj) {
    for (int axis = 0; axis < 3; ++axis)
        for (int side = -1; side <= 1; side += 2) {
            const auto vertex = [&](int next, int last) {
                return vertexNumber(cornerAt(axis, side, next, last), axis);
            };
            writeQuad(obj, vertex(-1, -1), vertex(1, -1), vertex(1, 1), vertex(-1, 1), side > 0);
        }
}

// The strip along each edge joins the two faces that meet there.
void writeEdges(FILE* obj) {
    for (int axis = 0; axis < 3; ++axis)  // the axis that the edge runs along
        for (int next = -1; next <= 1; next += 2)
            for (int last = -1; last <= 1; last += 2) {
                const Corner low = cornerAt(axis, -1, next, last), high = cornerAt(axis, 1, next, last);
                const int onNext = (axis + 1) % 3, onLast = (axis + 2) % 3;
                writeQuad(obj, vertexNumber(low, onNext), vertexNumber(low, onLast), vertexNumber(high, onLast),
                          vertexNumber(high, onNext), next * last > 0);
            }
}

void writeCorners(FILE* obj) {
    for (int x = -1; x <= 1; x += 2)
        for (int y = -1; y <= 1; y += 2)
            for (int z = -1; z <= 1; z += 2) {
                const Corner corner{{x, y, z}};
                const int a = vertexNumber(corner, 0), b = vertexNumber(corner, 1), c = vertexNumber(corner, 2);
                if (x * y * z > 0)
                    std::fprintf(obj, "f %d %d %d\n", a, b, c);
                else
                    std::fprintf(obj, "f %d %d %d\n", a, c, b);
            }
}

void writeModel(FILE* obj, const std::string& library) {
    std::fprintf(obj, "# A cube of edge %.4f with its edges and corners bevelled by %.4f\n", 2 * HALF_EDGE, BEVEL);
    std::fprintf(obj, "mtllib %s\no cube\n", library.c_str());
    writeVertices(obj);
    std::fprintf(obj, "usemtl body\ng faces\n");
    writeFaces(obj);
    std::fprintf(obj, "usemtl bevel\ng edges\n");
    writeEdges(obj);
    std::fprintf(obj, "g corners\n");
    writeCorners(obj);
}

void writeMaterials(FILE* mtl) {
    std::fputs("# Matt sides, bevels that catch the light\n"
               "newmtl body\nKa 0.2 0.2 0.2\nKd 0.1 0.86 0.22\nKs 0.1 0.1 0.1\nNs 20\nillum 2\n"
               "newmtl bevel\nKa 0.2 0.2 0.2\nKd 0.5 1.0 0.6\nKs 0.8 0.8 0.8\nNs 60\nillum 2\n",
               mtl);
}

bool isWritten(FILE* file) { return std::fflush(file) == 0 && !std::ferror(file); }

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fputs("usage: make_cube MODEL.obj MATERIALS.mtl\n", stderr);
        return 1;
    }
    const std::string materials = argv[2];
    const File obj(std::fopen(argv[1], "w")), mtl(std::fopen(argv[2], "w"));
    if (obj && mtl) {
        writeModel(obj.get(), materials.substr(materials.find_last_of('/') + 1));
        writeMaterials(mtl.get());
        if (isWritten(obj.get()) && isWritten(mtl.get())) return 0;
    }
    for (const char* path : {argv[1], argv[2]})
        std::remove(path);  // half a model would look finished to the next build
    std::fprintf(stderr, "[! %s] cannot be written\n", argv[obj ? 2 : 1]);
    return 1;
}
