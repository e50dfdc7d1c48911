#include "picture.h"

#include <GL/glew.h>

#include <cstdint>
#include <vector>

namespace {

struct Kept {
    GLuint texture = 0;
    GLuint framebuffer = 0;
    int width = 0, height = 0;
};
Kept kept;

// The texture starts black: where the picture is larger than the window the GL has nothing to copy.
void resizeKept(int width, int height) {
    if (kept.texture == 0) {
        glGenTextures(1, &kept.texture);
        glGenFramebuffersEXT(1, &kept.framebuffer);
    }
    kept.width = width;
    kept.height = height;
    const std::vector<std::uint32_t> black(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
    glBindTexture(GL_TEXTURE_2D, kept.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, black.data());
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D, kept.texture, 0);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
}

// One quad over the whole viewport, texel on pixel.
void drawKeptOver(float weight) {
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_TRANSFORM_BIT | GL_COLOR_BUFFER_BIT | GL_VIEWPORT_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glDisable(GL_FOG);
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glViewport(0, 0, kept.width, kept.height);
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();

    glColor4f(1, 1, 1, weight);
    glBegin(GL_QUADS);
    constexpr float corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (const auto& [s, t] : corners) {
        glTexCoord2f(s, t);
        glVertex2f(2 * s - 1, 2 * t - 1);
    }
    glEnd();

    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
}

}  // namespace

void ryl_blendPicture(int width, int height, float weight) {
    if (kept.texture == 0 || kept.width != width || kept.height != height) {
        resizeKept(width, height);
    } else {
        glBindTexture(GL_TEXTURE_2D, kept.texture);
        if (weight > 0) drawKeptOver(weight);
    }
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, width, height);
}

bool ryl_beginPicture(int width, int height) {
    if (kept.texture == 0 || kept.width != width || kept.height != height) return false;
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    return true;
}

void ryl_showPicture(void) {
    const int width = kept.width, height = kept.height;
    glBindFramebufferEXT(GL_DRAW_FRAMEBUFFER_EXT, 0);
    glBlitFramebufferEXT(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
}

bool ryl_bindPicture(void) {
    if (kept.texture == 0) return false;
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kept.framebuffer);
    return true;
}
