// The two third-order recurrences of MRG32k3a as 3x3 matrices acting on a
// component's state (oldest, middle, newest), and the modular matrix
// arithmetic behind skip-ahead: products, powers by a single 64-bit
// exponent or by a multi-word one, and the tables of powers that turn a
// count below 2^192 into at most 48 products.  Everything is constexpr so
// that the tables are built by the compiler.
#pragma once

#include <array>
#include <cstdint>

namespace qor::rng::mrg {

constexpr uint32_t kM1 = 4294967087u;  // 2^32 - 209
constexpr uint32_t kM2 = 4294944443u;  // 2^32 - 22853
constexpr uint32_t kA12 = 1403580;
constexpr uint32_t kA13 = 810728;  // subtracted
constexpr uint32_t kA21 = 527612;
constexpr uint32_t kA23 = 1370589;  // subtracted

// Row-major, applied to the column (oldest, middle, newest).
using Matrix = std::array<uint32_t, 9>;

// x1[n] = a12 x1[n-2] - a13 x1[n-3] and x2[n] = a21 x2[n-1] - a23 x2[n-3],
// the subtracted coefficients held as m - a.
constexpr Matrix kA1 = {0, 1, 0, 0, 0, 1, kM1 - kA13, kA12, 0};
constexpr Matrix kA2 = {0, 1, 0, 0, 0, 1, kM2 - kA23, 0, kA21};
constexpr Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// a * b mod m with a 64-bit product; m below 2^32, so a sum of three
// reduced products fits in 64 bits.
constexpr Matrix mul(const Matrix& a, const Matrix& b, uint32_t m) {
    Matrix r{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            uint64_t s = 0;
            for (int k = 0; k < 3; ++k) s += uint64_t{a[3 * i + k]} * b[3 * k + j] % m;
            r[3 * i + j] = static_cast<uint32_t>(s % m);
        }
    return r;
}

// a^e by right-to-left square-and-multiply; a^0 is the identity.
constexpr Matrix pow(Matrix a, uint64_t e, uint32_t m) {
    Matrix r = kIdentity;
    for (; e; e >>= 1) {
        if (e & 1) r = mul(r, a, m);
        a = mul(a, a, m);
    }
    return r;
}

// a^e for e = sum of words[i] * 2^(64 i), least significant word first.
constexpr Matrix pow_words(Matrix a, const uint64_t* words, int32_t count, uint32_t m) {
    Matrix r = kIdentity;
    for (int32_t w = 0; w < count; ++w) {
        uint64_t e = words[w];
        for (int bit = 0; bit < 64; ++bit, e >>= 1) {
            if (e & 1) r = mul(r, a, m);
            a = mul(a, a, m);
        }
    }
    return r;
}

// Powers of a for every 4-bit digit of a count below 2^192:
// at(k, d) = a^(d * 16^k) for d = 1 to 15.
constexpr int kTableWords = 3;
constexpr int kDigits = kTableWords * 16;
struct PowerTable {
    std::array<Matrix, kDigits * 15> powers{};
    constexpr const Matrix& at(int k, int d) const { return powers[15 * k + d - 1]; }
};

constexpr PowerTable make_power_table(const Matrix& a, uint32_t m) {
    PowerTable t;
    Matrix unit = a;  // a^(16^k)
    for (int k = 0; k < kDigits; ++k) {
        Matrix p = unit;
        for (int d = 1; d <= 15; ++d) {
            t.powers[15 * k + d - 1] = p;
            p = mul(p, unit, m);
        }
        unit = p;  // a^(16 * 16^k)
    }
    return t;
}

// a^e from the table, e given by up to three 64-bit words; the powers of
// one matrix commute, so the digits may be taken in any order.
inline Matrix pow_from_table(const PowerTable& t, const uint64_t* words, int32_t count, uint32_t m) {
    Matrix r = kIdentity;
    for (int32_t w = 0; w < count && w < kTableWords; ++w)
        for (int k = 0; k < 16; ++k) {
            const int d = static_cast<int>(words[w] >> (4 * k)) & 15;
            if (d) r = mul(r, t.at(16 * w + k, d), m);
        }
    return r;
}

// a times the column v, modulo m.
constexpr std::array<uint32_t, 3> apply(const Matrix& a, const uint32_t* v, uint32_t m) {
    std::array<uint32_t, 3> r{};
    for (int i = 0; i < 3; ++i) {
        uint64_t s = 0;
        for (int k = 0; k < 3; ++k) s += uint64_t{a[3 * i + k]} * v[k] % m;
        r[i] = static_cast<uint32_t>(s % m);
    }
    return r;
}

}  // namespace qor::rng::mrg
