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
// Directory of the core library itself, with a trailing separator.
std::string core_directory();
// File name of the kernel library for the SSE4.2 level.
const char* kernel_library_name();

}  // namespace qor::core
