// Windows implementations of the POSIX calls in posix_compat.h and dlfcn.h.
#include <windows.h>
#include <psapi.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "dlfcn.h"
#include "posix_compat.h"

extern "C" int setenv(const char* name, const char* value, int overwrite) {
    if (!name || !*name || std::strchr(name, '=') || !value) return -1;
    if (!overwrite && std::getenv(name)) return 0;
    return _putenv_s(name, value) == 0 ? 0 : -1;
}

extern "C" int unsetenv(const char* name) {
    if (!name || !*name || std::strchr(name, '=')) return -1;
    return _putenv_s(name, "") == 0 ? 0 : -1;
}

namespace {

thread_local std::string last_error;
thread_local bool error_pending = false;

void fail(const std::string& what) {
    last_error = what + " (error " + std::to_string(GetLastError()) + ")";
    error_pending = true;
}

// "dir/libNAME.so.N" -> "dir/NAME.N.dll"; other names are kept.
std::string windows_name(const std::string& file) {
    const std::size_t slash = file.find_last_of("/\\");
    const std::string dir = slash == std::string::npos ? "" : file.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? file : file.substr(slash + 1);
    const std::size_t so = base.find(".so");
    if (base.rfind("lib", 0) != 0 || so == std::string::npos) return file;
    std::string version = base.substr(so + 3);  // "" or ".N"
    return dir + base.substr(3, so - 3) + version + ".dll";
}

}  // namespace

void* dlopen(const char* file, int flags) {
    if (!file) return GetModuleHandleW(nullptr);
    const std::string name = windows_name(file);
    HMODULE module = (flags & RTLD_NOLOAD) ? GetModuleHandleA(name.c_str()) : LoadLibraryA(name.c_str());
    if (!module) fail("cannot find " + name);
    return reinterpret_cast<void*>(module);
}

void* dlsym(void* handle, const char* name) {
    if (handle != RTLD_DEFAULT) {
        void* p = reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle), name));
        if (!p) fail(std::string("no symbol ") + name);
        return p;
    }
    std::vector<HMODULE> modules(256);
    DWORD needed = 0;
    for (;;) {
        const DWORD bytes = static_cast<DWORD>(modules.size() * sizeof(HMODULE));
        if (!EnumProcessModules(GetCurrentProcess(), modules.data(), bytes, &needed)) {
            fail("cannot list the modules");
            return nullptr;
        }
        if (needed <= bytes) break;
        modules.resize(needed / sizeof(HMODULE));
    }
    modules.resize(needed / sizeof(HMODULE));
    for (HMODULE m : modules)
        if (void* p = reinterpret_cast<void*>(GetProcAddress(m, name))) return p;
    fail(std::string("no module has ") + name);
    return nullptr;
}

int dlclose(void* handle) {
    // A handle from RTLD_NOLOAD holds no reference: GetModuleHandle took
    // none, so there is nothing to release.  Loaded libraries stay loaded
    // for the life of the test program.
    return handle ? 0 : -1;
}

int dladdr(const void* address, Dl_info* info) {
    if (!address || !info) return 0;
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<const char*>(address), &module))
        return 0;
    thread_local char file[MAX_PATH + 1];
    const DWORD len = GetModuleFileNameA(module, file, MAX_PATH);
    file[len < MAX_PATH ? len : MAX_PATH] = '\0';
    info->dli_fname = file;
    info->dli_fbase = reinterpret_cast<void*>(module);
    info->dli_sname = nullptr;
    info->dli_saddr = nullptr;
    return 1;
}

char* dlerror() {
    if (!error_pending) return nullptr;
    error_pending = false;
    return last_error.data();
}

namespace testing {

bool KilledBySignal::operator()(int exit_status) const {
    const DWORD code = static_cast<DWORD>(exit_status);
    switch (signum_) {
        case SIGFPE:
            return (code >= 0xC000008DUL && code <= 0xC0000095UL) ||  // float faults, integer divide, overflow
                   code == 0xC00002B4UL || code == 0xC00002B5UL;      // multiple faults, multiple traps
        case SIGSEGV: return code == 0xC0000005UL;
        case SIGILL: return code == 0xC000001DUL;
        case SIGABRT: return code == 3;
        default: return false;
    }
}

}  // namespace testing
