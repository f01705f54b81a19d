// qor info: the kernel set the core loaded (or why none), the processor and
// its features, the vector-math mode of a new thread and the thread limit.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "commands.h"
#include "common.h"
#include "qor/qor.h"

namespace qor::cli {
namespace {

std::string describe_mode(uint32_t mode) {
    static const char* const accuracy[] = {"unset", "LA (low accuracy)", "HA (high accuracy)",
                                           "EP (enhanced performance)"};
    const uint32_t a = mode & QOR_VM_ACCURACY_MASK;
    std::string out = a < 4 ? accuracy[a] : "unknown";
    std::string errors;
    const struct { uint32_t bit; const char* name; } modes[] = {
        {QOR_VM_ERRMODE_IGNORE, "ignore"},   {QOR_VM_ERRMODE_ERRNO, "errno"},
        {QOR_VM_ERRMODE_STDERR, "stderr"},   {QOR_VM_ERRMODE_EXCEPT, "except"},
        {QOR_VM_ERRMODE_CALLBACK, "callback"}, {QOR_VM_ERRMODE_NOERR, "noerr"}};
    for (const auto& m : modes)
        if (mode & m.bit) errors += (errors.empty() ? "" : "+") + std::string(m.name);
    out += ", errors " + (errors.empty() ? std::string("default") : errors);
    out += (mode & QOR_VM_FTZDAZ_MASK) == QOR_VM_FTZDAZ_ON ? ", flush-to-zero on" : ", flush-to-zero off";
    return out;
}

void run_info(bool rows) {
    const int status = qor_init();
    std::printf("processor:   %s\n", *qor_cpu_brand() ? qor_cpu_brand() : "(no brand string)");
    std::printf("vendor:      %s\n", qor_cpu_vendor());
    std::printf("features:   ");
    for (int i = 0; i < QOR_CPU_FEATURE_COUNT; ++i)
        if (qor_cpu_features() & (1u << i)) std::printf(" %s", qor_cpu_feature_name(i));
    std::printf("\nthreads:     %d\n", qor_get_max_threads());
    if (status != QOR_STATUS_OK) throw Error("no kernel set: " + status_text(status, ""));
    std::printf("kernel set:  %s (instruction-set level %d)\n", qor_kernel_set_name(), qor_kernel_cpu_version());
    std::printf("loaded from: %s\n", qor_kernel_path());
    std::printf("mode:        0x%X: %s\n", qor_vm_get_mode(), describe_mode(qor_vm_get_mode()).c_str());
    std::printf("vector-math rows: %d\n", qor_vm_row_count());
    if (rows)
        for (int i = 0; i < qor_vm_row_count(); ++i) std::printf("  %s\n", qor_vm_row_name(i));
}

}  // namespace

void add_info(CLI::App& app) {
    auto* sub = app.add_subcommand("info", "The kernel set, processor features, vector-math mode and threads");
    auto rows = std::make_shared<bool>(false);
    sub->add_flag("--rows", *rows, "Also list every vector-math row this build exports");
    sub->callback([rows] { run_info(*rows); });
}

}  // namespace qor::cli
