// glmimg.h - the GL's texture limits, which glmImgInit sets once for the process
//
// Only glmimg.cpp writes them. The image functions are in glm.h.
#pragma once

#include <cstdint>

extern int glm_do_init;                        // 1 until glmImgInit has run
extern std::int32_t gl_max_texture_size;       // GL_MAX_TEXTURE_SIZE, in pixels
extern unsigned char gl_sgis_generate_mipmap;  // 1 if the GL makes mipmaps itself
