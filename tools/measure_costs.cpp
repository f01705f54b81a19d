// Measures the per-element cost of every built vector-math kernel (time-stamp
// ticks per element at n = 1000, in cache, best of many runs) and writes the
// figures of the rows whose cost column says "measured" into the costs file
// of the tables.  Frozen rows (published costs, the pack/unpack kernels)
// keep the triple the row list gives them and are only printed.
//
//   measure_costs [path/to/vm_costs.inc]   rewrite the file
//   measure_costs --print                  print the table only
#include <x86intrin.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "qor/qor_vm.h"

namespace {

constexpr int kN = 1000;
constexpr int kRuns = 2000;

// Inputs on every kernel's ordinary path: positive, moderate values in
// [0.5, 2), except for the functions defined on [-1, 1] or (0, 1) (in
// (0.05, 0.95)) and for acosh (in [1.05, 4)), whose reporter would otherwise
// be timed.  The scalar argument is the array's first value, except for the
// Bessel functions of integer order, which take order 3.
enum Range { kModerate, kUnit, kAboveOne };
constexpr double kRanges[3][2] = {{0.5, 2.0}, {0.05, 0.95}, {1.05, 4.0}};
Range current_range = kModerate;
bool integer_order = false;

Range range_of(const std::string& fn) {
    for (const char* f : {"Asin", "Acos", "Asinpi", "Acospi", "Atanh", "ErfInv", "ErfcInv", "CdfNormInv"})
        if (fn == f || fn == std::string(f) + "I") return kUnit;
    return fn == "Acosh" || fn == "AcoshI" ? kAboveOne : kModerate;
}


// Four arrays of each element type per range, with room for a stride of 2.
template <class T>
T* buffer(int k) {
    static std::vector<std::vector<T>> arrays[3];
    std::vector<std::vector<T>>& a = arrays[current_range];
    if (a.empty()) {
        std::mt19937_64 gen(7);
        std::uniform_real_distribution<double> dist(kRanges[current_range][0], kRanges[current_range][1]);
        a.assign(4, std::vector<T>(2 * kN));
        for (auto& v : a)
            for (T& x : v) {
                if constexpr (std::is_same_v<T, qor_complex8>)
                    x = {float(dist(gen)), float(dist(gen))};
                else if constexpr (std::is_same_v<T, qor_complex16>)
                    x = {dist(gen), dist(gen)};
                else
                    x = T(dist(gen));
            }
    }
    return a[k].data();
}

template <class Call>
double ticks_per_element(Call call) {
    uint64_t best = ~uint64_t{0};
    for (int run = 0; run < kRuns; ++run) {
        unsigned aux;
        _mm_lfence();
        uint64_t t0 = __rdtsc();
        _mm_lfence();
        call();
        uint64_t t1 = __rdtscp(&aux);
        if (t1 - t0 < best) best = t1 - t0;
    }
    return double(best) / kN;
}

template <class T>
T scalar_argument() {
    if (!integer_order) return buffer<T>(1)[0];
    if constexpr (std::is_arithmetic_v<T>) return T(3);
    else return T{3, 0};  // a complex power
}

// One call of a kernel of each kind, on the shared buffers.
#define QOR_T(p) QOR_VM_T_##p
#define QOR_R(p) QOR_VM_R_##p
template <class T, class R> struct Kinds {
    static double unary(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, T*)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), buffer<T>(2)); });
    }
    static double unary_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, int, T*, int)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), 2, buffer<T>(2), 2); });
    }
    static double binary(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, const T*, T*)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), buffer<T>(1), buffer<T>(2)); });
    }
    static double binary_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, int, const T*, int, T*, int)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), 2, buffer<T>(1), 2, buffer<T>(2), 2); });
    }
    static double two_out(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, T*, T*)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), buffer<T>(2), buffer<T>(3)); });
    }
    static double two_out_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, int, T*, int, T*, int)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), 2, buffer<T>(2), 2, buffer<T>(3), 2); });
    }
    static double scalar(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, T, T*)>(k);
        T b = scalar_argument<T>();
        return ticks_per_element([&] { f(kN, buffer<T>(0), b, buffer<T>(2)); });
    }
    static double scalar_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, int, T, T*, int)>(k);
        T b = scalar_argument<T>();
        return ticks_per_element([&] { f(kN, buffer<T>(0), 2, b, buffer<T>(2), 2); });
    }
    static double linfrac(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, const T*, T, T, T, T, T*)>(k);
        return ticks_per_element(
            [&] { f(kN, buffer<T>(0), buffer<T>(1), T(2), T(1), T(3), T(1), buffer<T>(2)); });
    }
    static double linfrac_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, int, const T*, int, T, T, T, T, T*, int)>(k);
        return ticks_per_element([&] {
            f(kN, buffer<T>(0), 2, buffer<T>(1), 2, T(2), T(1), T(3), T(1), buffer<T>(2), 2);
        });
    }
    static double c2r(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, R*)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), buffer<R>(2)); });
    }
    static double c2r_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const T*, int, R*, int)>(k);
        return ticks_per_element([&] { f(kN, buffer<T>(0), 2, buffer<R>(2), 2); });
    }
    static double r2c(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const R*, T*)>(k);
        return ticks_per_element([&] { f(kN, buffer<R>(0), buffer<T>(2)); });
    }
    static double r2c_i(qor_vm_kernel k) {
        auto f = reinterpret_cast<void (*)(int, const R*, int, T*, int)>(k);
        return ticks_per_element([&] { f(kN, buffer<R>(0), 2, buffer<T>(2), 2); });
    }
    static double pack(qor_vm_kernel) { return 1111.0; }
    static double pack_i(qor_vm_kernel k) { return pack(k); }
    static double pack_v(qor_vm_kernel k) { return pack(k); }
    static double pack_m(qor_vm_kernel k) { return pack(k); }
    static double unpack_i(qor_vm_kernel k) { return pack(k); }
    static double unpack_v(qor_vm_kernel k) { return pack(k); }
    static double unpack_m(qor_vm_kernel k) { return pack(k); }
};

