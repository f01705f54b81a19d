// The GF(2) polynomial arithmetic of the polynomial skip-ahead: the
// carry-less and the portable squaring give the same words, and with either
// the MT19937 characteristic polynomial p satisfies x^(2^19937) = x mod p,
// which holds for the degree-19937 polynomial of a maximal-period
// generator (its roots lie in the field of 2^19937 elements).
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "rng/brng/gf2_poly.h"
#include "rng/brng/mt19937_charpoly.h"

namespace {

using namespace qor::rng;

TEST(Gf2Poly, CarrylessAndPortableSquaresAgree) {
    if (!gf2::cpu_has_pclmul()) GTEST_SKIP() << "no pclmulqdq";
    std::mt19937_64 gen(3);
    for (int32_t words : {1, 2, 7, 312}) {
        std::vector<uint64_t> a(static_cast<size_t>(words)), p(2 * a.size()), c(2 * a.size());
        for (auto& w : a) w = gen();
        a[0] |= 0x8000000000000001ull;
        gf2::square_portable(p.data(), a.data(), words);
        gf2::square_pclmul(c.data(), a.data(), words);
        EXPECT_EQ(p, c) << words;
    }
}

TEST(Gf2Poly, FrobeniusFixesXModuloTheTwisterPolynomial) {
    const int32_t words = gf2::words_for_degree(kMt19937Degree);
    std::vector<int32_t> terms(kMt19937Degree);
    const int32_t count = gf2::terms_of(kMt19937CharPoly, kMt19937Degree, terms.data());
    EXPECT_EQ(count, 134);  // 135 nonzero coefficients with the leading one
    std::vector<uint64_t> exponent(static_cast<size_t>(words), 0);
    exponent[kMt19937Degree / 64] = uint64_t{1} << (kMt19937Degree % 64);
    std::vector<gf2::SquareFn> paths = {gf2::square_portable};
    if (gf2::cpu_has_pclmul()) paths.push_back(gf2::square_pclmul);
    for (gf2::SquareFn square : paths) {
        std::vector<uint64_t> r(static_cast<size_t>(words)), work(static_cast<size_t>(2 * words + 2));
        gf2::x_pow_mod(r.data(), work.data(), exponent.data(), words, kMt19937Degree, terms.data(), count, square);
        std::vector<uint64_t> x(static_cast<size_t>(words), 0);
        x[0] = 2;
        EXPECT_EQ(r, x);
    }
}

}  // namespace
