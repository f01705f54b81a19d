// GF(2) polynomial arithmetic and the exported polynomial skip-ahead:
// remainder, Horner's rule applied to a generator state, and the windowed
// form that the long skip-ahead of the twisters uses.
#include "rng/brng/gf2_poly.h"

#include <cpuid.h>
#include <smmintrin.h>
#include <wmmintrin.h>

#include <cstring>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"

namespace qor::rng::gf2 {
namespace {

constexpr unsigned kLeaf1EcxPclmul = 1u << 1;

// The 32 bits of x moved to the even bit positions of a 64-bit word.
uint64_t spread32(uint32_t x) {
    uint64_t v = x;
    v = (v | (v << 16)) & 0x0000FFFF0000FFFFull;
    v = (v | (v << 8)) & 0x00FF00FF00FF00FFull;
    v = (v | (v << 4)) & 0x0F0F0F0F0F0F0F0Full;
    v = (v | (v << 2)) & 0x3333333333333333ull;
    v = (v | (v << 1)) & 0x5555555555555555ull;
    return v;
}

// The 64 bits at bit position pos of a (a_words words, bits past the end 0).
uint64_t bits_at(const uint64_t* a, int32_t a_words, int64_t pos) {
    const int64_t q = pos >> 6;
    const int r = static_cast<int>(pos & 63);
    const uint64_t lo = a[q];
    if (!r) return lo;
    const uint64_t hi = q + 1 < a_words ? a[q + 1] : 0;
    return (lo >> r) | (hi << (64 - r));
}

// a ^= t at bit position pos; bits past the end of a are dropped (they are
// 0 wherever this is used).
void xor_bits_at(uint64_t* a, int32_t a_words, int64_t pos, uint64_t t) {
    const int64_t q = pos >> 6;
    const int r = static_cast<int>(pos & 63);
    a[q] ^= t << r;
    if (r && q + 1 < a_words) a[q + 1] ^= t >> (64 - r);
}

// A scratch block from the core's allocator, released on scope exit.
struct Scratch {
    void* p;
    explicit Scratch(size_t bytes) : p(qor_serv_allocate(bytes, 64)) {}
    ~Scratch() { qor_serv_deallocate(p); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
};

}  // namespace

void square_portable(uint64_t* out, const uint64_t* a, int32_t words) {
    for (int32_t i = 0; i < words; ++i) {
        out[2 * i] = spread32(static_cast<uint32_t>(a[i]));
        out[2 * i + 1] = spread32(static_cast<uint32_t>(a[i] >> 32));
    }
}

// Squaring is linear over GF(2): each word's carry-less product with itself
// is its bits spread to the even positions.
__attribute__((target("pclmul,sse4.2"))) void square_pclmul(uint64_t* out, const uint64_t* a, int32_t words) {
    int32_t i = 0;
    for (; i + 2 <= words; i += 2) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_clmulepi64_si128(v, v, 0x00));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 2), _mm_clmulepi64_si128(v, v, 0x11));
    }
    if (i < words) {
        const __m128i v = _mm_cvtsi64_si128(static_cast<long long>(a[i]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_clmulepi64_si128(v, v, 0x00));
    }
}

bool cpu_has_pclmul() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) && (c & kLeaf1EcxPclmul);
}

SquareFn best_square() { return cpu_has_pclmul() ? square_pclmul : square_portable; }

