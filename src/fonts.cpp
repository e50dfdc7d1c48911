#include "fonts.h"

#include "textures.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr char FIRST_GLYPH = 'a';
constexpr float DEPTH_STEP = 0.01f;

GLuint FONTLIST = 0;
int FONTQ = 0;

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return lowerCase(c); });
    return lower;
}

void compileGlyph(GLuint list, GLuint texture, float left, float right) {
    glNewList(list, GL_COMPILE);
    glColor4f(1, 1, 1, 1);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture);
    glBegin(GL_QUADS);
    glTexCoord2f(left, 0);
    glVertex3f(-1, -1, 0);
    glTexCoord2f(right, 0);
    glVertex3f(1, -1, 0);
    glTexCoord2f(right, 1);
    glVertex3f(1, 1, 0);
    glTexCoord2f(left, 1);
    glVertex3f(-1, 1, 0);
    glEnd();
    glDisable(GL_TEXTURE_2D);
    glEndList();
}

}  // namespace

unsigned ryl_loadTextureFont(const char* path, int count) {
    if (count < 1) {
        std::puts("[!] No fontindex was given (argument 2 of function ryl_loadTextureFont()");
        std::exit(-1);
    }
    const std::string lower = lowerCase(path);
    for (auto blanks = std::count(lower.begin(), lower.end(), ' '); blanks > 0; --blanks)
        std::printf("[/] \"%s\" contains whitespaces. is bad\n", path);
    const GLuint texture = lower.ends_with("tga") ? ryl_loadTGA(path) : 0;

    const GLuint first = glGenLists(count);
    const double cell = 1.0 / count;
    for (int i = 0; i < count; ++i) {
        compileGlyph(first + static_cast<GLuint>(i), texture, static_cast<float>(i * cell),
                     static_cast<float>((i + 1) * cell));
    }
    FONTQ = count;
    FONTLIST = first;
    return first;
}

void ryl_text(const char* text, float spacing, float x, float y, float z, float rotX, float rotY, float rotZ) {
    if (FONTQ == 0) {
        std::puts("[!] ryl_text() no font loaded.");
        std::exit(-1);
    }
    glPushMatrix();
    glTranslatef(x, y, z);
    glRotatef(rotX, 1, 0, 0);
    glRotatef(rotY, 0, 1, 0);
    glRotatef(rotZ, 0, 0, 1);
    float depth = DEPTH_STEP;
    for (int i = 0; text[i] != '\0'; ++i) {
        const int glyph = lowerCase(text[i]) - FIRST_GLYPH;
        if (glyph < 0 || glyph >= FONTQ) continue;
        glPushMatrix();
        glTranslatef(static_cast<float>(i) * spacing, 0, depth);
        glCallList(FONTLIST + static_cast<GLuint>(glyph));
        glPopMatrix();
        depth += DEPTH_STEP;
    }
    glPopMatrix();
}

void ryl_testTextureFont(void) {
    constexpr float SIDE = 10;
    static int loaded = 0;
    static GLuint texID = 0;
    if (loaded == 0) {
        ++loaded;
        texID = ryl_loadTGA("data/font.tga");
        std::printf("%d\n", static_cast<int>(texID));
    }
    glEnable(GL_TEXTURE_2D);
    glPushMatrix();
    glBindTexture(GL_TEXTURE_2D, texID);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0);
    glVertex3f(0, 0, 0);
    glTexCoord2f(1, 0);
    glVertex3f(SIDE, 0, 0);
    glTexCoord2f(1, 1);
    glVertex3f(SIDE, SIDE, 0);
    glTexCoord2f(0, 1);
    glVertex3f(0, SIDE, 0);
    glEnd();
    glPopMatrix();
    glDisable(GL_TEXTURE_2D);
}
