// Polynomials over GF(2) for the polynomial skip-ahead: squaring (by
// carry-less multiplication where the processor has it, by spreading bits
// where it does not; both give the same words), remainder modulo a sparse
// polynomial, and powers of x modulo a polynomial.  A polynomial is an
// array of 64-bit words, the coefficient of x^k in bit k % 64 of word k / 64.
#pragma once

#include <cstdint>

namespace qor::rng::gf2 {

constexpr int32_t words_for_degree(int32_t degree) { return degree / 64 + 1; }

// out[0 .. 2 * words) = a^2 for a of `words` words.
using SquareFn = void (*)(uint64_t* out, const uint64_t* a, int32_t words);
void square_portable(uint64_t* out, const uint64_t* a, int32_t words);
void square_pclmul(uint64_t* out, const uint64_t* a, int32_t words);  // needs the pclmulqdq instruction
bool cpu_has_pclmul();
SquareFn best_square();

// Reduces a (a_words words) in place modulo the polynomial x^degree +
// sum x^terms[i], every term below degree: afterwards only bits below
// degree are set.  Blocks of bits above the degree are folded down once per
// term, so a sparse polynomial whose terms stay well below its degree
// reduces fast.
void reduce_sparse(uint64_t* a, int32_t a_words, int32_t degree, const int32_t* terms, int32_t term_count);

// The exponents below the degree of p whose coefficients are set; terms
// holds room for p_degree exponents.  Returns their count.
int32_t terms_of(const uint64_t* p, int32_t p_degree, int32_t* terms);

// r = x^count mod p, count in count_words words (least significant first);
// r has words_for_degree(p_degree) words, work 2 * that many plus 2.
void x_pow_mod(uint64_t* r, uint64_t* work, const uint64_t* count, int32_t count_words, int32_t p_degree,
               const int32_t* terms, int32_t term_count, SquareFn square);

}  // namespace qor::rng::gf2
