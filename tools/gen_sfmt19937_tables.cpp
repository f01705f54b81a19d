// Writes rng/brng/sfmt19937_tables.h: two constants of the SFMT19937
// recurrence that follow from its parameters alone.
//
// The step replaces the oldest of 156 128-bit words by the recursion of
// the oldest, the 122nd and the two newest words (the parameters of the
// authors' identification string SFMT-19937:122-18-1-11-1:dfffffef-
// ddfecb7f-bffaffff-bffffff6).  The step is linear on the 19968 state bits.
//
// 1. The characteristic polynomial P of the step, degree 19968: the
//    Berlekamp-Massey algorithm over the lowest bit of 2 * 19968 + 64
//    consecutive words finds the shortest linear recurrence of that bit
//    sequence; the tool checks that its length is the full 19968, so P(F) = 0
//    on every state and x^c mod P applied to a state skips c steps exactly.
// 2. The period certification vector.  P = phi * q with phi irreducible of
//    degree 19937 (2^19937 - 1 is prime) and q of degree 31, the product of
//    P's factors of degree at most 31 (found as gcd(P, x^(2^d) - x),
//    d = 1..31, divided out with their multiplicities).  States in the
//    31-dimensional subspace ker q(F) = image phi(F) have short periods;
//    every other state has a period that is a multiple of 2^19937 - 1.  A
//    vector v on the bits of the oldest 128-bit word with v . s = 0 for
//    every s in that subspace certifies a state: v . state = 1 proves it is
//    outside the subspace, and flipping one state bit where v is set turns
//    v . state = 0 into 1.  The tool spans the subspace by phi(F) applied to
//    three states and their 40 successors (rank 31 checked), reduces its
//    projection on the 128 bits to echelon form taking pivots from the most
//    significant bit down, and sets the vector to 1 at the lowest free bit
//    (bit 0), 0 at the other free bits, and at the pivot bits to the values
//    the equations force.
//
// Deterministic: the sequences start from states filled by the
// congruential recurrence x -> 1812433253 * (x ^ (x >> 30)) + k from x = 1,
// 2 and 3.  Runs in seconds.
//
// Usage: gen_sfmt19937_tables > rng/brng/sfmt19937_tables.h
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

constexpr int kWords128 = 156, kWords32 = 624, kPos1 = 122, kSl1 = 18, kSr1 = 11;
constexpr int kDegree = 19968, kPeriodDegree = 19937, kSmallDegree = kDegree - kPeriodDegree;
constexpr uint32_t kMask[4] = {0xdfffffefu, 0xddfecb7fu, 0xbffaffffu, 0xbffffff6u};

// A state in sequence order: 32-bit words 4k .. 4k + 3 are 128-bit word k,
// word 0 the oldest.
using State = std::vector<uint32_t>;

// One step in plain scalar code: the shifts of whole 128-bit words by one
// byte go through two 64-bit halves.
void step(State& s) {
    const uint32_t* a = &s[0];
    const uint32_t* b = &s[4 * kPos1];
    const uint32_t* c = &s[4 * (kWords128 - 2)];
    const uint32_t* d = &s[4 * (kWords128 - 1)];
    auto u64 = [](const uint32_t* w, int h) { return uint64_t{w[2 * h]} | uint64_t{w[2 * h + 1]} << 32; };
    const uint64_t a_lo = u64(a, 0), a_hi = u64(a, 1), c_lo = u64(c, 0), c_hi = u64(c, 1);
    const uint64_t x_lo = a_lo << 8, x_hi = (a_hi << 8) | (a_lo >> 56);  // a << 8 bits
    const uint64_t z_lo = (c_lo >> 8) | (c_hi << 56), z_hi = c_hi >> 8;  // c >> 8 bits
    uint32_t r[4];
    for (int k = 0; k < 4; ++k) {
        const uint64_t x = k < 2 ? x_lo : x_hi, z = k < 2 ? z_lo : z_hi;
        const int sh = 32 * (k & 1);
        r[k] = a[k] ^ static_cast<uint32_t>(x >> sh) ^ ((b[k] >> kSr1) & kMask[k]) ^ static_cast<uint32_t>(z >> sh) ^
               (d[k] << kSl1);
    }
    std::memmove(&s[0], &s[4], sizeof(uint32_t) * (kWords32 - 4));
    std::memcpy(&s[kWords32 - 4], r, sizeof r);
}

State start_state(uint32_t x) {
    State s(kWords32);
    s[0] = x;
    for (int k = 1; k < kWords32; ++k) s[k] = 1812433253u * (s[k - 1] ^ (s[k - 1] >> 30)) + static_cast<uint32_t>(k);
    return s;
}

// ---- Polynomials over GF(2): coefficient of x^k in bit k % 64 of word k / 64.

using Poly = std::vector<uint64_t>;

