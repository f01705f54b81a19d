// qor_info: what the core library finds on this machine - the processor,
// the kernel set it loaded (or why it loaded none), the thread limit and the
// vector-math rows this build exports.
//   qor_info           summary, rows listed by name
//   qor_info --costs   also each row's relative cost per accuracy slot
#include <cstdio>
#include <cstring>

#include "qor/qor.h"

namespace {

void print_processor() {
    std::printf("processor:     %s\n", *qor_cpu_brand() ? qor_cpu_brand() : "(no brand string)");
    std::printf("vendor:        %s\n", qor_cpu_vendor());
    std::printf("features:     ");
    const uint32_t bits = qor_cpu_features();
    for (int i = 0; i < QOR_CPU_FEATURE_COUNT; ++i)
        if (bits & (1u << i)) std::printf(" %s", qor_cpu_feature_name(i));
    std::printf("\n");
}

void print_rows(bool costs) {
    const int count = qor_vm_row_count();
    std::printf("vector-math rows exported: %d\n", count);
    if (costs) {
        std::printf("  %-14s %10s %10s %10s\n", "row", "LA", "HA", "EP");
        for (int i = 0; i < count; ++i) {
            const char* name = qor_vm_row_name(i);
            std::printf("  %-14s %10.3f %10.3f %10.3f\n", name, qor_vm_cost(name, 0), qor_vm_cost(name, 1),
                        qor_vm_cost(name, 2));
        }
        return;
    }
    // Names wrapped at 78 columns, indented by two.
    std::size_t column = 0;
    for (int i = 0; i < count; ++i) {
        const char* name = qor_vm_row_name(i);
        const std::size_t width = std::strlen(name) + 1;
        if (column > 0 && column + width > 76) {
            std::printf("\n");
            column = 0;
        }
        std::printf("%s %s", column == 0 ? " " : "", name);
        column += width;
    }
    if (column > 0) std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    bool costs = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--costs") == 0) {
            costs = true;
        } else {
            std::fprintf(stderr, "usage: %s [--costs]\n", argv[0]);
            return 2;
        }
    }

    const int status = qor_init();
    print_processor();
    std::printf("thread limit:  %d\n", qor_get_max_threads());
    if (status != QOR_STATUS_OK) {
        std::printf("kernel set:    none (status %d: %s)\n", status, qor_status_string(status));
        std::printf("reason:        %s\n", qor_init_detail());
        return 1;
    }
    std::printf("kernel set:    %s (instruction-set level %d)\n", qor_kernel_set_name(), qor_kernel_cpu_version());
    std::printf("loaded from:   %s\n", qor_kernel_path());
    std::printf("mode:          0x%X\n", qor_vm_get_mode());
    print_rows(costs);
    return 0;
}
