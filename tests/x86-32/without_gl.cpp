// What the model library's reading, geometry and writing call of the GL, where there is none: images are not loaded.
#include "glm/glm.h"

#include <GL/glu.h>

std::uint32_t glmLoadTexture(const char*, bool, bool, bool, bool, float*, float*) { return 0; }

void glDeleteTextures(GLsizei, const GLuint*) {}
GLenum glGetError() { return GL_NO_ERROR; }
const GLubyte* gluErrorString(GLenum) { return nullptr; }
