// Exported powers of 3x3 matrices modulo a 32-bit modulus, the arithmetic
// of MRG32k3a's skip-ahead: by one 64-bit exponent, by a multi-word
// exponent, and by a multi-word exponent below 2^192 through compile-time
// tables of powers of the generator's two matrices.
#include "qor/qor_rng.h"
#include "rng/brng/mrg32k3a_matrix.h"

namespace qor::rng::mrg {
namespace {

constexpr PowerTable kPowersA1 = make_power_table(kA1, kM1);
constexpr PowerTable kPowersA2 = make_power_table(kA2, kM2);

// Spot checks of the generated tables against plain powers.
static_assert(kPowersA1.at(0, 1) == kA1);
static_assert(kPowersA1.at(5, 7) == pow(kA1, uint64_t{7} << 20, kM1));
static_assert(kPowersA2.at(15, 15) == pow(kA2, uint64_t{15} << 60, kM2));
static_assert(mul(kPowersA2.at(16, 1), kA2, kM2) == mul(kPowersA2.at(15, 15), mul(kPowersA2.at(15, 1), kA2, kM2), kM2));

void store(uint32_t* out, const Matrix& m) {
    for (int i = 0; i < 9; ++i) out[i] = m[i];
}

Matrix load(const uint32_t* in) {
    Matrix m{};
    for (int i = 0; i < 9; ++i) m[i] = in[i];
    return m;
}

}  // namespace
}  // namespace qor::rng::mrg

using namespace qor::rng::mrg;

QOR_EXTERN_C {

QOR_EXPORT void __rixiVect3PowMod(uint32_t* result, const uint32_t* matrix, uint64_t exponent, uint32_t modulus) {
    store(result, pow(load(matrix), exponent, modulus));
}

QOR_EXPORT void __rixiVect3PowArrayMod(uint32_t* result, const uint32_t* matrix, const uint64_t* exponent,
                                       int32_t words, uint32_t modulus) {
    store(result, pow_words(load(matrix), exponent, words, modulus));
}

QOR_EXPORT void __rixiVect3PowArrayMod_M1(uint32_t* result, const uint64_t* exponent, int32_t words) {
    store(result, pow_from_table(kPowersA1, exponent, words, kM1));
}

QOR_EXPORT void __rixiVect3PowArrayMod_M2(uint32_t* result, const uint64_t* exponent, int32_t words) {
    store(result, pow_from_table(kPowersA2, exponent, words, kM2));
}

}  // extern "C"