void reduce_sparse(uint64_t* a, int32_t a_words, int32_t degree, const int32_t* terms, int32_t term_count) {
    // x^degree is replaced by the lower terms: a block of bits t at position
    // pos >= degree becomes t at pos - degree + e for every term e.  A block
    // no longer than degree - (highest term) lands wholly below pos, so the
    // blocks are folded once each, from the top down.
    constexpr int32_t kBlockWords = 8;
    int32_t highest = 0;
    for (int32_t i = 0; i < term_count; ++i) highest = terms[i] > highest ? terms[i] : highest;
    const int64_t gap = degree - highest;
    const int64_t block = gap < 64 * kBlockWords ? gap : 64 * kBlockWords;
    // With a gap of a word more than a block, every fold writes kBlockWords + 1
    // words below the block without a bound check, in vector form.
    const bool whole_blocks = gap >= 64 * (kBlockWords + 1);
    alignas(16) uint64_t t[kBlockWords + 1] = {};
    alignas(16) uint64_t below[kBlockWords + 1] = {};  // below[i] = t[i - 1]
    for (int64_t end = int64_t{a_words} * 64; end > degree;) {
        const int64_t len = end - degree < block ? end - degree : block;
        const int64_t pos = end - len;
        const int32_t n = static_cast<int32_t>((len + 63) / 64);
        bool any = false;
        for (int32_t i = 0; i < kBlockWords; ++i) {
            t[i] = i < n ? bits_at(a, a_words, pos + 64 * i) : 0;
            any |= t[i] != 0;
        }
        if (len & 63) t[n - 1] &= (uint64_t{1} << (len & 63)) - 1;
        end = pos;
        if (!any) continue;
        for (int32_t i = 0; i < n; ++i) xor_bits_at(a, a_words, pos + 64 * i, t[i]);  // clears the block
        for (int32_t i = 1; i <= kBlockWords; ++i) below[i] = t[i - 1];
        for (int32_t k = 0; k < term_count; ++k) {
            const int64_t off = pos - degree + terms[k];
            uint64_t* d = a + (off >> 6);
            const int r = static_cast<int>(off & 63);
            if (whole_blocks) {
                // A shift by 64 gives 0 here, so r = 0 needs no branch.
                const __m128i up = _mm_cvtsi32_si128(r), down = _mm_cvtsi32_si128(64 - r);
                for (int32_t i = 0; i < kBlockWords; i += 2) {
                    const __m128i v = _mm_or_si128(_mm_sll_epi64(_mm_load_si128(reinterpret_cast<const __m128i*>(t + i)), up),
                                                   _mm_srl_epi64(_mm_load_si128(reinterpret_cast<const __m128i*>(below + i)), down));
                    auto* w = reinterpret_cast<__m128i*>(d + i);
                    _mm_storeu_si128(w, _mm_xor_si128(_mm_loadu_si128(w), v));
                }
                if (r) d[kBlockWords] ^= t[kBlockWords - 1] >> (64 - r);
            } else if (r) {
                d[0] ^= t[0] << r;
                for (int32_t i = 1; i < n; ++i) d[i] ^= (t[i] << r) | (t[i - 1] >> (64 - r));
                if ((off >> 6) + n < a_words) d[n] ^= t[n - 1] >> (64 - r);
            } else {
                for (int32_t i = 0; i < n; ++i) d[i] ^= t[i];
            }
        }
    }
}

int32_t terms_of(const uint64_t* p, int32_t p_degree, int32_t* terms) {
    int32_t n = 0;
    for (int32_t w = 0; w * 64 < p_degree; ++w) {
        uint64_t v = p[w];
        if ((w + 1) * 64 > p_degree) v &= (uint64_t{1} << (p_degree - w * 64)) - 1;
        for (; v; v &= v - 1) terms[n++] = w * 64 + __builtin_ctzll(v);
    }
    return n;
}

void x_pow_mod(uint64_t* r, uint64_t* work, const uint64_t* count, int32_t count_words, int32_t p_degree,
               const int32_t* terms, int32_t term_count, SquareFn square) {
    const int32_t words = words_for_degree(p_degree);
    std::memset(r, 0, sizeof(uint64_t) * static_cast<size_t>(words));
    r[0] = 1;
    bool one = true;  // r still 1: squaring is skipped
    for (int32_t w = count_words - 1; w >= 0; --w) {
        for (int b = 63; b >= 0; --b) {
            const bool bit = (count[w] >> b) & 1;
            if (!one) {
                square(work, r, words);
                reduce_sparse(work, 2 * words, p_degree, terms, term_count);
                std::memcpy(r, work, sizeof(uint64_t) * static_cast<size_t>(words));
            }
            if (bit) {  // r *= x
                one = false;
                // r has a word for bit p_degree, so nothing is shifted out.
                for (int32_t i = words - 1; i > 0; --i) r[i] = (r[i] << 1) | (r[i - 1] >> 63);
                r[0] <<= 1;
                const int32_t dq = p_degree >> 6;
                if ((r[dq] >> (p_degree & 63)) & 1) {
                    r[dq] &= ~(uint64_t{1} << (p_degree & 63));
                    for (int32_t i = 0; i < term_count; ++i) r[terms[i] >> 6] ^= uint64_t{1} << (terms[i] & 63);
                }
            }
        }
    }
}

}  // namespace qor::rng::gf2