bool coef(const Poly& p, int64_t k) {
    const size_t w = static_cast<size_t>(k >> 6);
    return w < p.size() && ((p[w] >> (k & 63)) & 1);
}
void flip(Poly& p, int64_t k) {
    const size_t w = static_cast<size_t>(k >> 6);
    if (w >= p.size()) p.resize(w + 1, 0);
    p[w] ^= uint64_t{1} << (k & 63);
}
int64_t degree(const Poly& p) {
    for (int64_t w = static_cast<int64_t>(p.size()) - 1; w >= 0; --w)
        if (p[static_cast<size_t>(w)]) return w * 64 + 63 - __builtin_clzll(p[static_cast<size_t>(w)]);
    return -1;
}
// a ^= b * x^m.
void add_shifted(Poly& a, const Poly& b, int64_t m) {
    const int64_t db = degree(b);
    if (db < 0) return;
    const size_t need = static_cast<size_t>((db + m) / 64 + 1);
    if (a.size() < need) a.resize(need, 0);
    const int64_t q = m >> 6;
    const int r = static_cast<int>(m & 63);
    for (int64_t k = 0; k <= db / 64; ++k) {
        const uint64_t w = b[static_cast<size_t>(k)];
        a[static_cast<size_t>(k + q)] ^= w << r;
        if (r && static_cast<size_t>(k + q + 1) < a.size()) a[static_cast<size_t>(k + q + 1)] ^= w >> (64 - r);
    }
}
// a mod m, and the quotient when asked.
Poly mod(Poly a, const Poly& m, Poly* quotient = nullptr) {
    const int64_t dm = degree(m);
    if (quotient) quotient->assign(1, 0);
    for (int64_t da = degree(a); da >= dm; da = degree(a)) {
        add_shifted(a, m, da - dm);
        if (quotient) flip(*quotient, da - dm);
    }
    a.resize(static_cast<size_t>(dm / 64 + 1), 0);
    return a;
}
Poly square(const Poly& a) {
    Poly r(2 * a.size() + 1, 0);
    for (int64_t k = 0; k <= degree(a); ++k)
        if (coef(a, k)) flip(r, 2 * k);
    return r;
}
Poly gcd(Poly a, Poly b) {
    while (degree(b) >= 0) {
        Poly r = mod(a, b);
        a = std::move(b);
        b = std::move(r);
    }
    return a;
}

// ---- 1. Berlekamp-Massey over the lowest bit of the words ----------------------

Poly characteristic_polynomial() {
    const int64_t count = 2 * kDegree + 64;
    State s = start_state(1);
    std::vector<uint8_t> bits(static_cast<size_t>(count));
    for (int64_t n = 0; n < count; ++n) {
        step(s);
        bits[static_cast<size_t>(n)] = s[kWords32 - 4] & 1;
    }
    Poly c(1, 1), b(1, 1);
    int64_t length = 0, m = 1;
    for (int64_t n = 0; n < count; ++n) {
        int d = bits[static_cast<size_t>(n)];
        for (int64_t i = 1; i <= length; ++i) d ^= coef(c, i) & bits[static_cast<size_t>(n - i)];
        if (!d) {
            ++m;
        } else if (2 * length <= n) {
            const Poly t = c;
            add_shifted(c, b, m);
            length = n + 1 - length;
            b = t;
            m = 1;
        } else {
            add_shifted(c, b, m);
            ++m;
        }
    }
    if (length != kDegree) {
        std::fprintf(stderr, "recurrence of length %lld, not %d\n", static_cast<long long>(length), kDegree);
        return {};
    }
    Poly p(static_cast<size_t>(kDegree / 64 + 1), 0);  // x^L c(1/x)
    for (int64_t k = 0; k <= length; ++k)
        if (coef(c, k)) flip(p, length - k);
    return p;
}

// ---- 2. The certification vector -------------------------------------------------

// The factor of degree 19937 left after dividing out every factor of
// degree at most 31.
Poly long_factor(Poly s) {
    for (int d = 1; d <= kSmallDegree && degree(s) > kPeriodDegree; ++d) {
        Poly t(1, 2);  // x
        for (int k = 0; k < d; ++k) t = mod(square(t), s);
        flip(t, 1);  // x^(2^d) - x
        for (Poly g = gcd(s, t); degree(g) > 0; g = gcd(s, g)) {
            Poly quotient;
            mod(s, g, &quotient);
            s = quotient;
        }
    }
    return s;
}

// phi(F) state by Horner's rule.
State apply(const Poly& phi, const State& x) {
    State y(kWords32, 0);
    for (int64_t k = degree(phi); k >= 0; --k) {
        step(y);
        if (coef(phi, k))
            for (int i = 0; i < kWords32; ++i) y[static_cast<size_t>(i)] ^= x[static_cast<size_t>(i)];
    }
    return y;
}

