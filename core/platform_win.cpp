// Windows half of the core's platform layer: aligned memory from the C
// runtime, standard error through the runtime's descriptor 2, DLLs through
// LoadLibrary, and the processors of the process's affinity mask.
#if defined(_WIN32)

#include <windows.h>
#include <io.h>
#include <malloc.h>

#include <algorithm>
#include <bit>
#include <string>

#include "platform.h"

namespace qor::core {
namespace {

// What the last failed library call on this thread was about, for
// library_error().
thread_local std::string last_library_failure;

std::string system_message(DWORD code) {
    char* text = nullptr;
    const DWORD len = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
        0, reinterpret_cast<char*>(&text), 0, nullptr);
    std::string out = len && text ? std::string(text, len) : std::string("system error");
    if (text) LocalFree(text);
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r' || out.back() == ' ' || out.back() == '.'))
        out.pop_back();
    return out + " (error " + std::to_string(code) + ")";
}

}  // namespace

void* aligned_allocate(std::size_t size, std::size_t alignment) {
    if (alignment < sizeof(void*)) alignment = sizeof(void*);
    return _aligned_malloc(size, alignment);
}

void aligned_free(void* p) { _aligned_free(p); }

void write_stderr(const char* text, std::size_t len) {
    // Descriptor 2 of the C runtime: what the application sees as stderr,
    // also after it redirected the descriptor.
    while (len > 0) {
        const unsigned chunk = len > 0x10000 ? 0x10000u : static_cast<unsigned>(len);
        const int w = _write(2, text, chunk);
        if (w <= 0) return;
        text += w;
        len -= static_cast<std::size_t>(w);
    }
}

void* library_open(const std::string& path) {
    // No "cannot find" dialog box: a missing library is an ordinary failure.
    DWORD old_mode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &old_mode);
    // LoadLibrary wants backslashes; a path given with forward slashes
    // (QOR_KERNEL_DIR=C:/qor/bin, say) is meant the same way.
    std::string native = path;
    std::replace(native.begin(), native.end(), '/', '\\');
    HMODULE module = LoadLibraryA(native.c_str());
    const DWORD error = GetLastError();
    SetThreadErrorMode(old_mode, nullptr);
    if (!module) last_library_failure = path + ": " + system_message(error);
    return reinterpret_cast<void*>(module);
}

void* library_symbol(void* library, const char* name) {
    FARPROC address = GetProcAddress(static_cast<HMODULE>(library), name);
    if (!address) last_library_failure = std::string(name) + ": " + system_message(GetLastError());
    return reinterpret_cast<void*>(address);
}

void library_close(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

std::string library_error() { return last_library_failure.empty() ? "unknown error" : last_library_failure; }

std::string module_path(const void* address) {
    // A null address would name the program itself.
    if (!address) return "";
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<const char*>(address), &module))
        return "";
    std::string path(MAX_PATH, '\0');
    for (;;) {
        const DWORD len = GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
        if (len == 0) return "";
        if (len < path.size()) {
            path.resize(len);
            return path;
        }
        path.resize(path.size() * 2);  // truncated: try a larger buffer
    }
}

std::string core_directory() {
    const std::string path = module_path(reinterpret_cast<const void*>(&core_directory));
    const auto sep = path.find_last_of("\\/");
    return sep == std::string::npos ? "" : path.substr(0, sep + 1);
}

const char* kernel_library_name() { return "qor_sse42.3.dll"; }

int available_processors() {
    DWORD_PTR process_mask = 0, system_mask = 0;
    if (GetProcessAffinityMask(GetCurrentProcess(), &process_mask, &system_mask) && process_mask != 0)
        return std::popcount(static_cast<unsigned long long>(process_mask));
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors > 0 ? static_cast<int>(info.dwNumberOfProcessors) : 1;
}

}  // namespace qor::core

#endif
