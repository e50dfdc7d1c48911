// lighting.h - fixed-function lights
//
// Needs    a current GL context; the GL thread.
// Leaves   lighting on until ryl_setLight0(0).
// Never    moves light 0: it keeps the position that the GL holds, by default from the viewer along +z.
#pragma once

// Any value but 0 switches the scenes' light on: lighting and light 0, white, ambient 0.2, diffuse 0.8, specular 0.5.
// 0 switches lighting off and leaves light 0 as it is.
void ryl_setLight0(int on);

// ---- For programs with lights of their own; the demo calls none of these. -----------------------------------------

// One light: four floats a vector, as glLightfv takes them. `ambient` is for callers; it is not sent to the GL.
struct LightData {
    float ambient[4];
    float diffuse[4];
    float specular[4];
    float position[4];  // x, y, z, w; w = 0 is a direction
};

// The light that every surface gets (glLightModel), red, green, blue, alpha.
void ryl_setAmbientLight(float red, float green, float blue, float alpha);

// Stores a, b, c, d in the four floats of `vector`.
void ryl_setLightData(float* vector, float a, float b, float c, float d);

// Switches lighting and GL light number `index` (from 0) on, with the diffuse and specular colours and the
// position of `light`; the position is transformed by the current modelview matrix.
void ryl_enableLight(const LightData* light, int index);
