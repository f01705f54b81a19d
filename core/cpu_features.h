// What the processor offers, read once with CPUID.
#pragma once

namespace qor::core {

struct CpuFeatures {
    bool sse42;
    bool avx;
    bool avx2;
    bool avx512f;
    bool aes;
    bool vaes;
    bool rdrand;
    char brand[49];
};

const CpuFeatures& cpu_features();

}  // namespace qor::core
