// Writes rng/brng/mt2203_params.h: the twist matrices of the MT2203 family,
// Mersenne twisters of period 2^2203 - 1, found by a dynamic-creator search
// in the manner of Matsumoto and Nishimura.
//
// Every member shares the shape of the recurrence: n = 69 words of w = 32
// bits, of which the lowest r = 5 bits of the oldest word are unused
// (69 * 32 - 5 = 2203 state bits), middle distance m = 34, and the
// tempering of MT19937 (shifts 11, 7, 15, 18; masks 0x9D2C5680, 0xEFC60000).
// A member differs only by its twist matrix, the 32-bit word a:
//
//   x_k = x_(k+m) ^ (y >> 1) ^ (y odd ? a : 0),  y = upper 27 bits of x_k | lower 5 of x_(k+1).
//
// Member i (0 <= i < 6024) embeds its number in the low 16 bits of a, so no
// two members share a matrix; the high 16 bits are drawn, candidate after
// candidate, from std::mt19937 seeded with 0x22030000 + i (the top half of
// each draw).  The first candidate whose recurrence has period 2^2203 - 1 is
// the member's: its characteristic polynomial f, of degree 2203, must be
// primitive, and as 2^2203 - 1 is prime, irreducible suffices.
//
//  1. f is found by the Berlekamp-Massey algorithm over the lowest bit of
//     2 * 2203 words from a fixed start; a recurrence shorter than 2203
//     means f is reducible.
//  2. Screening: f(0) = f(1) = 1, then gcd(f, x^(2^k) - x) = 1 for
//     k = 1 .. 128 (no factor of degree up to 128).
//  3. The test: x^(2^2203) = x mod f.  With no factor of degree 1 and 2203
//     prime, f is then irreducible.
//
// Each member is searched independently, so a run over members 0 .. K - 1
// gives the same first K rows whatever K is.  About a second or more per
// member on one core.
//
// Usage: gen_mt2203_params COUNT [SECONDS [KNOWN]] > rng/brng/mt2203_params.h
// With SECONDS (0: no limit), the search stops after that time with the
// members found so far (always a prefix 0 .. K - 1); the header records K.
// KNOWN is a header written by an earlier run: its members are taken as
// found and the search goes on from the next, so a long search can run in
// pieces and give the same table as one run.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr int kN = 69, kM = 34, kDegree = 2203;
constexpr uint32_t kUpper = 0xFFFFFFE0u, kLower = 0x1Fu;
constexpr int kWords = kDegree / 64 + 1;  // 35: a polynomial of degree 2203
constexpr int kScreenDegree = 128;

// ---- Polynomials of degree at most 2 * 2203, 64-bit words ----------------------

struct Poly {
    uint64_t w[2 * kWords] = {};
};

int degree(const uint64_t* p, int words) {
    for (int k = words - 1; k >= 0; --k)
        if (p[k]) return 64 * k + 63 - __builtin_clzll(p[k]);
    return -1;
}

// a ^= b * x^shift, for b of degree db, into a of `words` words.
void add_shifted(uint64_t* a, const uint64_t* b, int db, int shift) {
    const int q = shift >> 6, r = shift & 63;
    for (int k = db / 64; k >= 0; --k) {
        a[k + q] ^= b[k] << r;
        if (r) a[k + q + 1] ^= b[k] >> (64 - r);
    }
}

// a mod b in place (a has room for one word above its degree).
void mod_in_place(uint64_t* a, int words, const uint64_t* b) {
    const int db = degree(b, kWords + 1);
    for (int da = degree(a, words); da >= db; da = degree(a, da / 64 + 1)) add_shifted(a, b, db, da - db);
}

bool is_one(const uint64_t* p, int words) { return degree(p, words) == 0; }

// gcd(f, g) == 1, for g of degree below f.
bool coprime(const uint64_t* f, const uint64_t* g) {
    uint64_t a[kWords + 1], b[kWords + 1];
    std::memcpy(a, f, sizeof a);
    std::memcpy(b, g, sizeof b);
    uint64_t* x = a;
    uint64_t* y = b;
    while (degree(y, kWords + 1) >= 0) {
        mod_in_place(x, kWords + 1, y);
        std::swap(x, y);
    }
    return is_one(x, kWords + 1);
}

// The bits of v at the even positions of the result: the square of v.
uint64_t spread(uint32_t v) {
    uint64_t x = v;
    x = (x | (x << 16)) & 0x0000FFFF0000FFFFull;
    x = (x | (x << 8)) & 0x00FF00FF00FF00FFull;
    x = (x | (x << 4)) & 0x0F0F0F0F0F0F0F0Full;
    x = (x | (x << 2)) & 0x3333333333333333ull;
    x = (x | (x << 1)) & 0x5555555555555555ull;
    return x;
}

// Squaring modulo f: the bits of the square from degree 2203 up are
// folded down a byte at a time through tables of (byte * x^(2203 + 8j)) mod f.
class SquareMod {
public:
    static constexpr int kBytes = (kDegree - 1) / 8 + 1;  // bytes above degree 2203 in a square

