// Entry points and tables as the kernel library exports them: every entry
// point is one indirect jump through the right slot of its row's kernel
// table, the tables follow the row list, and the table-index services.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "frame_support.h"
#include "qor/qor_vm.h"

namespace {

struct Row {
    char p;
    const char* fn;
    char share;
    bool on;
    float frozen[3];  // the published costs, or -1 for measured ones
};

#define QOR_VM_ROW(p, Fn, kind, share, on, cost, ...) \
    {#p[0], #Fn, #share[0], on, QOR_VM_FROZEN_OR(cost, {-1.0f, -1.0f, -1.0f})},
const Row kRows[] = {
#include "qor/vm_rows.def"
};
#undef QOR_VM_ROW

// Symbols are looked up in the kernel library itself: the program's own
// references may be bound to PLT stubs or copies of the data.
void* library_symbol(const std::string& name) {
    static void* library = dlopen("libqor_sse42.so.3", RTLD_NOW | RTLD_NOLOAD);
    return library ? dlsym(library, name.c_str()) : nullptr;
}

std::string la_suffix(char p) { return p == 's' || p == 'c' ? QOR_VM_STR(QOR_VM_LA_SUFFIX_s) : QOR_VM_STR(QOR_VM_LA_SUFFIX_d); }
std::string ep_suffix(char p) { return p == 's' || p == 'c' ? QOR_VM_STR(QOR_VM_EP_SUFFIX_s) : QOR_VM_STR(QOR_VM_EP_SUFFIX_d); }

// Address an entry point jumps to, or null when it is not `jmp *rel32(%rip)`.
const void* jump_slot(const void* entry) {
    const auto* code = static_cast<const unsigned char*>(entry);
    if (code[0] != 0xFF || code[1] != 0x25) return nullptr;
    int32_t rel;
    std::memcpy(&rel, code + 2, sizeof rel);
    return code + 6 + rel;
}

const void* object_base(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) ? info.dli_fbase : nullptr;
}

}  // namespace

TEST(FrameRowList, HasEveryFunctionAndForm) {
    int per_precision[4] = {}, per_share[4] = {};
    const std::string letters = "sdcz", shares = "ALET";
    for (const Row& row : kRows) {
        ASSERT_NE(letters.find(row.p), std::string::npos) << row.fn;
        ASSERT_NE(shares.find(row.share), std::string::npos) << row.p << row.fn;
        ++per_precision[letters.find(row.p)];
        ++per_share[shares.find(row.share)];
    }
    EXPECT_EQ(std::size(kRows), 480u);
    EXPECT_EQ(per_precision[0], 180);
    EXPECT_EQ(per_precision[1], 180);
    EXPECT_EQ(per_precision[2], 60);
    EXPECT_EQ(per_precision[3], 60);
    EXPECT_EQ(per_share[0], 316);
    EXPECT_EQ(per_share[1], 34);
    EXPECT_EQ(per_share[2], 29);
    EXPECT_EQ(per_share[3], 101);
}

TEST(FrameDispatch, EntryPointsJumpThroughTheirSlot) {
    int rows_on = 0;
    for (const Row& row : kRows) {
        if (!row.on) continue;
        ++rows_on;
        const std::string base = std::string("_lum") + row.p + row.fn;
        SCOPED_TRACE(base);
        const void* table = library_symbol(std::string("qor_lum_kernel_") + row.p + row.fn + "_ttab");
        ASSERT_NE(table, nullptr);
        const struct { std::string name; int slot; } entries[] = {
            {base, 1}, {base + "_HA", 1}, {base + la_suffix(row.p), 0}, {base + ep_suffix(row.p), 2}};
        for (const auto& e : entries) {
            const void* entry = library_symbol(e.name);
            ASSERT_NE(entry, nullptr) << e.name;
            EXPECT_EQ(jump_slot(entry), static_cast<const char*>(table) + 8 * e.slot) << e.name;
        }
        EXPECT_EQ(library_symbol(base), library_symbol(base + "_HA"));
    }
    EXPECT_GT(rows_on, 0);
}

TEST(FrameDispatch, KernelTablesShareSlotsAsTheRowSays) {
    for (const Row& row : kRows) {
        if (!row.on) continue;
        const std::string name = std::string("qor_lum_kernel_") + row.p + row.fn + "_ttab";
        SCOPED_TRACE(name);
        const auto* slots = static_cast<const qor_vm_kernel*>(library_symbol(name));
        ASSERT_NE(slots, nullptr);
        const void* k[3] = {reinterpret_cast<const void*>(slots[0]), reinterpret_cast<const void*>(slots[1]),
                            reinterpret_cast<const void*>(slots[2])};
        for (const void* kernel : k) {
            ASSERT_NE(kernel, nullptr);
            // Every kernel lives in the kernel library, like its table.
            EXPECT_EQ(object_base(kernel), object_base(slots));
        }
        switch (row.share) {
            case 'A': EXPECT_TRUE(k[0] == k[1] && k[1] == k[2]); break;
            case 'L': EXPECT_TRUE(k[0] == k[1] && k[1] != k[2]); break;
            case 'E': EXPECT_TRUE(k[0] == k[2] && k[0] != k[1]); break;
            case 'T': EXPECT_TRUE(k[0] != k[1] && k[1] != k[2] && k[0] != k[2]); break;
        }
    }
}

