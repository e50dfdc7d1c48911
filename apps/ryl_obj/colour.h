// colour.h - colours as light, and as the bytes of a picture (sRGB, IEC 61966-2-1)
#pragma once

#include <cstdint>

struct Colour {
    float red, green, blue;
};
inline Colour operator+(Colour a, Colour b) { return {a.red + b.red, a.green + b.green, a.blue + b.blue}; }
inline Colour operator*(Colour a, Colour b) { return {a.red * b.red, a.green * b.green, a.blue * b.blue}; }
inline Colour operator*(Colour a, float f) { return {a.red * f, a.green * f, a.blue * f}; }

// The light of a byte, 0 to 1.
float lightOf(std::uint8_t byte);
// The light of a number of a model file, which is as a byte / 255; what is out of range, or no number, is brought
// into it.
float lightOf(float value);
Colour lightOf(const float* rgb);
// The nearest byte. Takes any number.
std::uint8_t byteOf(float light);
