// vec3.h - the little vector arithmetic that the picture generators need
//
// Components are plain floats: positions, directions or linear-light colours. Nothing here allocates or
// fails.
#pragma once

#include <algorithm>
#include <cmath>

struct Vec3 {
    float x, y, z;
};

constexpr Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
constexpr Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
constexpr Vec3 operator*(Vec3 a, Vec3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
constexpr Vec3 operator*(Vec3 a, float s) { return {a.x * s, a.y * s, a.z * s}; }
constexpr Vec3 operator*(float s, Vec3 a) { return a * s; }
constexpr float dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
constexpr Vec3 cross(Vec3 a, Vec3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
inline float length(Vec3 a) { return std::sqrt(dot(a, a)); }
inline Vec3 normalize(Vec3 a) { return a * (1.0f / length(a)); }
constexpr Vec3 reflect(Vec3 direction, Vec3 normal) { return direction - normal * (2.0f * dot(direction, normal)); }

constexpr float mix(float a, float b, float k) { return a + (b - a) * k; }
constexpr Vec3 mix(Vec3 a, Vec3 b, float k) { return a + (b - a) * k; }

// 0 below `from`, 1 above `to`, a smooth S between; `from` may be above `to`.
inline float smoothstep(float from, float to, float x) {
    const float k = std::clamp((x - from) / (to - from), 0.0f, 1.0f);
    return k * k * (3.0f - 2.0f * k);
}
