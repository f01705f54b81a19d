#include "cpu_features.h"

#include <cpuid.h>

#include <cstring>

namespace qor::core {

using namespace cpuid_bits;

const FeatureName kFeatureNames[13] = {
    {"sse2", &CpuFeatures::sse2},     {"sse3", &CpuFeatures::sse3},       {"ssse3", &CpuFeatures::ssse3},
    {"sse4.1", &CpuFeatures::sse41},  {"sse4.2", &CpuFeatures::sse42},    {"popcnt", &CpuFeatures::popcnt},
    {"avx", &CpuFeatures::avx},       {"avx2", &CpuFeatures::avx2},       {"fma", &CpuFeatures::fma},
    {"avx512f", &CpuFeatures::avx512f}, {"aes", &CpuFeatures::aes},       {"vaes", &CpuFeatures::vaes},
    {"rdrand", &CpuFeatures::rdrand},
};

CpuFeatures decode_cpuid(const CpuidSnapshot& s) {
    CpuFeatures f{};
    std::memcpy(f.vendor, s.vendor, 12);
    f.vendor[12] = '\0';
    if (s.max_leaf >= 1) {
        const uint32_t ecx = s.leaf1[2], edx = s.leaf1[3];
        f.sse2 = edx & kLeaf1EdxSse2;
        f.sse3 = ecx & kLeaf1EcxSse3;
        f.ssse3 = ecx & kLeaf1EcxSsse3;
        f.sse41 = ecx & kLeaf1EcxSse41;
        f.sse42 = ecx & kLeaf1EcxSse42;
        f.popcnt = ecx & kLeaf1EcxPopcnt;
        f.aes = ecx & kLeaf1EcxAes;
        f.rdrand = ecx & kLeaf1EcxRdrand;
        // AVX-encoded instructions fault unless the OS saves the wider
        // registers, so the instruction bit alone is not enough.
        const bool avx_state = (ecx & kLeaf1EcxOsxsave) && (s.xcr0 & kXcr0AvxState) == kXcr0AvxState;
        f.avx = (ecx & kLeaf1EcxAvx) && avx_state;
        f.fma = f.avx && (ecx & kLeaf1EcxFma);
        if (s.max_leaf >= 7) {
            const uint32_t ebx7 = s.leaf7[1], ecx7 = s.leaf7[2];
            f.avx2 = f.avx && (ebx7 & kLeaf7EbxAvx2);
            f.avx512f = f.avx && (s.xcr0 & kXcr0Avx512State) == kXcr0Avx512State && (ebx7 & kLeaf7EbxAvx512f);
            f.vaes = f.avx && (ecx7 & kLeaf7EcxVaes);
        }
    }
    if (s.max_extended_leaf >= 0x80000004u) {
        std::memcpy(f.brand, s.brand, 48);
        f.brand[48] = '\0';
        // The brand string is often padded with leading blanks.
        const char* start = f.brand;
        while (*start == ' ') ++start;
        std::memmove(f.brand, start, std::strlen(start) + 1);
    }
    return f;
}

CpuidSnapshot read_cpuid() {
    CpuidSnapshot s{};
    unsigned a, b, c, d;
    __cpuid(0, a, b, c, d);
    s.max_leaf = a;
    s.vendor[0] = b;
    s.vendor[1] = d;
    s.vendor[2] = c;
    if (s.max_leaf >= 1) {
        __cpuid(1, a, b, c, d);
        s.leaf1[0] = a, s.leaf1[1] = b, s.leaf1[2] = c, s.leaf1[3] = d;
        if (c & kLeaf1EcxOsxsave) {
            unsigned lo, hi;
            asm volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
            s.xcr0 = (uint64_t{hi} << 32) | lo;
        }
    }
    if (s.max_leaf >= 7) {
        __cpuid_count(7, 0, a, b, c, d);
        s.leaf7[0] = a, s.leaf7[1] = b, s.leaf7[2] = c, s.leaf7[3] = d;
    }
    __cpuid(0x80000000u, a, b, c, d);
    s.max_extended_leaf = a;
    if (s.max_extended_leaf >= 0x80000004u) {
        for (unsigned leaf = 0; leaf < 3; ++leaf)
            __cpuid(0x80000002u + leaf, s.brand[4 * leaf], s.brand[4 * leaf + 1], s.brand[4 * leaf + 2],
                    s.brand[4 * leaf + 3]);
    }
    return s;
}

const CpuFeatures& cpu_features() {
    static const CpuFeatures features = decode_cpuid(read_cpuid());
    return features;
}

}  // namespace qor::core
