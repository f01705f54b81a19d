// A stand-in for the kernel library: a symbol table the loader can be
// pointed at, and service functions that keep a mode word the way the real
// kernel set does (field-by-field merge, one word per thread), a status and
// a callback per thread.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "kernel_set.h"
#include "loader.h"

namespace fake {

inline thread_local uint32_t mode = QOR_VM_MODE_DEFAULT;
template <class T>
T exchange(T& field, T value) {
    const T previous = field;
    field = value;
    return previous;
}
inline int32_t reported_cpu_version = 5;

inline uint32_t SetMode(uint32_t x) {
    const uint32_t previous = mode;
    for (uint32_t field : {0xFu, 0xFF00u, 0x30000u, 0x3C0000u, 0xF000000u})
        if (x & field) mode = (mode & ~field) | (x & field);
    return previous;
}
inline uint32_t RestoreMode(uint32_t x) { return exchange(mode, x); }
inline uint32_t GetMode() { return mode; }
inline thread_local int32_t status = 0;
inline thread_local qor_vm_error_callback callback = nullptr;
inline int32_t SetErrStatus(int32_t s) { return exchange(status, s); }
inline int32_t GetErrStatus() { return status; }
inline int32_t ClearErrStatus() { return exchange(status, 0); }
inline qor_vm_error_callback SetErrorCallBack(qor_vm_error_callback cb) {
    SetMode((mode & ~0x1000u) | (cb ? 0x1000u : 0u));
    return exchange(callback, cb);
}
inline qor_vm_error_callback GetErrorCallBack() { return callback; }
inline qor_vm_error_callback ClearErrorCallBack() { return exchange<qor_vm_error_callback>(callback, nullptr); }
inline const void* SetInterfInputVectorPointer(const void* p) { return p; }
inline int32_t GetTTableIndex() { return static_cast<int32_t>(mode & 15) - 1; }
inline int32_t GetTTableIndexM(const void*, uint32_t m) { return static_cast<int32_t>(m & 15) - 1; }
inline int32_t dll_cpu_version() { return reported_cpu_version; }

inline void kernel_stub() {}
inline const qor_vm_kernel table[3] = {&kernel_stub, &kernel_stub, &kernel_stub};
inline const float costs[3] = {1.0f, 2.0f, 3.0f};
// Distinct stand-in addresses for the random-number, statistics and
// data-fitting exports (never called).
inline char rng_exports[64];
inline char stats_exports[64];
inline char fit_exports[64];

// Services wired to the functions above.
inline qor::core::KernelServices services() {
    qor::core::KernelServices s;
    s.cpu_version = &dll_cpu_version;
#define QOR_FAKE_SERVICE(ret, op, params) s.op = &op;
    QOR_VM_SERVICES(QOR_FAKE_SERVICE)
#undef QOR_FAKE_SERVICE
    return s;
}

// Which files "exist", which symbols the library has, and what the loader
// did with them.
struct Library {
    std::set<std::string> loadable_paths;
    std::map<std::string, void*> symbols;
    std::vector<std::string> opened;  // every path tried, in order
    int closes = 0;
    int handle = 0;  // its address is the library handle

    // A complete library: every service, every table of the rows on and
    // every random-number, statistics and data-fitting export.
    Library() {
        symbols["dll_cpu_version"] = reinterpret_cast<void*>(&dll_cpu_version);
#define QOR_FAKE_SYMBOL(ret, op, params) symbols["qor_lum_kernel_" #op] = reinterpret_cast<void*>(&op);
        QOR_VM_SERVICES(QOR_FAKE_SYMBOL)
#undef QOR_FAKE_SYMBOL
        for (int i = 0; i < qor::core::kRowCount; ++i) {
            const std::string base = std::string("qor_lum_kernel_") + qor::core::kRowBindings[i].name;
            symbols[base + "_ttab"] = const_cast<qor_vm_kernel*>(table);
            symbols[base + "_ctab"] = const_cast<float*>(costs);
        }
        int next_rng = 0;
#define QOR_CORE_RNG_EXPORT(field, symbol) symbols[#symbol] = &rng_exports[next_rng++];
        QOR_CORE_RNG_EXPORTS
#undef QOR_CORE_RNG_EXPORT
        int next_stats = 0;
#define QOR_CORE_STATS_EXPORT(field, symbol) symbols[#symbol] = &stats_exports[next_stats++];
        QOR_CORE_STATS_EXPORTS
#undef QOR_CORE_STATS_EXPORT
        int next_fit = 0;
#define QOR_CORE_FIT_EXPORT(field, symbol) symbols[#symbol] = &fit_exports[next_fit++];
        QOR_CORE_FIT_EXPORTS
#undef QOR_CORE_FIT_EXPORT
    }

    qor::core::LibraryAccess access() {
        qor::core::LibraryAccess a;
        a.open = [this](const std::string& path) -> void* {
            opened.push_back(path);
            return loadable_paths.count(path) ? &handle : nullptr;
        };
        a.symbol = [this](void* library, const char* name) -> void* {
            if (library != &handle) return nullptr;
            auto it = symbols.find(name);
            return it == symbols.end() ? nullptr : it->second;
        };
        a.close = [this](void* library) { closes += library == &handle ? 1 : 100; };
        a.last_error = [this] { return "cannot open " + opened.back(); };
        return a;
    }
};

}  // namespace fake
