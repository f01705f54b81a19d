// Helpers of the Windows test suites: floating-point exceptions caught as
// structured exceptions, the private heaps of the process, and a private
// copy of the kernel DLL that a test may load and unload at will.
#pragma once

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace win_test {

// Structured-exception codes of the x87 exceptions the error path raises.
constexpr DWORD kFltInvalid = 0xC0000090;     // EXCEPTION_FLT_INVALID_OPERATION
constexpr DWORD kFltZeroDivide = 0xC000008E;  // EXCEPTION_FLT_DIVIDE_BY_ZERO
constexpr DWORD kFltOverflow = 0xC0000091;    // EXCEPTION_FLT_OVERFLOW
constexpr DWORD kFltUnderflow = 0xC0000093;   // EXCEPTION_FLT_UNDERFLOW

// While it lives, floating-point exceptions of any thread are recorded and
// resumed: the pending x87 exception is masked and cleared in the saved
// context, so the instruction that delivered it runs again quietly.
class FloatExceptionCatcher {
public:
    FloatExceptionCatcher() {
        std::lock_guard<std::mutex> lock(mutex());
        codes().clear();
        handle_ = AddVectoredExceptionHandler(1, &on_exception);
    }
    ~FloatExceptionCatcher() { RemoveVectoredExceptionHandler(handle_); }
    FloatExceptionCatcher(const FloatExceptionCatcher&) = delete;
    FloatExceptionCatcher& operator=(const FloatExceptionCatcher&) = delete;

    // Codes caught so far, in order; clears the list.
    std::vector<DWORD> take() {
        std::lock_guard<std::mutex> lock(mutex());
        std::vector<DWORD> out;
        out.swap(codes());
        return out;
    }

private:
    static std::mutex& mutex() {
        static std::mutex m;
        return m;
    }
    static std::vector<DWORD>& codes() {
        static std::vector<DWORD> c;
        return c;
    }
    static LONG CALLBACK on_exception(EXCEPTION_POINTERS* info) {
        const DWORD code = info->ExceptionRecord->ExceptionCode;
        if (code < 0xC000008D || code > 0xC0000093) return EXCEPTION_CONTINUE_SEARCH;
        {
            std::lock_guard<std::mutex> lock(mutex());
            codes().push_back(code);
        }
        XMM_SAVE_AREA32& fpu = info->ContextRecord->FltSave;
        fpu.ControlWord |= 0x3F;       // all six exceptions masked
        fpu.StatusWord &= ~0x80FF;     // flags, summary and busy bits cleared
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    void* handle_ = nullptr;
};

// The heaps of the process.
inline std::set<HANDLE> process_heaps() {
    std::vector<HANDLE> heaps(64);
    for (;;) {
        const DWORD n = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
        if (n <= heaps.size()) {
            heaps.resize(n);
            return {heaps.begin(), heaps.end()};
        }
        heaps.resize(n);
    }
}

// Heaps in `after` that are not in `before`.
inline std::vector<HANDLE> new_heaps(const std::set<HANDLE>& before, const std::set<HANDLE>& after) {
    std::vector<HANDLE> out;
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(out));
    return out;
}

// Blocks in use in a heap.
inline long busy_blocks(HANDLE heap) {
    long busy = 0;
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry))
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ++busy;
    HeapUnlock(heap);
    return busy;
}

// Directory of the running program, with a trailing backslash.
inline std::string program_directory() {
    char path[MAX_PATH];
    const DWORD len = GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string dir(path, len);
    return dir.substr(0, dir.find_last_of("\\/") + 1);
}

// A private copy of the program's qor_sse42.3.dll, in the temporary
// directory under a file name of its own (it finds qor_core.3.dll already
// loaded by the program).  Windows loads it as a separate module with its
// own DllMain calls, thread-local slot, heap and errno lookup, and unloads
// it when the copy is destroyed.
class KernelCopy {
public:
    KernelCopy() {
        static std::atomic<int> serial{0};
        char temp[MAX_PATH];
        const DWORD len = GetTempPathA(MAX_PATH, temp);
        path_ = std::string(temp, len) + "qor_sse42_copy_" + std::to_string(GetCurrentProcessId()) + "_" +
                std::to_string(serial++) + ".dll";
        if (CopyFileA((program_directory() + "qor_sse42.3.dll").c_str(), path_.c_str(), FALSE))
            module_ = LoadLibraryA(path_.c_str());
    }
    ~KernelCopy() {
        unload();
        DeleteFileA(path_.c_str());
    }
    KernelCopy(const KernelCopy&) = delete;
    KernelCopy& operator=(const KernelCopy&) = delete;

    bool loaded() const { return module_ != nullptr; }
    void unload() {
        if (module_) FreeLibrary(module_);
        module_ = nullptr;
    }
    template <class F>
    F get(const char* name) const {
        return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

private:
    std::string path_;
    HMODULE module_ = nullptr;
};

}  // namespace win_test
