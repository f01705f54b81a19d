// The loader's decisions with made-up processors and a fake kernel library:
// who is refused, where it looks, what it checks, and that it closes what
// it refuses.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "fake_kernel_library.h"
#include "loader.h"
#include "platform.h"
#include "qor/qor.h"

namespace {

using qor::core::CpuFeatures;
using qor::core::LoadOutcome;

CpuFeatures processor(bool sse42, const char* brand = "Test Processor 9000") {
    CpuFeatures f{};
    f.sse2 = f.sse3 = f.ssse3 = true;
    f.sse41 = f.sse42 = sse42;
    std::strcpy(f.vendor, "GenuineTest!");
    std::strcpy(f.brand, brand);
    return f;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

const std::string kFile = qor::core::kernel_library_name();

class Loader : public ::testing::Test {
protected:
    void SetUp() override { fake::reported_cpu_version = 5; }
    void TearDown() override { fake::reported_cpu_version = 5; }
    LoadOutcome load(const CpuFeatures& f, const std::string& override_dir = "") {
        return qor::core::load_kernel_set(f, override_dir, "/opt/qor/lib/", library.access());
    }
    fake::Library library;
};

TEST_F(Loader, ProcessorWithoutSse42IsRefusedWithoutLoadingAnything) {
    library.loadable_paths = {"/opt/qor/lib/" + kFile, kFile};
    const LoadOutcome out = load(processor(false, "Ancient CPU"));
    EXPECT_EQ(out.status, QOR_STATUS_CPU_UNSUPPORTED);
    EXPECT_TRUE(contains(out.message, "SSE4.2")) << out.message;
    EXPECT_TRUE(contains(out.message, "Ancient CPU")) << out.message;
    EXPECT_TRUE(library.opened.empty());
    EXPECT_EQ(out.library, nullptr);
    EXPECT_EQ(out.set_name, "");
}

TEST_F(Loader, RefusalNamesTheVendorWhenThereIsNoBrand) {
    const LoadOutcome out = load(processor(false, ""));
    EXPECT_TRUE(contains(out.message, "GenuineTest!")) << out.message;
}

TEST_F(Loader, Sse42ProcessorsGetTheSse42SetWhateverElseTheyHave) {
    CpuFeatures f = processor(true);
    f.avx = f.avx2 = f.fma = f.avx512f = true;
    const qor::core::KernelChoice choice = qor::core::choose_kernel_set(f);
    EXPECT_EQ(choice.status, QOR_STATUS_OK);
    EXPECT_STREQ(choice.set_name, "sse42");
    EXPECT_EQ(choice.library_file, kFile);
    EXPECT_EQ(choice.cpu_version, 5);
}

TEST(CandidatePaths, OverrideDirectoryIsTheOnlyPlaceLookedAt) {
    using qor::core::candidate_paths;
    EXPECT_EQ(candidate_paths("/k", "/core/", "libk.so"),
              (std::vector<std::string>{std::string("/k") + qor::core::kPathSeparator + "libk.so"}));
    EXPECT_EQ(candidate_paths("/k/", "/core/", "libk.so"), (std::vector<std::string>{"/k/libk.so"}));
    EXPECT_EQ(candidate_paths("", "/core/", "libk.so"), (std::vector<std::string>{"/core/libk.so", "libk.so"}));
    EXPECT_EQ(candidate_paths("", "", "libk.so"), (std::vector<std::string>{"libk.so"}));
}

TEST_F(Loader, CoreDirectoryComesFirstThenTheSearchPath) {
    library.loadable_paths = {kFile};
    const LoadOutcome out = load(processor(true));
    ASSERT_EQ(out.status, QOR_STATUS_OK) << out.message;
    EXPECT_EQ(library.opened, (std::vector<std::string>{"/opt/qor/lib/" + kFile, kFile}));
    EXPECT_EQ(out.path, kFile);
    EXPECT_EQ(out.set_name, "sse42");
    EXPECT_EQ(out.cpu_version, 5);
    EXPECT_EQ(library.closes, 0);
}

TEST_F(Loader, NothingFoundListsEveryAttempt) {
    const LoadOutcome out = load(processor(true));
    EXPECT_EQ(out.status, QOR_STATUS_KERNEL_NOT_FOUND);
    EXPECT_TRUE(contains(out.message, "cannot open /opt/qor/lib/" + kFile)) << out.message;
    EXPECT_TRUE(contains(out.message, "cannot open " + kFile)) << out.message;
    EXPECT_TRUE(contains(out.message, "QOR_KERNEL_DIR")) << out.message;
    EXPECT_EQ(out.library, nullptr);
}

TEST_F(Loader, OverrideIsNotSilentlyBypassed) {
    library.loadable_paths = {"/opt/qor/lib/" + kFile, kFile};  // present elsewhere, not in the override
    const LoadOutcome out = load(processor(true), "/elsewhere");
    EXPECT_EQ(out.status, QOR_STATUS_KERNEL_NOT_FOUND);
    EXPECT_EQ(library.opened, (std::vector<std::string>{"/elsewhere" + std::string(1, qor::core::kPathSeparator) + kFile}));
    EXPECT_TRUE(contains(out.message, "QOR_KERNEL_DIR is set to /elsewhere")) << out.message;
}

TEST_F(Loader, WrongInstructionSetLevelIsRefusedAndClosed) {
    library.loadable_paths = {"/opt/qor/lib/" + kFile};
    fake::reported_cpu_version = 4;
    const LoadOutcome out = load(processor(true));
    EXPECT_EQ(out.status, QOR_STATUS_KERNEL_VERSION);
    EXPECT_TRUE(contains(out.message, "level 4")) << out.message;
    EXPECT_TRUE(contains(out.message, "report 5")) << out.message;
    EXPECT_EQ(library.closes, 1);
    EXPECT_EQ(out.library, nullptr);
    EXPECT_EQ(out.kernels.services.SetMode, nullptr);
    EXPECT_EQ(out.set_name, "");
}

TEST_F(Loader, ALibraryWithoutTheLevelQueryIsNotAKernelLibrary) {
    library.loadable_paths = {"/opt/qor/lib/" + kFile};
    library.symbols.erase("dll_cpu_version");
    const LoadOutcome out = load(processor(true));
    EXPECT_EQ(out.status, QOR_STATUS_KERNEL_VERSION);
    EXPECT_TRUE(contains(out.message, "not a qor kernel library")) << out.message;
    EXPECT_EQ(library.closes, 1);
}

TEST_F(Loader, AMissingServiceOrTableIsNamed) {
    ASSERT_GT(qor::core::kRowCount, 0);
    const std::string last_row = qor::core::kRowBindings[qor::core::kRowCount - 1].name;
    for (const std::string& symbol :
         {std::string("qor_lum_kernel_GetTTableIndexM"), "qor_lum_kernel_" + last_row + "_ctab"}) {
        fake::Library lib;
        lib.loadable_paths = {kFile};
        lib.symbols.erase(symbol);
        const LoadOutcome out = qor::core::load_kernel_set(processor(true), "", "", lib.access());
        EXPECT_EQ(out.status, QOR_STATUS_KERNEL_INCOMPLETE);
        EXPECT_TRUE(contains(out.message, symbol)) << out.message;
        EXPECT_EQ(lib.closes, 1);
    }
}

TEST_F(Loader, SuccessBindsEveryServiceAndEveryRow) {
    library.loadable_paths = {"/opt/qor/lib/" + kFile};
    const LoadOutcome out = load(processor(true));
    ASSERT_EQ(out.status, QOR_STATUS_OK) << out.message;
    EXPECT_EQ(out.message, "");
    const qor::core::KernelServices& s = out.kernels.services;
    EXPECT_EQ(s.cpu_version, &fake::dll_cpu_version);
    EXPECT_EQ(s.SetMode, &fake::SetMode);
    EXPECT_EQ(s.GetTTableIndex, &fake::GetTTableIndex);
    EXPECT_EQ(s.GetTTableIndexM, &fake::GetTTableIndexM);
    EXPECT_EQ(s.SetInterfInputVectorPointer, &fake::SetInterfInputVectorPointer);
    for (int i = 0; i < qor::core::kRowCount; ++i) {
        const qor::core::RowBinding& row = qor::core::kRowBindings[i];
        EXPECT_EQ(out.kernels.tables.*row.table, fake::table) << row.name;
        EXPECT_EQ(out.kernels.costs.*row.cost, fake::costs) << row.name;
    }
}

TEST(RowBindings, NamesAreUniqueAndFindable) {
    std::set<std::string> names;
    for (int i = 0; i < qor::core::kRowCount; ++i) {
        const char* name = qor::core::kRowBindings[i].name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(qor::core::find_row(name), &qor::core::kRowBindings[i]);
    }
    EXPECT_EQ(qor::core::kRowBindings[qor::core::kRowCount].name, nullptr);
    EXPECT_EQ(qor::core::find_row("dNoSuchRow"), nullptr);
    EXPECT_EQ(qor::core::find_row(nullptr), nullptr);
}

}  // namespace
