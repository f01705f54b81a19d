// The error reporter as one template over the argument and result types;
// the eight reporters of one element type are its uses with A = R.
#include "error_report.h"

#include <cstring>

#include "thread_state.h"

namespace qor::vm {
namespace {

constexpr int kMaxNameLength = 47;

// Real and imaginary parts of an element, widened to double.
inline void widen(float x, double& re, double&) { re = x; }
inline void widen(double x, double& re, double&) { re = x; }
inline void widen(const qor_complex8& x, double& re, double& im) { re = x.re; im = x.im; }
inline void widen(const qor_complex16& x, double& re, double& im) { re = x.re; im = x.im; }

inline void narrow(double re, double, float& x) { x = static_cast<float>(re); }
inline void narrow(double re, double, double& x) { x = re; }
inline void narrow(double re, double im, qor_complex8& x) { x.re = static_cast<float>(re); x.im = static_cast<float>(im); }
inline void narrow(double re, double im, qor_complex16& x) { x.re = re; x.im = im; }

}  // namespace

template <class A, class R>
void report(CallContext& ctx, int code, std::ptrdiff_t index, const A* a, std::ptrdiff_t inca, const A* b,
            std::ptrdiff_t incb, R* r1, std::ptrdiff_t incr1, R* r2, std::ptrdiff_t incr2, const char* name,
            const A* value_a, const A* value_b) {
    ThreadState* state = ctx.state;
    const uint32_t mode = ctx.mode();
    const uint32_t errmode = mode & QOR_VM_ERRMODE_MASK;
    if (errmode == QOR_VM_ERRMODE_NOERR) return;
    state->status = code;
    if (errmode == QOR_VM_ERRMODE_IGNORE) return;

    qor_vm_error_record rec{};
    rec.code = code;
    // The adjusted index is summed in 64 bits and kept to the record's 32,
    // so that a base far from a wraps instead of overflowing.
    std::ptrdiff_t adjusted = index;
    if (state->base) {
        auto distance = reinterpret_cast<const char*>(a) - static_cast<const char*>(state->base);
        adjusted += distance / static_cast<std::ptrdiff_t>(sizeof(A));
    }
    rec.index = static_cast<int32_t>(static_cast<uint32_t>(adjusted));
    int len = 0;
    while (len < kMaxNameLength && name[len]) {
        rec.name[len] = name[len];
        ++len;
    }
    rec.name[len] = '\0';
    rec.name_length = len;

    const bool has_values = code != QOR_VM_STATUS_BADARG && code != QOR_VM_STATUS_BADMEM;
    const std::ptrdiff_t i = index;
    if (has_values) {
        widen(value_a ? *value_a : a[i * inca], rec.arg1, rec.arg1_im);
        widen(value_b ? *value_b : b[i * incb], rec.arg2, rec.arg2_im);
        widen(r1[i * incr1], rec.res1, rec.res1_im);
        widen(r2[i * incr2], rec.res2, rec.res2_im);
    }
    if ((mode & QOR_VM_ERRMODE_CALLBACK) && state->callback) {
        if (state->callback(&rec) != 0) return;
    }
    if (mode & 0x2F00) run_default_actions(rec, mode, ctx);
    // A kernel of one result passes its output as both r1 and r2, so res1
    // is written last: a callback that changed res1 replaces the result.
    if (has_values) {
        narrow(rec.res2, rec.res2_im, r2[i * incr2]);
        narrow(rec.res1, rec.res1_im, r1[i * incr1]);
    }
}

template <class T>
void report_strided(int code, int index, const T* a, int inca, const T* b, int incb, T* r1, int incr1, T* r2,
                    int incr2, const char* name) {
    CallContext ctx;
    ctx.leave_x87_alone();
    report<T, T>(ctx, code, index, a, inca, b, incb, r1, incr1, r2, incr2, name);
}

template <class T>
void report(int code, int index, const T* a, const T* b, T* r1, T* r2, const char* name) {
    report_strided(code, index, a, 1, b, 1, r1, 1, r2, 1, name);
}

#define QOR_INSTANTIATE_REPORTER(A, R)                                                                      \
    template void report<A, R>(CallContext&, int, std::ptrdiff_t, const A*, std::ptrdiff_t, const A*,       \
                               std::ptrdiff_t, R*, std::ptrdiff_t, R*, std::ptrdiff_t, const char*,  \
                               const A*, const A*);
#define QOR_INSTANTIATE_REPORTERS(T)                                                            \
    QOR_INSTANTIATE_REPORTER(T, T)                                                              \
    template void report<T>(int, int, const T*, const T*, T*, T*, const char*);              \
    template void report_strided<T>(int, int, const T*, int, const T*, int, T*, int, T*, int, \
                                    const char*);
QOR_INSTANTIATE_REPORTERS(float)
QOR_INSTANTIATE_REPORTERS(double)
QOR_INSTANTIATE_REPORTERS(qor_complex8)
QOR_INSTANTIATE_REPORTERS(qor_complex16)
// Complex argument, real result (Abs, Arg) and the reverse (CIS).
QOR_INSTANTIATE_REPORTER(qor_complex8, float)
QOR_INSTANTIATE_REPORTER(qor_complex16, double)
QOR_INSTANTIATE_REPORTER(float, qor_complex8)
QOR_INSTANTIATE_REPORTER(double, qor_complex16)

}  // namespace qor::vm
