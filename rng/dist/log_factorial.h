// ln k! for the rejection tests of the integer distributions: a table below
// 16, Stirling's series from there on (truncation error below 1e-14), and
// ln(a!/b!) in a form that keeps its accuracy when a and b are large and
// close, where the difference of two ln k! of size 2e10 would lose five
// digits.
#pragma once

#include <cmath>

namespace qor::rng::dist {

constexpr double kLnFactorialTable[16] = {
    0.0,
    0.0,
    0.69314718055994531,
    1.791759469228055,
    3.1780538303479456,
    4.787491742782046,
    6.579251212010101,
    8.5251613610654143,
    10.60460290274525,
    12.80182748008147,
    15.104412573075515,
    17.502307845873886,
    19.987214495661886,
    22.552163853123423,
    25.191221182738682,
    27.899271383840892,
};

constexpr double kHalfLnTwoPi = 0.91893853320467274;  // ln sqrt(2 pi)

// ln k! - ((k + 1/2) ln k - k + ln sqrt(2 pi)), k of 16 or more.
inline double stirling_tail(double k) {
    const double r = 1 / k, r2 = r * r;
    return r * (1.0 / 12 - r2 * (1.0 / 360 - r2 * (1.0 / 1260 - r2 * (1.0 / 1680))));
}

inline double log_factorial(double k) {
    if (k < 16) return kLnFactorialTable[static_cast<int>(k)];
    return (k + 0.5) * std::log(k) - k + kHalfLnTwoPi + stirling_tail(k);
}

// ln(a! / b!) for integers a, b >= 0:
// (b + 1/2) ln(a / b) + (a - b)(ln a - 1) + tail(a) - tail(b).
inline double log_factorial_ratio(double a, double b) {
    if (a < 16 || b < 16) return log_factorial(a) - log_factorial(b);
    return (b + 0.5) * std::log1p((a - b) / b) + (a - b) * (std::log(a) - 1) + stirling_tail(a) - stirling_tail(b);
}

}  // namespace qor::rng::dist
