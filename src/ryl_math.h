// ryl_math.h - waveforms and interpolation without rounding to single precision at the end
//
// Needs nothing; no GL, no state. Rounds only where a comment says so, because the values are part of the pictures.
#pragma once

// From a (t = 0) to b (t = 1) along half a cosine, like ryl_1DcosInterpolate but as a double.
double ryl_cos_interpolate(float a, float b, float t);

// The same in two steps, for values that share one t: the weight of b at t, 0 to 1, and the weighted mean.
float ryl_cos_weight(float t);
double ryl_interpolate(float a, float b, float weight);

// 1 minus the fraction of t: falls from 1 at each whole number towards 0 just before the next. t is truncated
// towards zero, so between whole numbers below zero the result lies between 1 and 2. Any t within the int range.
double ryl_sawWave(float t);
