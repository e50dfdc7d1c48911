// glmimg.h - what the library keeps about the GL's texture limits
//
// Set once by glmImgInit, for the process. Read only outside of glmimg.cpp. The image functions are in glm.h.
#pragma once

#include <cstdint>

extern int glm_do_init;                        // 1 until glmImgInit has run
extern std::int32_t gl_max_texture_size;       // GL_MAX_TEXTURE_SIZE, in pixels
extern unsigned char gl_sgis_generate_mipmap;  // 1 when the GL makes mipmaps itself
