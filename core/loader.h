// Finding and loading the kernel library for the processor at hand.
//
// The decisions are kept apart from the operating system: which kernel set
// a processor gets is a pure function of its features, the places to look
// are a pure function of the directories involved, and binding works through
// a LibraryAccess that tests can replace with a fake library.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cpu_features.h"
#include "kernel_set.h"

namespace qor::core {

// The kernel set a processor gets, or why it gets none.
struct KernelChoice {
    int status;                 // 0 or QOR_STATUS_CPU_UNSUPPORTED
    const char* set_name;       // "sse42"; null when refused
    const char* library_file;   // file name of the kernel library; null when refused
    int32_t cpu_version;        // what the library's dll_cpu_version must return
    std::string message;        // the refusal, for people
};

KernelChoice choose_kernel_set(const CpuFeatures& features);

// Where to look for the library file, in order.  A non-empty override
// directory (QOR_KERNEL_DIR) is the only place looked at; otherwise the core
// library's own directory, then the bare name for the system's search path.
std::vector<std::string> candidate_paths(const std::string& override_dir, const std::string& core_dir,
                                         const char* library_file);

// Operating-system access to shared libraries.
struct LibraryAccess {
    std::function<void*(const std::string& path)> open;  // null on failure
    std::function<void*(void* library, const char* name)> symbol;
    std::function<void(void* library)> close;
    std::function<std::string()> last_error;  // why the last open failed
};
LibraryAccess system_library_access();

struct LoadOutcome {
    int status = 0;          // 0 or a QOR_STATUS_ code
    std::string message;     // why it failed, "" on success
    std::string set_name;    // "" on failure
    std::string path;        // the library loaded, "" on failure
    int32_t cpu_version = 0;
    void* library = nullptr;
    KernelSet kernels;
};

// Chooses, finds, checks and binds a kernel library.  Nothing is opened for
// a processor that is refused; a library that fails a check is closed.
LoadOutcome load_kernel_set(const CpuFeatures& features, const std::string& override_dir,
                            const std::string& core_dir, const LibraryAccess& access);

// Binds the services, row tables, random-number, statistics and
// data-fitting functions of an opened library; on failure names the first
// missing symbol.
bool bind_kernel_set(void* library, const LibraryAccess& access, KernelSet& kernels, std::string& missing);

// The process's kernel set: loaded once, on first request, with the real
// processor, QOR_KERNEL_DIR and the core library's directory.
const LoadOutcome& process_kernels();

// The kernel set when it loaded; otherwise null, after printing the reason
// on standard error (once per process).
const KernelSet* usable_kernels();

// Set by usable_kernels once the kernel set has loaded, so that a call
// finds it with one load; null until then.
inline std::atomic<const KernelSet*> loaded_kernels{nullptr};

// usable_kernels() for the public calls: one load once the set is known.
inline const KernelSet* kernels_for_call() {
    const KernelSet* k = loaded_kernels.load(std::memory_order_acquire);
    return k ? k : usable_kernels();
}

}  // namespace qor::core