using namespace qor::rng::gf2;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixPolyRem(uint64_t* r, const uint64_t* a, int32_t a_degree, const uint64_t* p,
                                int32_t p_degree) {
    if (!r || !a || !p || p_degree < 1) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const int32_t a_words = a_degree < 0 ? 1 : words_for_degree(a_degree);
    const int32_t r_words = (p_degree + 63) / 64;
    Scratch scratch(sizeof(uint64_t) * static_cast<size_t>(a_words + 1) + sizeof(int32_t) * static_cast<size_t>(p_degree));
    if (!scratch.p) return QOR_RNG_STATUS_NO_MEMORY;
    auto* t = static_cast<uint64_t*>(scratch.p);
    auto* terms = reinterpret_cast<int32_t*>(t + a_words + 1);
    std::memcpy(t, a, sizeof(uint64_t) * static_cast<size_t>(a_words));
    if (a_degree >= 0 && (a_degree & 63) != 63) t[a_words - 1] &= (uint64_t{2} << (a_degree & 63)) - 1;
    t[a_words] = 0;
    const int32_t term_count = terms_of(p, p_degree, terms);
    reduce_sparse(t, a_words + 1, p_degree, terms, term_count);
    for (int32_t i = 0; i < r_words; ++i) r[i] = i < a_words ? t[i] : 0;
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rix_SkipAheadHorner(void* state, void* work, int32_t state_bytes, const uint64_t* g,
                                         int32_t g_degree, qor_rng_skip_step step, qor_rng_skip_copy copy,
                                         qor_rng_skip_add add) {
    if (!state || !work || !g || state_bytes < 1 || !step || !copy || !add) return QOR_RNG_STATUS_BAD_ARGUMENT;
    // An all-zero block is the zero state; stepping it keeps it zero.
    std::memset(work, 0, static_cast<size_t>(state_bytes));
    for (int32_t k = g_degree; k >= 0; --k) {
        step(work);
        if ((g[k >> 6] >> (k & 63)) & 1) add(work, state);
    }
    copy(state, work);
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rix_SkipAheadSWin(void* state, int32_t state_bytes, const uint64_t* count,
                                       int32_t count_words, const uint64_t* p, int32_t p_degree,
                                       qor_rng_skip_step step, qor_rng_skip_copy copy, qor_rng_skip_add add) {
    if (!state || state_bytes < 1 || !count || count_words < 1 || !p || p_degree < 1 || !step || !copy || !add)
        return QOR_RNG_STATUS_BAD_ARGUMENT;
    // Window width q: 2^q table states against p_degree / q combinations.
    int window = 1;
    for (int q = 2; q <= 7; ++q)
        if ((1 << q) + p_degree / q < (1 << window) + p_degree / window) window = q;
    const int32_t words = words_for_degree(p_degree);
    const size_t stride = (static_cast<size_t>(state_bytes) + 63) & ~size_t{63};
    const size_t poly_bytes = sizeof(uint64_t) * static_cast<size_t>(3 * words + 2);
    Scratch scratch(stride * ((size_t{1} << window) + 1) + poly_bytes + sizeof(int32_t) * static_cast<size_t>(p_degree));
    if (!scratch.p) return QOR_RNG_STATUS_NO_MEMORY;
    char* base = static_cast<char*>(scratch.p);
    auto table = [&](uint32_t w) { return base + stride * w; };  // table(0) is the accumulator
    auto* g = reinterpret_cast<uint64_t*>(base + stride * ((size_t{1} << window) + 1));
    auto* terms = reinterpret_cast<int32_t*>(g + 3 * words + 2);

    const int32_t term_count = terms_of(p, p_degree, terms);
    x_pow_mod(g, g + words, count, count_words, p_degree, terms, term_count, best_square());

    // table(w) = sum over the set bits t of w of F^t state.
    copy(table(1), state);
    for (int t = 1; t < window; ++t) {
        copy(table(1u << t), table(1u << (t - 1)));
        step(table(1u << t));
    }
    for (uint32_t w = 3; w < (1u << window); ++w) {
        if (!(w & (w - 1))) continue;
        copy(table(w), table(w & (w - 1)));
        add(table(w), table(w & (0u - w)));
    }
    // Horner's rule, one window of coefficients at a time from the top.
    void* acc = table(0);
    std::memset(acc, 0, static_cast<size_t>(state_bytes));
    bool zero = true;
    for (int32_t c = (p_degree - 1) / window; c >= 0; --c) {
        if (!zero)
            for (int t = 0; t < window; ++t) step(acc);
        const int64_t pos = int64_t{c} * window;
        uint32_t w = static_cast<uint32_t>((g[pos >> 6] >> (pos & 63)));
        if ((pos & 63) + window > 64 && (pos >> 6) + 1 < words) w |= static_cast<uint32_t>(g[(pos >> 6) + 1] << (64 - (pos & 63)));
        w &= (1u << window) - 1;
        if (w) {
            add(acc, table(w));
            zero = false;
        }
    }
    copy(state, acc);
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"
