// screen.h - the window as the framework sets it up, and what is on it
#pragma once

#include "gl_window.h"
#include "ryl.h"

#include <GL/glew.h>

#include <cstdlib>
#include <vector>

using Bytes = std::vector<unsigned char>;

// A white window of the size, the camera in its place.
inline void openScreen(int width, int height) {
    openTestWindow(width, height);
    ryl_initRendering();
    ryl_handleResize(width, height);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(0, 0, -50);
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

// R, G, B, A of every pixel of what is bound for reading, bottom row first.
inline Bytes pixels() {
    int box[4] = {};
    glGetIntegerv(GL_VIEWPORT, box);
    Bytes bytes(static_cast<std::size_t>(box[2]) * static_cast<std::size_t>(box[3]) * 4);
    glReadPixels(0, 0, box[2], box[3], GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    return bytes;
}

// How many components differ by more than `levels`.
inline int different(const Bytes& a, const Bytes& b, int levels) {
    int count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) count += std::abs(a[i] - b[i]) > levels ? 1 : 0;
    return count;
}

// What drawing leaves as it found it.
inline std::vector<double> glState() {
    std::vector<double> all;
    for (const GLenum name :
         {GL_MODELVIEW_MATRIX, GL_MATRIX_MODE, GL_VIEWPORT, GL_CURRENT_PROGRAM, GL_TEXTURE_2D, GL_FRAMEBUFFER_BINDING,
          GL_ACTIVE_TEXTURE, GL_BLEND, GL_BLEND_SRC, GL_BLEND_DST, GL_DEPTH_TEST, GL_DEPTH_WRITEMASK, GL_FOG,
          GL_LIGHTING, GL_CURRENT_COLOR, GL_COLOR_CLEAR_VALUE}) {
        double values[16] = {};
        glGetDoublev(name, values);
        all.insert(all.end(), values, values + 16);
    }
    return all;
}