// Frozen costs as the row list gives them; measured ones present (a zero
// marks a row that tools/measure_costs has not measured yet) and equal
// wherever two slots hold one kernel.
TEST(FrameDispatch, CostTablesHoldFrozenOrMeasuredCosts) {
    for (const Row& row : kRows) {
        if (!row.on) continue;
        const std::string name = std::string("qor_lum_kernel_") + row.p + row.fn;
        const auto* costs = static_cast<const float*>(library_symbol(name + "_ctab"));
        const auto* slots = static_cast<const qor_vm_kernel*>(library_symbol(name + "_ttab"));
        ASSERT_TRUE(costs && slots) << name;
        for (int slot = 0; slot < 3; ++slot) {
            if (row.frozen[0] >= 0) {
                EXPECT_EQ(costs[slot], row.frozen[slot]) << name << " slot " << slot;
                continue;
            }
            EXPECT_GT(costs[slot], 0.0f) << name << " slot " << slot << ": run tools/measure_costs";
            for (int other = 0; other < slot; ++other) {
                if (slots[other] == slots[slot]) {
                    EXPECT_EQ(costs[other], costs[slot]) << name << " slot " << slot;
                }
            }
        }
    }
}

TEST(FrameDispatch, EveryAddAndSubEntryComputes) {
    const double a[3] = {1.5, -2.0, 1e300}, b[3] = {0.25, 8.0, -1e300};
    using DKernel = void (*)(int, const double*, const double*, double*);
    using SKernel = void (*)(int, const float*, const float*, float*);
    for (DKernel k : {DKernel(_lumdAdd), DKernel(_lumdAdd_HA), DKernel(_lumdAdd_50), DKernel(_lumdAdd_26)}) {
        double r[3] = {};
        k(3, a, b, r);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(r[i], a[i] + b[i]);
    }
    for (DKernel k : {DKernel(_lumdSub), DKernel(_lumdSub_HA), DKernel(_lumdSub_50), DKernel(_lumdSub_26)}) {
        double r[3] = {};
        k(3, a, b, r);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(r[i], a[i] - b[i]);
    }
    const float fa[3] = {1.5f, -2.0f, 3e38f}, fb[3] = {0.25f, 8.0f, -3e38f};
    for (SKernel k : {SKernel(_lumsAdd), SKernel(_lumsAdd_HA), SKernel(_lumsAdd_21), SKernel(_lumsAdd_11)}) {
        float r[3] = {};
        k(3, fa, fb, r);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(r[i], fa[i] + fb[i]);
    }
}

TEST(FrameDispatch, CpuVersionIsTheSse42Level) { EXPECT_EQ(dll_cpu_version(), 5); }

TEST(FrameDispatch, TableIndexFollowsTheAccuracyField) {
    frame_test::ScopedEnv env("QOR_LUM_MODE", nullptr);
    frame_test::on_fresh_thread([] {
        EXPECT_EQ(qor_lum_kernel_GetTTableIndex(), 1);  // default HA
        qor_lum_kernel_SetMode(QOR_VM_LA);
        EXPECT_EQ(qor_lum_kernel_GetTTableIndex(), 0);
        qor_lum_kernel_SetMode(QOR_VM_EP);
        EXPECT_EQ(_lumGetTTableIndex(), 2);
        qor_lum_kernel_SetMode(QOR_VM_HA);
        EXPECT_EQ(_lumGetTTableIndex(), 1);
    });
    frame_test::ScopedEnv ep("QOR_LUM_MODE", "LUM_EP");
    frame_test::on_fresh_thread([] { EXPECT_EQ(qor_lum_kernel_GetTTableIndex(), 2); });
}

TEST(FrameDispatch, TableIndexOfAGivenModeIgnoresTheThread) {
    frame_test::on_fresh_thread([] {
        const uint32_t before = qor_lum_kernel_SetMode(QOR_VM_LA);
        int anything = 0;
        EXPECT_EQ(qor_lum_kernel_GetTTableIndexM(nullptr, 0x1A03), 2);
        EXPECT_EQ(qor_lum_kernel_GetTTableIndexM(&anything, 0x1A03), 2);
        EXPECT_EQ(_lumGetTTableIndexM(&anything, 0x4281A01), 0);
        EXPECT_EQ(_lumGetTTableIndexM(nullptr, 0x1A02), 1);
        EXPECT_EQ(qor_lum_kernel_GetMode(), (before & ~0xFu) | QOR_VM_LA);
    });
}
