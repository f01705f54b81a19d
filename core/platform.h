// Operating-system services of the core library; one implementation per OS.
#pragma once

#include <cstddef>
#include <string>

namespace qor::core {

void* aligned_allocate(std::size_t size, std::size_t alignment);
void aligned_free(void* p);

// Writes bytes to standard error unbuffered.
void write_stderr(const char* text, std::size_t len);

// Shared libraries.
void* library_open(const std::string& path);
void* library_symbol(void* library, const char* name);
void library_close(void* library);
std::string library_error();
// File of the loaded module that holds the address, "" when unknown.
std::string module_path(const void* address);
// Directory of the core library itself, with a trailing separator.
std::string core_directory();
// File name of the kernel library for the SSE4.2 level.
const char* kernel_library_name();
// Path separator appended to a directory name.
constexpr char kPathSeparator =
#if defined(_WIN32)
    '\\';
#else
    '/';
#endif

// Processors this process may run on (its affinity), at least 1.
int available_processors();

}  // namespace qor::core