using Row = std::vector<uint64_t>;  // 19968 bits: state word i bit j at bit 32 i + j
Row row_of(const State& s) {
    Row r(kWords32 / 2);
    for (int i = 0; i < kWords32; i += 2) r[static_cast<size_t>(i / 2)] = uint64_t{s[i]} | uint64_t{s[i + 1]} << 32;
    return r;
}

// Gaussian elimination from the top bit down; returns the rank.
int eliminate(std::vector<Row>& rows, int top_bit, std::vector<int>& pivots) {
    int rank = 0;
    for (int bit = top_bit; bit >= 0 && rank < static_cast<int>(rows.size()); --bit) {
        const size_t w = static_cast<size_t>(bit / 64);
        const uint64_t m = uint64_t{1} << (bit % 64);
        size_t r = static_cast<size_t>(rank);
        while (r < rows.size() && !(rows[r][w] & m)) ++r;
        if (r == rows.size()) continue;
        std::swap(rows[r], rows[static_cast<size_t>(rank)]);
        for (size_t o = 0; o < rows.size(); ++o)
            if (o != static_cast<size_t>(rank) && (rows[o][w] & m))
                for (size_t k = 0; k < rows[o].size(); ++k) rows[o][k] ^= rows[static_cast<size_t>(rank)][k];
        pivots.push_back(bit);
        ++rank;
    }
    rows.resize(static_cast<size_t>(rank));
    return rank;
}

bool certification_vector(const Poly& p, uint32_t parity[4]) {
    const Poly phi = long_factor(p);
    if (degree(phi) != kPeriodDegree) {
        std::fprintf(stderr, "long factor of degree %lld\n", static_cast<long long>(degree(phi)));
        return false;
    }
    std::vector<Row> span;
    for (uint32_t seed = 1; seed <= 3; ++seed) {
        State y = apply(phi, start_state(seed));
        for (int k = 0; k <= 40; ++k, step(y)) span.push_back(row_of(y));
    }
    std::vector<int> pivots;
    if (eliminate(span, kDegree - 1, pivots) != kSmallDegree) {
        std::fprintf(stderr, "short-period subspace of rank %zu\n", span.size());
        return false;
    }
    std::vector<Row> low;  // the projection on the oldest 128-bit word
    for (const Row& r : span) low.push_back(Row{r[0], r[1]});
    pivots.clear();
    eliminate(low, 127, pivots);
    uint64_t v[2] = {1, 0};  // bit 0 free and set
    for (size_t r = 0; r < low.size(); ++r) {
        if (pivots[r] == 0) {
            std::fprintf(stderr, "bit 0 is a pivot\n");
            return false;
        }
        if (low[r][0] & 1) v[pivots[r] / 64] |= uint64_t{1} << (pivots[r] % 64);
    }
    for (const Row& r : span)  // v . s = 0 over the whole subspace
        if (__builtin_popcountll((r[0] & v[0]) ^ (r[1] & v[1])) & 1) {
            std::fprintf(stderr, "vector not orthogonal\n");
            return false;
        }
    for (int k = 0; k < 4; ++k) parity[k] = static_cast<uint32_t>(v[k / 2] >> (32 * (k & 1)));
    return true;
}

}  // namespace

int main() {
    const Poly p = characteristic_polynomial();
    uint32_t parity[4];
    if (p.empty() || !certification_vector(p, parity)) return 1;
    const int words = kDegree / 64 + 1;
    std::printf("// Generated by tools/gen_sfmt19937_tables.cpp; do not edit.\n");
    std::printf("// The characteristic polynomial of the SFMT19937 step on 128-bit words,\n");
    std::printf("// degree %d, coefficient of x^k in bit k %% 64 of word k / 64; and the\n", kDegree);
    std::printf("// period certification vector on the four 32-bit words of the oldest\n// 128-bit word.\n");
    std::printf("#pragma once\n\n#include <cstdint>\n\nnamespace qor::rng {\n\n");
    std::printf("constexpr uint32_t kSfmt19937Parity[4] = {0x%08X, 0x%08X, 0x%08X, 0x%08X};\n\n", parity[0],
                parity[1], parity[2], parity[3]);
    std::printf("constexpr int32_t kSfmt19937Degree = %d;\n", kDegree);
    std::printf("constexpr uint64_t kSfmt19937CharPoly[%d] = {\n", words);
    for (int k = 0; k < words; ++k)
        std::printf("%s0x%016llXull,%s", k % 4 ? " " : "    ",
                    static_cast<unsigned long long>(k < static_cast<int>(p.size()) ? p[static_cast<size_t>(k)] : 0),
                    k % 4 == 3 || k == words - 1 ? "\n" : "");
    std::printf("};\n\n}  // namespace qor::rng\n");
    return 0;
}
