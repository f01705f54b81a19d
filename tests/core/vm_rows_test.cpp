// Every row this build exports, whatever its kind: the public function and
// its mode variant must reach the kernel of the accuracy slot that the mode
// selects, give exactly that kernel's output, and leave the thread's mode as
// it was.  The rows are taken from the same row list the libraries are
// built from, so rows switched on later are covered without edits here.
// Every row also refuses a negative count and each null array before its
// kernel runs, with the outputs untouched.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "qor/qor.h"

namespace {

// Stands for any argument of a kernel: converts to whichever pointer or
// scalar type the row's parameter list asks for.
struct AnyArg {
    void* p;
    double v;
    template <class U>
    operator U*() const {
        return static_cast<U*>(p);
    }
    operator float() const { return static_cast<float>(v); }
    operator double() const { return v; }
    operator qor_complex8() const { return {static_cast<float>(v), 0.5f}; }
    operator qor_complex16() const { return {v, 0.5}; }
};

// Inputs, outputs and an index/mask array big enough for any kind at the
// given element count and increment.
class CallArrays {
public:
    static constexpr int kCount = 37;

    CallArrays(char precision, int inc)
        : inc_(inc),
          in1_(doubles()), in2_(doubles()), out1_(doubles()), out2_(doubles()),
          index_(static_cast<std::size_t>(kCount * inc)) {
        fill(precision, in1_, 0.25, 0.5);
        fill(precision, in2_, 0.3, 0.4);
        std::memset(out1_.data(), 0x5A, out1_.size() * sizeof(double));
        std::memset(out2_.data(), 0x3C, out2_.size() * sizeof(double));
        // Valid indices below kCount; as a mask, mostly set.
        for (std::size_t i = 0; i < index_.size(); ++i) index_[i] = static_cast<int32_t>((i * 7) % kCount);
    }

    // Arrays by number for refusal tests: 1 in1, 2 in2, 3 out1, 4 out2, 5 index.
    static constexpr int kArrays = 5;
    void set_count(int n) { count_ = n; }
    void set_null(int array) { null_ = array; }

    int n() const { return count_; }
    int inc() const { return inc_; }
    void* in1() { return pass(1, in1_.data()); }
    void* in2() { return pass(2, in2_.data()); }
    void* out1() { return pass(3, out1_.data()); }
    void* out2() { return pass(4, out2_.data()); }
    void* index() { return pass(5, index_.data()); }

    bool same_outputs(const CallArrays& other) const {
        return std::memcmp(out1_.data(), other.out1_.data(), out1_.size() * sizeof(double)) == 0 &&
               std::memcmp(out2_.data(), other.out2_.data(), out2_.size() * sizeof(double)) == 0;
    }

private:
    // Two doubles hold the widest element (double complex).
    std::size_t doubles() const { return static_cast<std::size_t>(2 * kCount * inc_ + 8); }

    static void fill(char precision, std::vector<double>& store, double base, double spread) {
        if (precision == 's' || precision == 'c') {
            auto* f = reinterpret_cast<float*>(store.data());
            for (std::size_t k = 0; k < 2 * store.size(); ++k)
                f[k] = static_cast<float>(base + spread * static_cast<double>(k % 7) / 7.0);
        } else {
            for (std::size_t k = 0; k < store.size(); ++k) store[k] = base + spread * static_cast<double>(k % 5) / 5.0;
        }
    }

    void* pass(int array, void* p) const { return array == null_ ? nullptr : p; }

    int inc_;
    int count_ = kCount;
    int null_ = 0;
    std::vector<double> in1_, in2_, out1_, out2_;
    std::vector<int32_t> index_;
};

// The argument names of vm_kinds.h, bound to a CallArrays.
#define QOR_TEST_BIND_ARGS(x)                                                                                  \
    [[maybe_unused]] int n = x.n(), inca = x.inc(), incb = x.inc(), incr = x.inc(), incr1 = x.inc(),           \
                         incr2 = x.inc(), incy = x.inc(), width = 1;                                           \
    [[maybe_unused]] AnyArg a{x.in1(), 0}, b{x.in2(), 2.0}, r{x.out1(), 0}, r1{x.out1(), 0}, r2{x.out2(), 0}, \
        y{x.out1(), 0}, ia{x.index(), 0}, ma{x.index(), 0}, iy{x.index(), 0}, my{x.index(), 0},                \
        scalea{nullptr, 2.0}, shifta{nullptr, 0.5}, scaleb{nullptr, 1.5}, shiftb{nullptr, 3.0};

#define QOR_TEST_EXPAND(x) x
#define QOR_TEST_WITH_MODE_(...) (__VA_ARGS__, mode)

struct RowCase {
    const char* name;
    char precision;
    void (*plain)(CallArrays&);
    void (*with_mode)(CallArrays&, uint32_t mode);
    void (*direct)(CallArrays&, qor_vm_kernel kernel);
};

#define QOR_TEST_ROW_CASE(p, Fn, kind)                                                                      \
    {#p #Fn, #p[0],                                                                                         \
     [](CallArrays& x) {                                                                                    \
         QOR_TEST_BIND_ARGS(x)                                                                              \
         qor_v##p##Fn QOR_VM_ARGS(kind);                                                                    \
     },                                                                                                     \
     [](CallArrays& x, uint32_t mode) {                                                                     \
         QOR_TEST_BIND_ARGS(x)                                                                              \
         qor_vm##p##Fn QOR_TEST_EXPAND(QOR_TEST_WITH_MODE_ QOR_VM_ARGS(kind));                              \
     },                                                                                                     \
     [](CallArrays& x, qor_vm_kernel kernel) {                                                              \
         QOR_TEST_BIND_ARGS(x)                                                                              \
         reinterpret_cast<void(*) QOR_VM_PARAMS(kind, p)>(kernel) QOR_VM_ARGS(kind);                        \
     }},

const RowCase kRows[] = {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, QOR_TEST_ROW_CASE(p, Fn, kind))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    {nullptr, 0, nullptr, nullptr, nullptr},
};

