// Public initialisation, status texts and information calls.
#include "cpu_features.h"
#include "loader.h"
#include "qor/qor.h"
#include "status_texts.h"
#include "thread_pool.h"

using qor::core::cpu_features;
using qor::core::family_status_text;
using qor::core::process_kernels;

QOR_EXTERN_C {

QOR_EXPORT int qor_init(void) { return process_kernels().status; }

QOR_EXPORT const char* qor_status_string(int status) {
    const char* text = family_status_text(QOR_FAMILY_VM, status);
    return text ? text : "unknown status";
}

QOR_EXPORT const char* qor_family_status_string(int family, int status) {
    const char* text = family_status_text(family, status);
    return text ? text : "unknown status";
}

QOR_EXPORT const char* qor_init_detail(void) { return process_kernels().message.c_str(); }

QOR_EXPORT const char* qor_kernel_set_name(void) { return process_kernels().set_name.c_str(); }

QOR_EXPORT const char* qor_kernel_path(void) { return process_kernels().path.c_str(); }

QOR_EXPORT int qor_kernel_cpu_version(void) {
    const qor::core::LoadOutcome& out = process_kernels();
    return out.status == QOR_STATUS_OK ? out.cpu_version : out.status;
}

QOR_EXPORT const char* qor_cpu_vendor(void) { return cpu_features().vendor; }

QOR_EXPORT const char* qor_cpu_brand(void) { return cpu_features().brand; }

QOR_EXPORT uint32_t qor_cpu_features(void) {
    static_assert(QOR_CPU_FEATURE_COUNT == sizeof qor::core::kFeatureNames / sizeof qor::core::kFeatureNames[0]);
    uint32_t bits = 0;
    for (int i = 0; i < QOR_CPU_FEATURE_COUNT; ++i)
        if (cpu_features().*qor::core::kFeatureNames[i].flag) bits |= 1u << i;
    return bits;
}

QOR_EXPORT const char* qor_cpu_feature_name(int index) {
    return index >= 0 && index < QOR_CPU_FEATURE_COUNT ? qor::core::kFeatureNames[index].name : nullptr;
}

QOR_EXPORT int qor_get_max_threads(void) { return qor::core::calling_thread_limit(); }

QOR_EXPORT void qor_set_num_threads(int n) { qor::core::set_thread_cap(n); }

}  // extern "C"
