#include "scenes/cube_batch.h"

#include "fbo.h"

#include <GL/gl.h>

namespace {

constexpr float NEAR_Z = RYL_CAMERA_Z - 1;

struct Face {
    float normal[3];
    float corners[4][3];  // halves of a side
};
constexpr Face FACES[] = {
    {{0, 0, 1}, {{-1, -1, 1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, 1}}},
    {{0, 0, -1}, {{1, -1, -1}, {-1, -1, -1}, {-1, 1, -1}, {1, 1, -1}}},
    {{0, 1, 0}, {{-1, 1, 1}, {1, 1, 1}, {1, 1, -1}, {-1, 1, -1}}},
    {{0, -1, 0}, {{-1, -1, -1}, {1, -1, -1}, {1, -1, 1}, {-1, -1, 1}}},
    {{1, 0, 0}, {{1, -1, 1}, {1, -1, -1}, {1, 1, -1}, {1, 1, 1}}},
    {{-1, 0, 0}, {{-1, -1, -1}, {-1, -1, 1}, {-1, 1, 1}, {-1, 1, -1}}},
};

// Whether the eye lies on the outer side of the face's plane.
bool isFacingEye(const Face& face, const Cube& cube) {
    const float* n = face.normal;
    return n[0] * -cube.x + n[1] * -cube.y + n[2] * (RYL_CAMERA_Z - cube.z) > cube.side / 2;
}

}  // namespace

void addCube(CubeBatch& batch, const Cube& cube) {
    const float half = cube.side / 2;
    const bool open = cube.z + half > NEAR_Z;
    for (const Face& face : FACES) {
        if (!open && !isFacingEye(face, cube)) continue;
        for (const float(&corner)[3] : face.corners)
            batch.push_back({{cube.x + half * corner[0], cube.y + half * corner[1], cube.z + half * corner[2]},
                             {face.normal[0], face.normal[1], face.normal[2]},
                             {cube.red, cube.green, cube.blue, 1}});
    }
}

void drawBatch(const CubeBatch& batch) {
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    constexpr GLsizei STRIDE = sizeof(CubeCorner);
    glVertexPointer(3, GL_FLOAT, STRIDE, batch.data()->position);
    glNormalPointer(GL_FLOAT, STRIDE, batch.data()->normal);
    glColorPointer(4, GL_FLOAT, STRIDE, batch.data()->colour);
    glDrawArrays(GL_QUADS, 0, static_cast<GLsizei>(batch.size()));
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}
