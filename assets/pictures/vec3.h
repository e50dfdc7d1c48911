// vec3.h - the little vector arithmetic that the generators need
//
// Positions, directions or linear-light colours: pictures take floats, models doubles. Nothing here allocates or fails.
#pragma once

#include <algorithm>
#include <cmath>

template <typename Number>
struct Vector {
    Number x, y, z;

    friend constexpr Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend constexpr Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend constexpr Vector operator*(Vector a, Vector b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
    friend constexpr Vector operator*(Vector a, Number s) { return {a.x * s, a.y * s, a.z * s}; }
    friend constexpr Vector operator*(Number s, Vector a) { return a * s; }
    friend constexpr Number dot(Vector a, Vector b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
    friend constexpr Vector cross(Vector a, Vector b) {
        return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    }
    friend Number length(Vector a) { return std::sqrt(dot(a, a)); }
    friend Vector normalize(Vector a) { return a * (1 / length(a)); }
    friend constexpr Vector reflect(Vector direction, Vector normal) {
        return direction - normal * (2 * dot(direction, normal));
    }
    friend constexpr Vector mix(Vector a, Vector b, Number k) { return a + (b - a) * k; }
};
using Vec3 = Vector<float>;

constexpr float mix(float a, float b, float k) { return a + (b - a) * k; }

// 0 below `from`, 1 above `to`, a smooth S between; `from` may be above `to`.
inline float smoothstep(float from, float to, float x) {
    const float k = std::clamp((x - from) / (to - from), 0.0f, 1.0f);
    return k * k * (3.0f - 2.0f * k);
}