    explicit SquareMod(const uint64_t* f) : table_(static_cast<size_t>(kBytes) * 256 * kWords, 0) {
        uint64_t low[kWords + 1] = {};
        std::memcpy(low, f, sizeof(uint64_t) * kWords);
        low[kDegree / 64] &= ~(uint64_t{1} << (kDegree % 64));  // x^2203 = low part of f
        for (int bit = 0; bit < 8 * kBytes; ++bit) {
            uint64_t* entries = entry(bit / 8, 0);
            const int one = 1 << (bit % 8);
            for (int v = 0; v < one; ++v)  // entries v + one = entry v + this row
                for (int k = 0; k < kWords; ++k)
                    entries[(v + one) * kWords + k] = entries[v * kWords + k] ^ low[k];
            // low = x * low mod f
            for (int k = kWords; k > 0; --k) low[k] = (low[k] << 1) | (low[k - 1] >> 63);
            low[0] <<= 1;
            if ((low[kDegree / 64] >> (kDegree % 64)) & 1)
                for (int k = 0; k < kWords; ++k) low[k] ^= f[k];
        }
    }
    // a = a^2 mod f, a of kWords words below degree 2203.
    void square(uint64_t* a) const {
        uint64_t s[2 * kWords + 1] = {};
        for (int k = 0; k < kWords; ++k) {
            s[2 * k] = spread(static_cast<uint32_t>(a[k]));
            s[2 * k + 1] = spread(static_cast<uint32_t>(a[k] >> 32));
        }
        std::memcpy(a, s, sizeof(uint64_t) * kWords);
        a[kDegree / 64] &= (uint64_t{1} << (kDegree % 64)) - 1;
        for (int j = 0; j < kBytes; ++j) {
            const int bit = kDegree + 8 * j;
            const uint64_t lo = s[bit / 64], hi = s[bit / 64 + 1];
            const int r = bit % 64;
            const uint32_t v = static_cast<uint32_t>(((lo >> r) | (r ? hi << (64 - r) : 0)) & 0xFF);
            if (!v) continue;
            const uint64_t* e = entry(j, v);
            for (int k = 0; k < kWords; ++k) a[k] ^= e[k];
        }
    }

private:
    uint64_t* entry(int byte, int v) { return &table_[(static_cast<size_t>(byte) * 256 + v) * kWords]; }
    const uint64_t* entry(int byte, uint32_t v) const {
        return &table_[(static_cast<size_t>(byte) * 256 + v) * kWords];
    }
    std::vector<uint64_t> table_;
};

// Squaring modulo f for the screening, without tables (most candidates
// fail after a few squarings).
void square_plain(uint64_t* a, const uint64_t* f) {
    uint64_t s[2 * kWords + 2] = {};
    for (int k = 0; k < kWords; ++k) {
        s[2 * k] = spread(static_cast<uint32_t>(a[k]));
        s[2 * k + 1] = spread(static_cast<uint32_t>(a[k] >> 32));
    }
    mod_in_place(s, 2 * kWords + 2, f);
    std::memcpy(a, s, sizeof(uint64_t) * (kWords + 1));
}

// ---- The recurrence and its polynomial -------------------------------------------

// f of degree 2203 from the lowest bit of the words, or false when the
// shortest recurrence is shorter.
bool characteristic_polynomial(uint32_t a, uint64_t* f) {
    uint32_t mt[kN];
    mt[0] = 4357;
    for (int k = 1; k < kN; ++k) mt[k] = 1812433253u * (mt[k - 1] ^ (mt[k - 1] >> 30)) + static_cast<uint32_t>(k);
    // The sequence reversed, rev bit (kCount - 1 - n) = s_n, so that the
    // discrepancy sum c_i s_(n-i) is a word-wise product with rev from bit
    // kCount - 1 - n upward.
    constexpr int kCount = 2 * kDegree;
    constexpr int kRevWords = kCount / 64 + 2;
    uint64_t rev[kRevWords] = {};
    for (int n = 0, i = 0; n < kCount; ++n, i = (i + 1) % kN) {
        const uint32_t y = (mt[i] & kUpper) | (mt[(i + 1) % kN] & kLower);
        mt[i] = mt[(i + kM) % kN] ^ (y >> 1) ^ ((y & 1) ? a : 0u);
        if (mt[i] & 1) rev[(kCount - 1 - n) / 64] |= uint64_t{1} << ((kCount - 1 - n) % 64);
    }
    auto bits64 = [&](int k) {
        const int q = k >> 6, r = k & 63;
        const uint64_t lo = rev[q], hi = q + 1 < kRevWords ? rev[q + 1] : 0;
        return r ? (lo >> r) | (hi << (64 - r)) : lo;
    };
    uint64_t c[kWords + 2] = {1}, b[kWords + 2] = {1}, t[kWords + 2];
    int length = 0, m = 1;
    for (int n = 0; n < kCount; ++n) {
        uint64_t d = 0;
        for (int k = 0; k <= length; k += 64) {
            uint64_t cw = c[k / 64];
            if (length - k < 63) cw &= (uint64_t{2} << (length - k)) - 1;
            d ^= cw & bits64(kCount - 1 - n + k);
        }
        if (!(__builtin_popcountll(d) & 1)) {
            ++m;
            continue;
        }
        const bool grow = 2 * length <= n;
        if (grow) std::memcpy(t, c, sizeof c);
        const int db = degree(b, kWords + 2);
        if (db + m > kDegree) return false;  // a recurrence longer than the state: impossible
        add_shifted(c, b, db, m);
        if (grow) {
            length = n + 1 - length;
            std::memcpy(b, t, sizeof b);
            m = 1;
        } else {
            ++m;
        }
    }
    if (length != kDegree) return false;
    std::memset(f, 0, sizeof(uint64_t) * (kWords + 1));
    for (int k = 0; k <= length; ++k)
        if ((c[k / 64] >> (k % 64)) & 1) f[(length - k) / 64] |= uint64_t{1} << ((length - k) % 64);
    return true;
}

