// Processor features that the AES-based and hardware generators need.
#include <cpuid.h>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"

namespace {

constexpr unsigned kLeaf1EcxAes = 1u << 25;
constexpr unsigned kLeaf1EcxRdrand = 1u << 30;

unsigned leaf1_ecx() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return 0;
    return c;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixCPUisAES(void) { return (leaf1_ecx() & kLeaf1EcxAes) ? 1 : 0; }

QOR_EXPORT int32_t __rixCPUisRDRAND(void) { return (leaf1_ecx() & kLeaf1EcxRdrand) ? 1 : 0; }

QOR_EXPORT int32_t __rixCPUisVAES(void) { return qor_serv_cpuisicx() ? 1 : 0; }

}  // extern "C"
