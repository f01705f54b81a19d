// What the processor offers, read once with CPUID.  Reading the registers
// and deciding what they mean are separate steps so that the decoding can be
// checked against made-up register contents.
#pragma once

#include <cstdint>

namespace qor::core {

struct CpuFeatures {
    bool sse2;
    bool sse3;
    bool ssse3;
    bool sse41;
    bool sse42;
    bool popcnt;
    bool avx;      // instructions present and their register state saved by the OS
    bool avx2;
    bool fma;
    bool avx512f;  // needs the OS to save the opmask and ZMM state as well
    bool aes;
    bool vaes;     // vector AES: needs AVX state
    bool rdrand;
    char vendor[13];
    char brand[49];
};

// Raw CPUID and XCR0 contents the decoding works from.
struct CpuidSnapshot {
    uint32_t max_leaf;           // leaf 0 EAX
    uint32_t vendor[3];          // leaf 0 EBX, EDX, ECX
    uint32_t leaf1[4];           // EAX, EBX, ECX, EDX of leaf 1
    uint32_t leaf7[4];           // EAX, EBX, ECX, EDX of leaf 7, sub-leaf 0
    uint32_t max_extended_leaf;  // leaf 0x80000000 EAX
    uint32_t brand[12];          // leaves 0x80000002..4, EAX EBX ECX EDX each
    uint64_t xcr0;               // 0 when OSXSAVE is off
};

// Register bits the decoding reads.
namespace cpuid_bits {
constexpr uint32_t kLeaf1EcxSse3 = 1u << 0;
constexpr uint32_t kLeaf1EcxSsse3 = 1u << 9;
constexpr uint32_t kLeaf1EcxFma = 1u << 12;
constexpr uint32_t kLeaf1EcxSse41 = 1u << 19;
constexpr uint32_t kLeaf1EcxSse42 = 1u << 20;
constexpr uint32_t kLeaf1EcxPopcnt = 1u << 23;
constexpr uint32_t kLeaf1EcxAes = 1u << 25;
constexpr uint32_t kLeaf1EcxOsxsave = 1u << 27;
constexpr uint32_t kLeaf1EcxAvx = 1u << 28;
constexpr uint32_t kLeaf1EcxRdrand = 1u << 30;
constexpr uint32_t kLeaf1EdxSse2 = 1u << 26;
constexpr uint32_t kLeaf7EbxAvx2 = 1u << 5;
constexpr uint32_t kLeaf7EbxAvx512f = 1u << 16;
constexpr uint32_t kLeaf7EcxVaes = 1u << 9;
// XCR0: x87, SSE, AVX upper halves, opmask, ZMM upper halves, high ZMM.
constexpr uint64_t kXcr0AvxState = 0x6;
constexpr uint64_t kXcr0Avx512State = 0xE6;
}  // namespace cpuid_bits

CpuFeatures decode_cpuid(const CpuidSnapshot& snapshot);

// The running processor's snapshot and features (read once).
CpuidSnapshot read_cpuid();
const CpuFeatures& cpu_features();

// Names of the feature flags in a fixed order, for reports.
struct FeatureName {
    const char* name;
    bool CpuFeatures::*flag;
};
extern const FeatureName kFeatureNames[13];

}  // namespace qor::core