bool irreducible(const uint64_t* f) {
    if (!(f[0] & 1)) return false;  // f(0) = 0
    int terms = 0;
    for (int k = 0; k < kWords; ++k) terms += __builtin_popcountll(f[k]);
    if (!(terms & 1)) return false;  // f(1) = 0
    uint64_t h[kWords + 1] = {2};  // x
    int k = 1;
    for (; k <= kScreenDegree; ++k) {
        square_plain(h, f);
        uint64_t g[kWords + 1];
        std::memcpy(g, h, sizeof g);
        g[0] ^= 2;  // x^(2^k) - x
        if (degree(g, kWords + 1) < 0 || !coprime(f, g)) return false;
    }
    const SquareMod sq(f);
    for (; k <= kDegree; ++k) sq.square(h);
    uint64_t x[kWords + 1] = {2};
    return std::memcmp(h, x, sizeof h) == 0;
}

uint32_t find_member(uint32_t id, int* tried) {
    std::mt19937 pick(0x22030000u + id);
    uint64_t f[kWords + 1];
    for (*tried = 1;; ++*tried) {
        const uint32_t a = (pick() & 0xFFFF0000u) | id;
        if (characteristic_polynomial(a, f) && irreducible(f)) return a;
    }
}

// The matrices of a header written by this program: the hexadecimal words
// on the lines after the array's declaration.
std::vector<uint32_t> read_known(const char* path) {
    std::vector<uint32_t> known;
    FILE* in = std::fopen(path, "r");
    if (!in) {
        std::fprintf(stderr, "gen_mt2203_params: cannot read %s\n", path);
        std::exit(1);
    }
    char line[256];
    while (std::fgets(line, sizeof line, in) && !std::strstr(line, "kMt2203Matrix[")) {}
    unsigned word;
    while (std::fscanf(in, " 0x%x,", &word) == 1) known.push_back(word);
    std::fclose(in);
    std::fprintf(stderr, "%zu members known from %s\n", known.size(), path);
    return known;
}

}  // namespace

int main(int argc, char** argv) {
    const int wanted = argc > 1 ? std::atoi(argv[1]) : 0;
    const double budget = argc > 2 ? std::atof(argv[2]) : 0;
    if (wanted < 1 || wanted > 6024) {
        std::fprintf(stderr, "usage: gen_mt2203_params COUNT [SECONDS] (COUNT 1 .. 6024; stop after SECONDS)\n");
        return 1;
    }
    // Members 0, 1, ... until COUNT are found or the time runs out.
    const auto start = std::chrono::steady_clock::now();
    std::vector<uint32_t> found = argc > 3 ? read_known(argv[3]) : std::vector<uint32_t>{};
    while (static_cast<int>(found.size()) < wanted) {
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        if (budget > 0 && spent.count() > budget) break;
        int tried = 0;
        found.push_back(find_member(static_cast<uint32_t>(found.size()), &tried));
        std::fprintf(stderr, "member %zu: %d candidates\n", found.size() - 1, tried);
    }
    const int count = static_cast<int>(found.size());
    std::printf("// Generated by tools/gen_mt2203_params.cpp (%d members); do not edit.\n", count);
    std::printf("// The twist matrices of the MT2203 members, member i at index i, its\n");
    std::printf("// number in the low 16 bits.\n");
    std::printf("#pragma once\n\n#include <cstdint>\n\nnamespace qor::rng {\n\n");
    std::printf("constexpr int32_t kMt2203ParamCount = %d;\n", count);
    std::printf("constexpr uint32_t kMt2203Matrix[%d] = {\n", count);
    for (int i = 0; i < count; ++i)
        std::printf("%s0x%08X,%s", i % 8 ? " " : "    ", found[static_cast<size_t>(i)],
                    i % 8 == 7 || i == count - 1 ? "\n" : "");
    std::printf("};\n\n}  // namespace qor::rng\n");
    return 0;
}
