#if !defined(_WIN32)

#include <dlfcn.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>

#include "platform.h"

namespace qor::core {

void* aligned_allocate(std::size_t size, std::size_t alignment) {
    if (alignment < sizeof(void*)) alignment = sizeof(void*);
    void* p = nullptr;
    return posix_memalign(&p, alignment, size) == 0 ? p : nullptr;
}

void aligned_free(void* p) { std::free(p); }

void write_stderr(const char* text, std::size_t len) {
    while (len > 0) {
        ssize_t w = ::write(2, text, len);
        if (w <= 0) return;
        text += w;
        len -= static_cast<std::size_t>(w);
    }
}

void* library_open(const std::string& path) { return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }
void* library_symbol(void* library, const char* name) { return dlsym(library, name); }
void library_close(void* library) { dlclose(library); }
std::string library_error() {
    const char* e = dlerror();
    return e ? e : "unknown error";
}

std::string module_path(const void* address) {
    Dl_info info;
    if (dladdr(address, &info) == 0 || !info.dli_fname) return "";
    return info.dli_fname;
}

std::string core_directory() {
    std::string path = module_path(reinterpret_cast<const void*>(&core_directory));
    auto slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

const char* kernel_library_name() { return "libqor_sse42.so.3"; }

int available_processors() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int count = CPU_COUNT(&set);
        if (count > 0) return count;
    }
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<int>(online) : 1;
}

}  // namespace qor::core

#endif
