// noise.h - lattice noise
//
// Needs nothing; no GL. Only ryl_random has state; it is for one thread. The values are part of the pictures: every
// constant, order of summation and rounding to single precision is deliberate, and every compiler gives the same
// bits. Sums are formed in double precision and rounded where a function's comment says float(...). Lattice
// coordinates and seeds wrap modulo 2^32.
#pragma once

// Hash of a lattice point, -1 to 1.
float ryl_noise(int x, int y, int seed);

// The hash smoothed over its neighbours: weights 1/4, 1/2, 1/4 along x at y = 0.
float ryl_smoothed1DNoise(int x, int seed);

// The same in two dimensions: 1/16 the corners, 1/8 the sides, 1/4 the point.
float ryl_smoothed2DNoise(int x, int y, int seed);

// From a (t = 0) to b (t = 1) along half a cosine, float(...).
float ryl_1DcosInterpolate(float a, float b, float t);

// Smoothed noise between lattice points. Coordinates are truncated towards zero, and the cosine is even, so
// below zero the noise is mirrored about 0 instead of going on; beyond the int range the lattice point is INT_MIN.
float ryl_1D_CosNoise(float x, int seed);
float ryl_2D_CosNoise(float x, float y, int seed);

// Three octaves of ryl_2D_CosNoise, -6 to 6: three times at frequency 2, twice at frequency 3, and once at
// frequency 0, which is the same value for every x and y. The sum is rounded to float after each octave.
float ryl_perlin2DNoise(float x, float y, int seed);

// The k-th call, from k = 0, returns ryl_noise(k, k, k). Cannot be reseeded.
float ryl_random(void);
