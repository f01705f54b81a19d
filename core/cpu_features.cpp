#include "cpu_features.h"

#include <cpuid.h>

#include <cstring>

namespace qor::core {
namespace {

bool os_saves_avx_state() {
    unsigned a, b, c, d;
    __cpuid(1, a, b, c, d);
    if (!(c & bit_OSXSAVE)) return false;
    unsigned lo, hi;
    asm volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (lo & 6) == 6;
}

CpuFeatures read_features() {
    CpuFeatures f{};
    unsigned a, b, c, d;
    unsigned max_leaf = __get_cpuid_max(0, nullptr);
    if (max_leaf >= 1) {
        __cpuid(1, a, b, c, d);
        f.sse42 = c & bit_SSE4_2;
        f.aes = c & bit_AES;
        f.rdrand = c & bit_RDRND;
        f.avx = (c & bit_AVX) && os_saves_avx_state();
    }
    if (max_leaf >= 7) {
        __cpuid_count(7, 0, a, b, c, d);
        f.avx2 = f.avx && (b & bit_AVX2);
        f.avx512f = f.avx && (b & bit_AVX512F);
        f.vaes = c & (1u << 9);
    }
    std::memset(f.brand, 0, sizeof f.brand);
    if (__get_cpuid_max(0x80000000, nullptr) >= 0x80000004) {
        unsigned regs[12];
        for (unsigned leaf = 0; leaf < 3; ++leaf)
            __cpuid(0x80000002 + leaf, regs[4 * leaf], regs[4 * leaf + 1], regs[4 * leaf + 2], regs[4 * leaf + 3]);
        std::memcpy(f.brand, regs, 48);
    }
    return f;
}

}  // namespace

const CpuFeatures& cpu_features() {
    static const CpuFeatures features = read_features();
    return features;
}

}  // namespace qor::core
