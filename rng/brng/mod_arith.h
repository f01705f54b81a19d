// Scalar modular arithmetic of the congruential generators: products
// modulo 2^31 - 1 (folded, no division) and modulo 2^59 (a mask), and
// right-to-left binary powers.
#pragma once

#include <cstdint>

namespace qor::rng {

constexpr uint32_t kMod31 = 0x7FFFFFFF;              // 2^31 - 1
constexpr uint64_t kMask59 = 0x07FFFFFFFFFFFFFFull;  // 2^59 - 1

// x * y mod (2^31 - 1) for x, y below 2^31: the product's bits above 31
// are worth 1 each time they pass 2^31, so they are added back to the low
// 31 bits, and one subtraction finishes the reduction.
inline uint32_t mul_mod31(uint32_t x, uint32_t y) {
    const uint64_t p = uint64_t{x} * y;
    uint64_t t = (p & kMod31) + (p >> 31);
    if (t >= kMod31) t -= kMod31;
    return static_cast<uint32_t>(t);
}

inline uint64_t mul_mod59(uint64_t x, uint64_t y) { return (x * y) & kMask59; }

inline uint32_t pow_mod31(uint32_t base, uint64_t exponent) {
    uint32_t b = base % kMod31, r = 1;
    for (; exponent; exponent >>= 1) {
        if (exponent & 1) r = mul_mod31(r, b);
        b = mul_mod31(b, b);
    }
    return r;
}

inline uint64_t pow_mod59(uint64_t base, uint64_t exponent) {
    uint64_t b = base & kMask59, r = 1;
    for (; exponent; exponent >>= 1) {
        if (exponent & 1) r = mul_mod59(r, b);
        b = mul_mod59(b, b);
    }
    return r;
}

}  // namespace qor::rng

namespace qor::rng {

// The two moduli as policies for code shared by both generators.
struct Mod31 {
    using Word = uint32_t;
    static Word mul(Word x, Word y) { return mul_mod31(x, y); }
    static Word pow(Word base, uint64_t exponent) { return pow_mod31(base, exponent); }
};

struct Mod59 {
    using Word = uint64_t;
    static Word mul(Word x, Word y) { return mul_mod59(x, y); }
    static Word pow(Word base, uint64_t exponent) { return pow_mod59(base, exponent); }
};

}  // namespace qor::rng
