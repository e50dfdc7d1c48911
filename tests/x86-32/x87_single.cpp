// Preloaded into the 32-bit demo, lets GL's matrices be computed as on x86-64. Debian compiles the 32-bit GL for the x87
// unit, which keeps more of a result than a float holds; here the unit rounds to single precision, as SSE does.
#include <GL/gl.h>
#include <dlfcn.h>
#include <fpu_control.h>

namespace {

void setPrecision(fpu_control_t precision) {
    fpu_control_t control = 0;
    _FPU_GETCW(control);
    control = static_cast<fpu_control_t>((control & ~_FPU_EXTENDED) | precision);
    _FPU_SETCW(control);
}

void callRounding(decltype(glTranslatef)* function, float x, float y, float z) {
    setPrecision(_FPU_SINGLE);
    function(x, y, z);
    setPrecision(_FPU_EXTENDED);
}

// GL's own function of that name, which the one that is called here hides.
decltype(glTranslatef)* hidden(const char* name) {
    return reinterpret_cast<decltype(glTranslatef)*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void glTranslatef(float x, float y, float z) {
    static auto* const translate = hidden("glTranslatef");
    callRounding(translate, x, y, z);
}

void glScalef(float x, float y, float z) {
    static auto* const scale = hidden("glScalef");
    callRounding(scale, x, y, z);
}
