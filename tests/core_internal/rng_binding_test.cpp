// Binding of the kernel library's random-number exports: a library that
// lacks one is incomplete, and a complete one fills every member.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fake_kernel_library.h"
#include "loader.h"
#include "platform.h"
#include "qor/qor.h"

namespace {

qor::core::CpuFeatures sse42_processor() {
    qor::core::CpuFeatures f{};
    f.sse2 = f.sse3 = f.ssse3 = f.sse41 = f.sse42 = true;
    return f;
}

TEST(RngBinding, EveryExportIsBoundAndEachOneIsRequired) {
    std::vector<std::string> names;
#define QOR_CORE_RNG_EXPORT(field, symbol) names.push_back(#symbol);
    QOR_CORE_RNG_EXPORTS
#undef QOR_CORE_RNG_EXPORT
    ASSERT_GT(names.size(), 16u);
    EXPECT_NE(std::find(names.begin(), names.end(), "_rixsRngUniform"), names.end());

    fake::Library complete;
    complete.loadable_paths = {qor::core::kernel_library_name()};
    const qor::core::LoadOutcome out = qor::core::load_kernel_set(sse42_processor(), "", "", complete.access());
    ASSERT_EQ(out.status, QOR_STATUS_OK) << out.message;
#define QOR_CORE_RNG_EXPORT(field, symbol) \
    EXPECT_EQ(reinterpret_cast<void*>(out.kernels.rng.field), complete.symbols.at(#symbol)) << #symbol;
    QOR_CORE_RNG_EXPORTS
#undef QOR_CORE_RNG_EXPORT

    for (const std::string& name : names) {
        fake::Library lib;
        lib.loadable_paths = {qor::core::kernel_library_name()};
        lib.symbols.erase(name);
        const qor::core::LoadOutcome missing = qor::core::load_kernel_set(sse42_processor(), "", "", lib.access());
        EXPECT_EQ(missing.status, QOR_STATUS_KERNEL_INCOMPLETE) << name;
        EXPECT_NE(missing.message.find(name), std::string::npos) << missing.message;
        EXPECT_EQ(lib.closes, 1) << name;
    }
}

}  // namespace
