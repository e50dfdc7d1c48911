#include "swap_interval.h"

#include <GL/glew.h>
// GLEW before anything that includes gl.h.
#include <GL/glxew.h>

// GLX_EXT_swap_control and GLX_MESA_swap_control. GLX_SGI_swap_control knows no interval of 0.
void ryl_swapAtOnce(void) {
    Display* const display = glXGetCurrentDisplay();
    if (display == nullptr) return;
    if (GLXEW_EXT_swap_control && glXSwapIntervalEXT != nullptr)
        glXSwapIntervalEXT(display, glXGetCurrentDrawable(), 0);
    else if (GLXEW_MESA_swap_control && glXSwapIntervalMESA != nullptr)
        glXSwapIntervalMESA(0);
}