struct Measured {
    double cost[3];
    bool frozen;
};

std::map<std::string, Measured> measure_all() {
    std::map<std::string, Measured> out;
#define QOR_VM_MEASURE(p, Fn, kind, column)                                                      \
    {                                                                                            \
        Measured m{{}, true};                                                                    \
        current_range = range_of(#Fn);                                                           \
        integer_order = #Fn[0] == 'J' || #Fn[0] == 'Y';                                          \
        QOR_VM_IF_MEASURED(column, m.frozen = false;)                                            \
        for (int slot = 0; slot < 3; ++slot) {                                                   \
            qor_vm_kernel k = qor_lum_kernel_##p##Fn##_ttab[slot];                               \
            int same = -1;                                                                       \
            for (int prev = 0; prev < slot; ++prev)                                              \
                if (qor_lum_kernel_##p##Fn##_ttab[prev] == k) same = prev;                       \
            m.cost[slot] = same >= 0 ? m.cost[same] : Kinds<QOR_T(p), QOR_R(p)>::kind(k);        \
        }                                                                                        \
        out[#p #Fn] = m;                                                                         \
    }
#define QOR_VM_ROW(p, Fn, kind, share, on, cost, ...) QOR_VM_IF_ON(on, QOR_VM_MEASURE(p, Fn, kind, cost))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    return out;
}

constexpr const char* kCostsHeader =
    "// Measured cost per element of each slot (LA, HA, EP) of every row whose\n"
    "// cost is not frozen in the row list: time-stamp ticks per element at\n"
    "// n = 1000, in cache.  Written by tools/measure_costs; read only by\n"
    "// tables.cpp.\n";

std::string format_cost(double c) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.3ff", c);
    return buf;
}

}  // namespace

int main(int argc, char** argv) {
    bool print_only = argc > 1 && std::strcmp(argv[1], "--print") == 0;
    auto measured = measure_all();
    for (auto& [name, m] : measured)
        std::printf("%-14s %9.3f %9.3f %9.3f%s\n", name.c_str(), m.cost[0], m.cost[1], m.cost[2],
                    m.frozen ? "   (frozen, kept)" : "");
    if (print_only) return 0;
    const char* path = argc > 1 ? argv[1] : "vm/frame/vm_costs.inc";
    std::FILE* out = std::fopen(path, "w");
    if (!out) {
        std::fprintf(stderr, "measure_costs: cannot write %s\n", path);
        return 1;
    }
    std::fputs(kCostsHeader, out);
    int written = 0;
    // In row-list order, as the tables are laid out.
#define QOR_VM_WRITE(p, Fn)                                                                       \
    {                                                                                             \
        const Measured& m = measured.at(#p #Fn);                                                  \
        std::fprintf(out, "QOR_VM_COST(%s, %s, %s, %s, %s)\n", #p, #Fn, format_cost(m.cost[0]).c_str(), \
                     format_cost(m.cost[1]).c_str(), format_cost(m.cost[2]).c_str());              \
        ++written;                                                                                \
    }
#define QOR_VM_ROW(p, Fn, kind, share, on, cost, ...) QOR_VM_IF_ON(on, QOR_VM_IF_MEASURED(cost, QOR_VM_WRITE(p, Fn)))
#include "qor/vm_rows.def"
#undef QOR_VM_ROW
    std::fclose(out);
    std::printf("measure_costs: %d rows written to %s\n", written, path);
    return 0;
}
