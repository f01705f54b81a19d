// The two DLLs as a Windows program sees them: file names, exported names
// and data, entry points that jump through the exported tables, and no
// dependence on the compiler's runtime DLLs.
#include <gtest/gtest.h>

#include <windows.h>
#include <psapi.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "plain_import.h"
#include "qor/qor.h"
#include "qor/qor_vm.h"

namespace {

HMODULE kernel_module() { return GetModuleHandleA("qor_sse42.3.dll"); }

const void* kernel_symbol(const char* name) {
    return reinterpret_cast<const void*>(GetProcAddress(kernel_module(), name));
}

// Address an entry point jumps to, or null when it is not `jmp *rel32(%rip)`.
const void* jump_slot(const void* entry) {
    const auto* code = static_cast<const unsigned char*>(entry);
    if (!code || code[0] != 0xFF || code[1] != 0x25) return nullptr;
    int32_t rel;
    std::memcpy(&rel, code + 2, sizeof rel);
    return code + 6 + rel;
}

// Names of the DLLs a loaded module imports, in lower case.
std::vector<std::string> imported_dlls(HMODULE module) {
    const auto* base = reinterpret_cast<const unsigned char*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<std::string> names;
    if (dir.VirtualAddress == 0) return names;
    for (const auto* d = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + dir.VirtualAddress); d->Name; ++d) {
        std::string name = reinterpret_cast<const char*>(base + d->Name);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        names.push_back(name);
    }
    return names;
}

bool inside(const void* p, HMODULE module) {
    MODULEINFO info{};
    if (!GetModuleInformation(GetCurrentProcess(), module, &info, sizeof info)) return false;
    const auto* start = static_cast<const unsigned char*>(info.lpBaseOfDll);
    const auto* q = static_cast<const unsigned char*>(p);
    return q >= start && q < start + info.SizeOfImage;
}

}  // namespace

TEST(KernelDll, FilesCarryTheInterfaceVersion) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    EXPECT_NE(GetModuleHandleA("qor_core.3.dll"), nullptr);
    EXPECT_NE(kernel_module(), nullptr);
    const std::string path = qor_kernel_path();
    EXPECT_EQ(path.substr(path.find_last_of('\\') + 1), "qor_sse42.3.dll") << path;
}

TEST(KernelDll, EntryPointsJumpThroughTheExportedTables) {
    ASSERT_NE(kernel_module(), nullptr);
    // The default name and the _HA name are one address.
    EXPECT_EQ(kernel_symbol("_lumdAdd"), kernel_symbol("_lumdAdd_HA"));
    EXPECT_EQ(kernel_symbol("_lumsAdd"), kernel_symbol("_lumsAdd_HA"));
    const struct {
        const char* entry;
        const char* table;
        int slot;
    } cases[] = {{"_lumdAdd_50", "qor_lum_kernel_dAdd_ttab", 0}, {"_lumdAdd", "qor_lum_kernel_dAdd_ttab", 1},
                 {"_lumdAdd_26", "qor_lum_kernel_dAdd_ttab", 2}, {"_lumsSubI_21", "qor_lum_kernel_sSubI_ttab", 0},
                 {"_lumsSubI_11", "qor_lum_kernel_sSubI_ttab", 2}, {"_lumzMul_HA", "qor_lum_kernel_zMul_ttab", 1}};
    for (const auto& c : cases) {
        const auto* table = static_cast<const qor_vm_kernel*>(kernel_symbol(c.table));
        ASSERT_NE(table, nullptr) << c.table;
        EXPECT_EQ(jump_slot(kernel_symbol(c.entry)), &table[c.slot]) << c.entry;
        EXPECT_TRUE(inside(reinterpret_cast<const void*>(table[c.slot]), kernel_module())) << c.entry;
    }
    // The services' second names are the same functions.
    EXPECT_EQ(kernel_symbol("_lumGetMode"), kernel_symbol("qor_lum_kernel_GetMode"));
    EXPECT_EQ(kernel_symbol("_lumSetErrorCallBack"), kernel_symbol("qor_lum_kernel_SetErrorCallBack"));
}

TEST(KernelDll, TablesAreExportedAsData) {
    ASSERT_NE(kernel_module(), nullptr);
    const void* ttab = kernel_symbol("qor_lum_kernel_dMul_ttab");
    const void* ctab = kernel_symbol("qor_lum_kernel_dMul_ctab");
    ASSERT_NE(ttab, nullptr);
    ASSERT_NE(ctab, nullptr);
    // Through dllimport declarations and through the linker's automatic
    // import alike, a program reaches the tables themselves.
    EXPECT_EQ(static_cast<const void*>(qor_lum_kernel_dMul_ttab), ttab);
    EXPECT_EQ(static_cast<const void*>(qor_lum_kernel_dMul_ctab), ctab);
    EXPECT_EQ(plainly_imported_table(), ttab);
    EXPECT_EQ(plainly_imported_costs(), ctab);
    EXPECT_NE(kernel_symbol("__RegBrngs"), nullptr);
    EXPECT_NE(kernel_symbol("__RegBrngsNew"), nullptr);
}

TEST(KernelDll, NeitherLibraryNeedsTheCompilersRuntimeDlls) {
    ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
    for (const char* name : {"qor_core.3.dll", "qor_sse42.3.dll"}) {
        const HMODULE module = GetModuleHandleA(name);
        ASSERT_NE(module, nullptr) << name;
        for (const std::string& dll : imported_dlls(module)) {
            // libgcc_s_seh-1.dll, libstdc++-6.dll, libwinpthread-1.dll and
            // the like would have to be shipped beside the libraries.
            EXPECT_NE(dll.rfind("lib", 0), 0u) << name << " imports " << dll;
        }
    }
    const std::vector<std::string> kernel_imports = imported_dlls(kernel_module());
    EXPECT_NE(std::find(kernel_imports.begin(), kernel_imports.end(), "qor_core.3.dll"), kernel_imports.end());
    for (const std::string& dll : imported_dlls(GetModuleHandleA("qor_core.3.dll")))
        EXPECT_NE(dll, "qor_sse42.3.dll");  // the core loads the kernels at run time
}
