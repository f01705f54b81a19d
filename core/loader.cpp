#include "loader.h"

#include <atomic>
#include <cstdlib>

#include "platform.h"
#include "qor/qor.h"

namespace qor::core {
namespace {

constexpr int32_t kSse42CpuVersion = 5;
constexpr const char* kServicePrefix = "qor_lum_kernel_";

std::string processor_name(const CpuFeatures& f) {
    if (f.brand[0]) return f.brand;
    if (f.vendor[0]) return std::string(f.vendor) + " processor";
    return "unknown processor";
}

template <class F>
bool bind_symbol(void* library, const LibraryAccess& access, const std::string& name, F& target,
                 std::string& missing) {
    void* address = access.symbol(library, name.c_str());
    if (!address) {
        missing = name;
        return false;
    }
    target = reinterpret_cast<F>(address);
    return true;
}

}  // namespace

KernelChoice choose_kernel_set(const CpuFeatures& features) {
    if (!features.sse42) {
        return {QOR_STATUS_CPU_UNSUPPORTED, nullptr, nullptr, 0,
                "this processor (" + processor_name(features) +
                    ") lacks SSE4.2, the least instruction set the qor kernels are built for; "
                    "no kernel library was loaded"};
    }
    return {QOR_STATUS_OK, "sse42", kernel_library_name(), kSse42CpuVersion, ""};
}

std::vector<std::string> candidate_paths(const std::string& override_dir, const std::string& core_dir,
                                         const char* library_file) {
    auto in_dir = [&](const std::string& dir) {
        if (!dir.empty() && dir.back() != kPathSeparator && dir.back() != '/') return dir + kPathSeparator + library_file;
        return dir + library_file;
    };
    if (!override_dir.empty()) return {in_dir(override_dir)};
    std::vector<std::string> paths;
    if (!core_dir.empty()) paths.push_back(in_dir(core_dir));
    paths.emplace_back(library_file);
    return paths;
}

bool bind_kernel_set(void* library, const LibraryAccess& access, KernelSet& k, std::string& missing) {
    KernelServices& s = k.services;
    if (!bind_symbol(library, access, "dll_cpu_version", s.cpu_version, missing)) return false;
#define QOR_CORE_BIND_SERVICE(ret, op, params) \
    if (!bind_symbol(library, access, std::string(kServicePrefix) + #op, s.op, missing)) return false;
    QOR_VM_SERVICES(QOR_CORE_BIND_SERVICE)
#undef QOR_CORE_BIND_SERVICE
    for (int i = 0; i < kRowCount; ++i) {
        const RowBinding& row = kRowBindings[i];
        const std::string base = std::string(kServicePrefix) + row.name;
        if (!bind_symbol(library, access, base + "_ttab", k.tables.*row.table, missing)) return false;
        if (!bind_symbol(library, access, base + "_ctab", k.costs.*row.cost, missing)) return false;
    }
#define QOR_CORE_RNG_EXPORT(field, symbol) \
    if (!bind_symbol(library, access, #symbol, k.rng.field, missing)) return false;
    QOR_CORE_RNG_EXPORTS
#undef QOR_CORE_RNG_EXPORT
#define QOR_CORE_STATS_EXPORT(field, symbol) \
    if (!bind_symbol(library, access, #symbol, k.stats.field, missing)) return false;
    QOR_CORE_STATS_EXPORTS
#undef QOR_CORE_STATS_EXPORT
#define QOR_CORE_FIT_EXPORT(field, symbol) \
    if (!bind_symbol(library, access, #symbol, k.fit.field, missing)) return false;
    QOR_CORE_FIT_EXPORTS
#undef QOR_CORE_FIT_EXPORT
    return true;
}

LoadOutcome load_kernel_set(const CpuFeatures& features, const std::string& override_dir,
                            const std::string& core_dir, const LibraryAccess& access) {
    LoadOutcome out;
    const KernelChoice choice = choose_kernel_set(features);
    if (choice.status != QOR_STATUS_OK) {
        out.status = choice.status;
        out.message = choice.message;
        return out;
    }

    std::string tried;
    for (const std::string& path : candidate_paths(override_dir, core_dir, choice.library_file)) {
        if ((out.library = access.open(path))) {
            out.path = path;
            break;
        }
        tried += (tried.empty() ? "" : "; ") + access.last_error();
    }
    if (!out.library) {
        out.status = QOR_STATUS_KERNEL_NOT_FOUND;
        out.message = "cannot load the kernel library " + std::string(choice.library_file) + " (" + tried + ")";
        out.message += override_dir.empty() ? "; QOR_KERNEL_DIR may name the directory that holds it"
                                            : "; QOR_KERNEL_DIR is set to " + override_dir;
        return out;
    }

    auto refuse = [&](int status, std::string message) {
        access.close(out.library);
        out.library = nullptr;
        out.status = status;
        out.message = std::move(message);
        out.kernels = KernelSet{};
        return out;
    };
    // The level check comes first: a library for another instruction set
    // may well lack some of the symbols below.
    auto cpu_version = reinterpret_cast<int32_t (*)(void)>(access.symbol(out.library, "dll_cpu_version"));
    if (!cpu_version)
        return refuse(QOR_STATUS_KERNEL_VERSION, out.path + " is not a qor kernel library (it has no dll_cpu_version)");
    out.cpu_version = cpu_version();
    if (out.cpu_version != choice.cpu_version) {
        return refuse(QOR_STATUS_KERNEL_VERSION, out.path + " reports instruction-set level " +
                                                     std::to_string(out.cpu_version) + " where the " +
                                                     choice.set_name + " kernels report " +
                                                     std::to_string(choice.cpu_version));
    }
    std::string missing;
    if (!bind_kernel_set(out.library, access, out.kernels, missing)) {
        return refuse(QOR_STATUS_KERNEL_INCOMPLETE,
                      out.path + " lacks " + missing + ", which this core library needs; the two libraries do not match");
    }
    out.set_name = choice.set_name;
    return out;
}

LibraryAccess system_library_access() {
    LibraryAccess access;
    access.open = [](const std::string& path) { return library_open(path); };
    access.symbol = [](void* library, const char* name) { return library_symbol(library, name); };
    access.close = [](void* library) { library_close(library); };
    access.last_error = [] { return library_error(); };
    return access;
}

const LoadOutcome& process_kernels() {
    static const LoadOutcome outcome = [] {
        const char* override_dir = std::getenv("QOR_KERNEL_DIR");
        LoadOutcome out = load_kernel_set(cpu_features(), override_dir ? override_dir : "", core_directory(),
                                          system_library_access());
        if (out.status == QOR_STATUS_OK) {
            // Name the file actually loaded, also when the search path found it.
            std::string file = module_path(reinterpret_cast<const void*>(out.kernels.services.cpu_version));
            if (!file.empty()) out.path = file;
        }
        return out;
    }();
    return outcome;
}

const KernelSet* usable_kernels() {
    const LoadOutcome& out = process_kernels();
    if (out.status == QOR_STATUS_OK) {
        loaded_kernels.store(&out.kernels, std::memory_order_release);
        return &out.kernels;
    }
    static std::atomic<bool> reported{false};
    if (!reported.exchange(true)) {
        const std::string line = "qor: vector math is unavailable: " + out.message + "\n";
        write_stderr(line.data(), line.size());
    }
    return nullptr;
}

}  // namespace qor::core
