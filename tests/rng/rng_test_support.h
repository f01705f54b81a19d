// Shared pieces of the random-stream tests: an owning stream handle, plain
// reference recurrences in 128-bit arithmetic, and the output conversions
// computed the obvious way.
#pragma once

#include <gtest/gtest.h>
#include <xmmintrin.h>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

#include <bit>
#include <cstdint>
#include <memory>
#include <vector>

#include "qor/qor_rng.h"
#include "qor/qor_vm.h"

namespace rng_test {

// Distinguishes files of concurrent test processes.
inline long process_id() {
#ifdef _WIN32
    return static_cast<long>(_getpid());
#else
    return static_cast<long>(getpid());
#endif
}

struct StreamDeleter {
    void operator()(qor_rng_stream* s) const { __rixDeleteStream(&s); }
};
using Stream = std::unique_ptr<qor_rng_stream, StreamDeleter>;

// A stream of `brng` seeded with the given words; fails the test if the
// creation fails.
inline Stream make_stream(int32_t brng, std::vector<uint32_t> seed) {
    qor_rng_stream* s = nullptr;
    const int32_t status =
        __rixNewStreamEx(&s, brng, static_cast<int32_t>(seed.size()), seed.empty() ? nullptr : seed.data());
    EXPECT_EQ(status, QOR_RNG_STATUS_OK) << "brng " << std::hex << brng;
    return Stream(s);
}

inline Stream copy_of(const Stream& s) {
    qor_rng_stream* c = nullptr;
    EXPECT_EQ(__rixCopyStream(&c, s.get()), QOR_RNG_STATUS_OK);
    return Stream(c);
}

// x_{k+1} = a x_k mod m, outputs x_k, in 128-bit integers.
class ReferenceMcg {
public:
    ReferenceMcg(uint64_t x, uint64_t a, unsigned __int128 m) : x_(x), a_(a), m_(m) {}
    uint64_t next() {
        const uint64_t r = static_cast<uint64_t>(x_);
        x_ = x_ * a_ % m_;
        return r;
    }
    void discard(uint64_t count) {
        while (count--) next();
    }

private:
    unsigned __int128 x_, a_, m_;
};

constexpr uint64_t kMod31 = 2147483647;
constexpr uint64_t kMcg31Multiplier = 1132489760;
constexpr unsigned __int128 kMod59 = static_cast<unsigned __int128>(1) << 59;
constexpr uint64_t kMcg59Multiplier = 302875106592253;  // 13^13

inline ReferenceMcg reference_mcg31(uint64_t x) { return ReferenceMcg(x, kMcg31Multiplier, kMod31); }
inline ReferenceMcg reference_mcg59(uint64_t x) { return ReferenceMcg(x, kMcg59Multiplier, kMod59); }

// The real conversions: value * ((b - a) * c) + a in double precision, the
// value converted by the hardware's rounding to nearest.
inline double mcg31_inverse_modulus() { return std::bit_cast<double>(uint64_t{0x3E00000000200000}); }
constexpr double kMcg59InverseModulus = 0x1p-59;

inline double to_real(uint64_t value, double a, double b, double c) {
    return static_cast<double>(static_cast<int64_t>(value)) * ((b - a) * c) + a;
}

// base^e mod m by repeated squaring in 128 bits.
inline uint64_t reference_pow_mod(unsigned __int128 base, uint64_t e, unsigned __int128 m) {
    unsigned __int128 r = 1 % m;
    base %= m;
    for (; e; e >>= 1) {
        if (e & 1) r = r * base % m;
        base = base * base % m;
    }
    return static_cast<uint64_t>(r);
}

// What a distribution call must give back to its caller: the vector-math
// mode and callback, and the control bits of MXCSR and of the x87 unit.
struct ControlState {
    uint32_t mode, mxcsr;
    uint16_t x87;
    qor_vm_error_callback callback;
    static ControlState now() {
        ControlState c{qor_lum_kernel_GetMode(), _mm_getcsr() & ~0x3Fu, 0, qor_lum_kernel_GetErrorCallBack()};
        asm volatile("fnstcw %0" : "=m"(c.x87));
        return c;
    }
    bool operator==(const ControlState&) const = default;
};

// A registered generator for edge cases: its real fills hand out
// a + (b - a) v for v running over the script, its integer fill nothing,
// and every fill answers the status, a negative one before writing
// anything.  One registration serves every test; stream() sets the script
// and the status, which a test may change while it runs.
struct ScriptedGenerator {
    static inline std::vector<double> script{0.5};
    static inline int32_t status = 0;
    static inline size_t next = 0;

    static Stream stream(std::vector<double> values, int32_t answer = 0) {
        static const int32_t id = [] {
            const qor_rng_brng_properties p = {24, 1, 1, 4, 32, init, fill<float>, fill<double>, fill_int};
            return __rixRegisterBrng(&p);
        }();
        script = std::move(values);
        status = answer;
        next = 0;
        return make_stream(id, {});
    }

private:
    static int32_t init(uint32_t, qor_rng_stream*, int32_t, const uint32_t*) { return 0; }
    template <class T>
    static int32_t fill(qor_rng_stream*, int32_t n, T* r, T a, T b) {
        if (status < 0) return status;
        for (int32_t i = 0; i < n; ++i) r[i] = a + (b - a) * static_cast<T>(script[next++ % script.size()]);
        return status;
    }
    static int32_t fill_int(qor_rng_stream*, int32_t, void*) { return status; }
};

}  // namespace rng_test
