// Exact scalar fmod and IEEE remainder of doubles, for the lanes the vector
// path leaves: large quotients, tiny divisors.  The reduction works on the
// integer significands, so it is exact for every finite pair, subnormals
// included, whatever the MXCSR says.  Arguments must be finite with y != 0;
// the callers screen NaN, infinities and zero divisors first.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace qor::vm {

// |x| mod |y|, exact.  A finite double is m * 2^(e - 1075) with m < 2^53;
// the remainder of mx * 2^(ex - ey) by my is built eleven bits at a time so
// that the shifted partial remainder still fits in 64 bits.
inline double fmod_magnitude(double x, double y) {
    uint64_t ix, iy;
    std::memcpy(&ix, &x, sizeof ix);
    std::memcpy(&iy, &y, sizeof iy);
    ix &= 0x7FFFFFFFFFFFFFFFull;
    iy &= 0x7FFFFFFFFFFFFFFFull;
    if (ix < iy) return std::fabs(x);
    constexpr uint64_t kMantissa = 0x000FFFFFFFFFFFFFull, kHidden = 0x0010000000000000ull;
    int ex = int(ix >> 52), ey = int(iy >> 52);
    uint64_t mx = ix & kMantissa, my = iy & kMantissa;
    if (ex) mx |= kHidden; else ex = 1;
    if (ey) my |= kHidden; else ey = 1;
    uint64_t r = mx % my;
    for (int gap = ex - ey; gap > 0 && r; ) {
        int step = gap < 11 ? gap : 11;
        r = (r << step) % my;
        gap -= step;
    }
    // r < my, so r * 2^(ey - 1075) is below |y| and representable: exact.
    return std::ldexp(double(r), ey - 1075);
}

// IEEE remainder: x - n*y with n the integer nearest x/y, ties to even; a
// zero result has the sign of x.  First |x| mod 2|y| (when 2|y| is finite),
// then at most two subtractions of |y| settle the nearest multiple.
inline double remainder_exact(double x, double y) {
    double ay = std::fabs(y);
    double ax = ay < 0x1p1023 ? fmod_magnitude(x, ay + ay) : std::fabs(x);  // else |x| < 2|y| already
    double scale = 1.0;
    if (ay < 0x1p-1000) {  // keep ay / 2 and the differences normal and exact
        ax *= 0x1p100;
        ay *= 0x1p100;
        scale = 0x1p-100;
    }
    const double half = 0.5 * ay;
    if (ax > half) {
        ax -= ay;
        if (ax >= half) ax -= ay;
    }
    ax *= scale;
    return std::signbit(x) ? -ax : ax;
}

}  // namespace qor::vm
