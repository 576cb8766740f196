// Elementary functions by the library's own sequence of operations: the same on every platform, where mathematics
// libraries differ in the last place. Loops that become vectors take the series themselves (core/ownseries.h).
#pragma once

// Sine and cosine of an angle in radians of at most a few turns, right to the last place or nearly so.
void ownSineCosine(double angle, double *sine, double *cosine);

// The sine of any angle from 0 to 2^63, right to the last place or nearly so.
double ownSine(double angle);
