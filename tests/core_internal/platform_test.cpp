// The core's operating-system layer on the platform at hand: aligned
// memory, the core's own module and directory, shared libraries opened,
// searched and closed with their failures described, and the processors
// the process may use.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "platform.h"

using namespace qor::core;

namespace {

struct SystemLibrary {
    std::string path;
    const char* symbol;
};

// A library every system has, and one of its functions.  On Windows the
// path is spelled with forward slashes, which the loader must accept too.
SystemLibrary system_library() {
#if defined(_WIN32)
    char dir[MAX_PATH];
    const UINT len = GetSystemDirectoryA(dir, MAX_PATH);
    std::string path(dir, len);
    for (char& c : path)
        if (c == '\\') c = '/';
    return {path + "/kernel32.dll", "GetTickCount"};
#else
    return {"libm.so.6", "cos"};
#endif
}

}  // namespace

TEST(CorePlatform, AlignedAllocationHonoursTheAlignment) {
    for (std::size_t alignment : {1u, 8u, 16u, 64u, 128u, 4096u}) {
        void* p = aligned_allocate(100, alignment);
        ASSERT_NE(p, nullptr) << alignment;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % alignment, 0u) << alignment;
        std::memset(p, 0xAB, 100);
        aligned_free(p);
    }
    aligned_free(nullptr);
}

TEST(CorePlatform, CoreDirectoryHoldsTheCoresOwnModule) {
    const std::string module = module_path(reinterpret_cast<const void*>(&core_directory));
    const std::string dir = core_directory();
    ASSERT_FALSE(module.empty());
    ASSERT_FALSE(dir.empty());
    EXPECT_TRUE(dir.back() == '/' || dir.back() == '\\') << dir;
    EXPECT_EQ(module.rfind(dir, 0), 0u) << module << " not in " << dir;
    EXPECT_EQ(module.find_first_of("/\\", dir.size()), std::string::npos) << module;
    EXPECT_EQ(module_path(nullptr), "");
}

TEST(CorePlatform, LibrariesOpenFindSymbolsAndClose) {
    const SystemLibrary lib = system_library();
    void* handle = library_open(lib.path);
    ASSERT_NE(handle, nullptr) << library_error();
    void* symbol = library_symbol(handle, lib.symbol);
    EXPECT_NE(symbol, nullptr);
    EXPECT_FALSE(module_path(symbol).empty());
    EXPECT_EQ(library_symbol(handle, "qor_no_such_symbol"), nullptr);
    EXPECT_NE(library_error().find("qor_no_such_symbol"), std::string::npos) << library_error();
    library_close(handle);
}

TEST(CorePlatform, AMissingLibraryIsDescribedByItsPath) {
    const std::string missing = core_directory() + "qor_no_such_library_3";
    EXPECT_EQ(library_open(missing), nullptr);
    EXPECT_NE(library_error().find("qor_no_such_library_3"), std::string::npos) << library_error();
}

TEST(CorePlatform, ProcessorsAndKernelFileName) {
    const int processors = available_processors();
    EXPECT_GE(processors, 1);
    if (const unsigned hardware = std::thread::hardware_concurrency()) {
        EXPECT_LE(processors, static_cast<int>(hardware));
    }
#if defined(_WIN32)
    EXPECT_STREQ(kernel_library_name(), "qor_sse42.3.dll");
    EXPECT_EQ(kPathSeparator, '\\');
#else
    EXPECT_STREQ(kernel_library_name(), "libqor_sse42.so.3");
    EXPECT_EQ(kPathSeparator, '/');
#endif
}
