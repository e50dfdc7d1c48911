// Preloaded into the 32-bit demo, lets the processor's x87 unit round every result to single precision, as SSE does with
// floats. Debian's 32-bit GL computes with that unit, in a precision of its own: rounded so, its matrices and corners are
// those of the 64-bit GL. What computes with doubles goes on in the unit's full precision: the C library's and GLU's
// functions that the demo calls; the demo itself does without the unit.
#include <GL/glu.h>
#include <dlfcn.h>
#include <fpu_control.h>

#include <cmath>

namespace {

void setPrecision(fpu_control_t precision) {
    fpu_control_t control = 0;
    _FPU_GETCW(control);
    control = static_cast<fpu_control_t>((control & ~_FPU_EXTENDED) | precision);
    _FPU_SETCW(control);
}

// Threads take it over from the one that starts them.
struct SinglePrecision {
    SinglePrecision() { setPrecision(_FPU_SINGLE); }
} const singlePrecision;

// Calls the library's own function of that name and type.
template <typename Function, typename... Arguments>
auto inFullPrecision(Function*, const char* name, Arguments... arguments) {
    struct FullPrecision {
        FullPrecision() { setPrecision(_FPU_EXTENDED); }
        ~FullPrecision() { setPrecision(_FPU_SINGLE); }
    } const fullPrecision;
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace

extern "C" {

double cos(double x) { return inFullPrecision<double(double)>(cos, "cos", x); }
double sin(double x) { return inFullPrecision<double(double)>(sin, "sin", x); }
double sqrt(double x) { return inFullPrecision<double(double)>(sqrt, "sqrt", x); }
void sincos(double x, double* sine, double* cosine) { inFullPrecision(sincos, "sincos", x, sine, cosine); }
void gluPerspective(double angle, double aspect, double nearest, double farthest) {
    inFullPrecision(gluPerspective, "gluPerspective", angle, aspect, nearest, farthest);
}
}
