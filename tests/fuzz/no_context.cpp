// Without a context the GL does nothing. With these the library goes on, and GLU resamples its images, for which it
// asks for the alignment of rows.
#include "live.h"

#include <GL/glu.h>

namespace {
GLint packAlignment = 4, unpackAlignment = 4;
}

void glPixelStorei(GLenum name, GLint value) {
    (name == GL_PACK_ALIGNMENT ? packAlignment : unpackAlignment) = value;
}

void glGetIntegerv(GLenum name, GLint* value) {
    constexpr int LARGEST = 4096;
    const GLint alignment = name == GL_PACK_ALIGNMENT     ? packAlignment
                            : name == GL_UNPACK_ALIGNMENT ? unpackAlignment
                                                          : 0;
    *value = name == GL_MAX_TEXTURE_SIZE ? LARGEST : alignment;
}

GLint gluBuild2DMipmaps(GLenum, GLint, GLsizei, GLsizei, GLenum, GLenum, const void*) { return 0; }

// Nothing is loaded again here.
void ryl_reloadOnSave(const std::vector<std::string>&, LoadAgain, const std::string&) {}
