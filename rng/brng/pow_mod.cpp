// Exported modular powers used by the congruential generators' leapfrog and
// skip-ahead.
#include "qor/qor_rng.h"
#include "rng/brng/mod_arith.h"

QOR_EXTERN_C {

QOR_EXPORT uint32_t __rixiPowMod2P31M1(uint32_t base, uint64_t exponent) {
    return qor::rng::pow_mod31(base, exponent);
}

QOR_EXPORT uint64_t __rixiPowMod2P59(uint64_t base, uint64_t exponent) {
    return qor::rng::pow_mod59(base, exponent);
}

QOR_EXPORT uint32_t __rixiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus) {
    if (modulus == 0) return 0;
    uint64_t b = base % modulus, r = 1;
    for (; exponent; exponent >>= 1) {
        if (exponent & 1) r = r * b % modulus;
        b = b * b % modulus;
    }
    return static_cast<uint32_t>(r);
}

}  // extern "C"