const char* const kListed[] = {
#define QOR_VM_ROW(p, Fn, kind, share, on, ...) QOR_VM_IF_ON(on, #p #Fn, )
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    nullptr,
};
constexpr int kListedCount = static_cast<int>(sizeof kListed / sizeof kListed[0]) - 1;

class VmRows : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail();
        library_ = dlopen(qor_kernel_path(), RTLD_NOW | RTLD_NOLOAD);
        ASSERT_NE(library_, nullptr) << dlerror();
    }
    void TearDown() override {
        if (library_) dlclose(library_);  // drops only the reference taken above
    }
    const void* symbol(const char* row, const char* suffix) const {
        return dlsym(library_, (std::string("qor_lum_kernel_") + row + suffix).c_str());
    }
    const qor_vm_kernel* table(const char* row) const { return static_cast<const qor_vm_kernel*>(symbol(row, "_ttab")); }
    void* library_ = nullptr;
};

TEST_F(VmRows, EachRowRunsTheKernelOfTheSlotItsModeSelects) {
    ASSERT_GT(kListedCount, 0);
    const uint32_t thread_mode = qor_vm_get_mode();
    for (const RowCase* row = kRows; row->name; ++row) {
        const qor_vm_kernel* ttab = table(row->name);
        ASSERT_NE(ttab, nullptr) << row->name;
        for (int inc : {1, 2}) {
            for (uint32_t slot = 0; slot < 3; ++slot) {
                CallArrays expected(row->precision, inc);
                row->direct(expected, ttab[slot]);

                CallArrays per_call(row->precision, inc);
                row->with_mode(per_call, slot + 1);
                EXPECT_TRUE(per_call.same_outputs(expected)) << row->name << " per-call slot " << slot << " inc " << inc;
                EXPECT_EQ(qor_vm_get_mode(), thread_mode) << row->name << ": mode not restored";

                CallArrays per_thread(row->precision, inc);
                qor_vm_set_mode(slot + 1);
                row->plain(per_thread);
                qor_vm_set_mode(thread_mode & QOR_VM_ACCURACY_MASK);
                EXPECT_TRUE(per_thread.same_outputs(expected)) << row->name << " thread slot " << slot << " inc " << inc;
            }
        }
    }
    EXPECT_EQ(qor_vm_get_mode(), thread_mode);
}

TEST_F(VmRows, EachRowRefusesANegativeCountAndNullArraysWritingNothing) {
    const CallArrays untouched('d', 1);
    for (const RowCase* row = kRows; row->name; ++row) {
        for (bool per_call : {false, true}) {
            const auto call = [&](CallArrays& x) {
                qor_vm_clear_status();
                per_call ? row->with_mode(x, QOR_VM_EP) : row->plain(x);
                return qor_vm_clear_status();
            };
            CallArrays negative('d', 1);
            negative.set_count(-1);
            EXPECT_EQ(call(negative), QOR_VM_STATUS_BADARG) << row->name;
            EXPECT_TRUE(negative.same_outputs(untouched)) << row->name;
            // A null array the row does not use leaves the call to run (and
            // perhaps report its elements); one it uses is refused.  A crash
            // here is a null array that reached the kernel.
            int refused = 0;
            for (int array = 1; array <= CallArrays::kArrays; ++array) {
                CallArrays null('d', 1);
                null.set_null(array);
                const int status = call(null);
                if (status != QOR_VM_STATUS_BADMEM) continue;
                EXPECT_TRUE(null.same_outputs(untouched)) << row->name << " array " << array;
                ++refused;
            }
            EXPECT_GE(refused, 2) << row->name;  // every row reads one array and writes another
            CallArrays empty('d', 1);
            empty.set_count(0);
            empty.set_null(1);
            EXPECT_EQ(call(empty), QOR_VM_STATUS_OK) << row->name << ": a count of 0 touches nothing";
        }
    }
}

TEST_F(VmRows, RowListAndCostsMatchTheKernelLibrary) {
    ASSERT_EQ(qor_vm_row_count(), kListedCount);
    for (int i = 0; i < kListedCount; ++i) {
        ASSERT_STREQ(qor_vm_row_name(i), kListed[i]);
        const auto* ctab = static_cast<const float*>(symbol(kListed[i], "_ctab"));
        ASSERT_NE(ctab, nullptr) << kListed[i];
        for (int slot = 0; slot < 3; ++slot)
            EXPECT_EQ(qor_vm_cost(kListed[i], slot), ctab[slot]) << kListed[i] << " " << slot;
    }
    EXPECT_EQ(qor_vm_row_name(-1), nullptr);
    EXPECT_EQ(qor_vm_row_name(kListedCount), nullptr);
    EXPECT_LT(qor_vm_cost(kListed[0], 3), 0.0f);
    EXPECT_LT(qor_vm_cost(kListed[0], -1), 0.0f);
    EXPECT_LT(qor_vm_cost("dNoSuchFunction", 1), 0.0f);
    EXPECT_LT(qor_vm_cost(nullptr, 1), 0.0f);
}

}  // namespace
