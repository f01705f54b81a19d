// Decoding CPUID registers: instruction bits count only when the operating
// system saves the registers they need, and leaves beyond the processor's
// maximum are not read.
#include <gtest/gtest.h>

#include <cstring>

#include "cpu_features.h"

namespace {

using namespace qor::core;
using namespace qor::core::cpuid_bits;

CpuidSnapshot with_leaf1(uint32_t ecx, uint32_t edx = kLeaf1EdxSse2) {
    CpuidSnapshot s{};
    s.max_leaf = 7;
    s.leaf1[2] = ecx;
    s.leaf1[3] = edx;
    return s;
}

TEST(CpuDecode, NothingReportedMeansNothingAvailable) {
    const CpuFeatures f = decode_cpuid(CpuidSnapshot{});
    for (const FeatureName& n : kFeatureNames) EXPECT_FALSE(f.*n.flag) << n.name;
    EXPECT_STREQ(f.brand, "");
}

TEST(CpuDecode, Sse42AloneIsSse42Alone) {
    const CpuFeatures f = decode_cpuid(with_leaf1(kLeaf1EcxSse42, 0));
    EXPECT_TRUE(f.sse42);
    EXPECT_FALSE(f.sse41);
    EXPECT_FALSE(f.sse2);
    EXPECT_FALSE(f.avx);
}

TEST(CpuDecode, AvxNeedsTheOsToSaveTheWiderRegisters) {
    CpuidSnapshot s = with_leaf1(kLeaf1EcxAvx | kLeaf1EcxFma);
    s.leaf7[1] = kLeaf7EbxAvx2;
    EXPECT_FALSE(decode_cpuid(s).avx);  // no OSXSAVE
    s.leaf1[2] |= kLeaf1EcxOsxsave;
    s.xcr0 = 0x3;                       // x87 and SSE state only
    EXPECT_FALSE(decode_cpuid(s).avx);
    EXPECT_FALSE(decode_cpuid(s).avx2);
    EXPECT_FALSE(decode_cpuid(s).fma);
    s.xcr0 = 0x7;
    const CpuFeatures f = decode_cpuid(s);
    EXPECT_TRUE(f.avx);
    EXPECT_TRUE(f.avx2);
    EXPECT_TRUE(f.fma);
}

TEST(CpuDecode, Avx512NeedsOpmaskAndZmmState) {
    CpuidSnapshot s = with_leaf1(kLeaf1EcxAvx | kLeaf1EcxOsxsave);
    s.leaf7[1] = kLeaf7EbxAvx512f;
    s.xcr0 = 0x7;
    EXPECT_FALSE(decode_cpuid(s).avx512f);
    s.xcr0 = 0xE7;
    EXPECT_TRUE(decode_cpuid(s).avx512f);
}

TEST(CpuDecode, VectorAesNeedsAvx) {
    CpuidSnapshot s = with_leaf1(kLeaf1EcxAes);
    s.leaf7[2] = kLeaf7EcxVaes;
    EXPECT_TRUE(decode_cpuid(s).aes);
    EXPECT_FALSE(decode_cpuid(s).vaes);
    s.leaf1[2] |= kLeaf1EcxAvx | kLeaf1EcxOsxsave;
    s.xcr0 = 0x7;
    EXPECT_TRUE(decode_cpuid(s).vaes);
}

TEST(CpuDecode, LeafSevenIsIgnoredBeyondTheMaximumLeaf) {
    CpuidSnapshot s = with_leaf1(kLeaf1EcxAvx | kLeaf1EcxOsxsave);
    s.xcr0 = 0x7;
    s.leaf7[1] = kLeaf7EbxAvx2;
    s.max_leaf = 6;
    EXPECT_TRUE(decode_cpuid(s).avx);
    EXPECT_FALSE(decode_cpuid(s).avx2);
}

TEST(CpuDecode, VendorAndTrimmedBrandStrings) {
    CpuidSnapshot s{};
    std::memcpy(s.vendor, "VendorString", 12);  // EBX, EDX, ECX order
    const char brand[48] = "       Example(R) CPU @ 3.00GHz";
    std::memcpy(s.brand, brand, 48);
    s.max_extended_leaf = 0x80000004u;
    CpuFeatures f = decode_cpuid(s);
    EXPECT_STREQ(f.vendor, "VendorString");
    EXPECT_STREQ(f.brand, "Example(R) CPU @ 3.00GHz");
    s.max_extended_leaf = 0x80000003u;  // brand leaves absent
    f = decode_cpuid(s);
    EXPECT_STREQ(f.brand, "");
}

TEST(CpuDecode, ThisProcessorDecodesConsistently) {
    const CpuFeatures f = decode_cpuid(read_cpuid());
    EXPECT_TRUE(f.sse2);  // every x86-64 processor
    EXPECT_EQ(std::memcmp(&f, &cpu_features(), sizeof f), 0);
    if (f.avx2) {
        EXPECT_TRUE(f.avx);
    }
    if (f.sse42) {
        EXPECT_TRUE(f.sse41);
    }
}

}  // namespace
