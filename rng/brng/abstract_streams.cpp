// Abstract streams: generators over a caller's buffer of ready values of
// one kind (32-bit integers, or uniform doubles or singles on the caller's
// [a, b)), refilled by the caller's callback whenever it runs out.
#include <algorithm>
#include <cstring>

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {
namespace {

template <class T, class Callback>
struct BufferState {
    T* buf;
    Callback refill;
    int32_t n;    // values in buf
    int32_t idx;  // next unused value; n when the buffer is used up
};

template <class T, class Callback>
struct BoundedState {
    BufferState<T, Callback> source;
    T a, b;  // the buffer's values lie on [a, b)
};

using IState = BufferState<uint32_t, qor_rng_iabstract_callback>;
using DState = BoundedState<double, qor_rng_dabstract_callback>;
using SState = BoundedState<float, qor_rng_sabstract_callback>;
static_assert(sizeof(IState) + kStreamHeaderBytes <= 48);
static_assert(sizeof(DState) + kStreamHeaderBytes <= 64);
static_assert(sizeof(SState) + kStreamHeaderBytes <= 56);

// Hands out `count` values in runs of consecutive buffer values, asking the
// callback for a full buffer whenever the current one is used up; a
// callback's non-zero answer ends the walk and is returned.
template <class T, class Callback, class Take>
int32_t drain(qor_rng_stream* stream, BufferState<T, Callback>& s, uint64_t count, Take take) {
    uint64_t done = 0;
    while (done < count) {
        if (s.idx >= s.n) {
            const int32_t status = s.refill(stream, s.n, s.buf);
            if (status != QOR_RNG_STATUS_OK) return status;
            s.idx = 0;
        }
        const int32_t run = static_cast<int32_t>(std::min<uint64_t>(count - done, uint64_t(s.n - s.idx)));
        take(done, s.buf + s.idx, run);
        done += static_cast<uint64_t>(run);
        s.idx += run;
    }
    return QOR_RNG_STATUS_OK;
}

// Values on the stream's [sa, sb) moved onto [a, b); the same bounds pass
// through untouched.
template <class T, class Callback, class Out>
int32_t fill_bounded(qor_rng_stream* stream, BoundedState<T, Callback>& s, int32_t n, Out* r, Out a, Out b) {
    if (n <= 0) return QOR_RNG_STATUS_OK;
    const double sa = s.a, sb = s.b;
    if (double(a) == sa && double(b) == sb)
        return drain(stream, s.source, uint64_t(n), [&](uint64_t at, const T* v, int32_t run) {
            for (int32_t j = 0; j < run; ++j) r[at + j] = static_cast<Out>(v[j]);
        });
    const double scale = (double(b) - double(a)) / (sb - sa);
    return drain(stream, s.source, uint64_t(n), [&](uint64_t at, const T* v, int32_t run) {
        for (int32_t j = 0; j < run; ++j) r[at + j] = static_cast<Out>(double(a) + (double(v[j]) - sa) * scale);
    });
}

// Abstract streams are set up by their constructors, not seeded; they can
// skip ahead (by using up values) but not leapfrog.
template <class State, class Source>
int32_t init_abstract(uint32_t method, qor_rng_stream* stream, const uint32_t* params, Source source) {
    switch (method) {
    case 0:
        return QOR_RNG_STATUS_BAD_BRNG;
    case 1:
        return QOR_RNG_STATUS_NO_LEAPFROG;
    case 2: {
        if (!stream || !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
        const uint64_t count = params[0] | (uint64_t{params[1]} << 32);
        return drain(stream, source(*state_of<State>(stream)), count, [](uint64_t, const auto*, int32_t) {});
    }
    case 3:
        return QOR_RNG_STATUS_NO_SKIP_AHEAD_EX;
    default:
        return QOR_RNG_STATUS_BAD_METHOD;
    }
}

constexpr auto own_source = [](IState& s) -> IState& { return s; };
constexpr auto bounded_source = [](auto& s) -> auto& { return s.source; };

template <class State, class T, class Callback>
int32_t new_stream(qor_rng_stream** stream, uint32_t brng, int32_t n, T* buf, Callback refill, State** state) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (n <= 0 || !buf || !refill) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = usable_row(brng);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    const int32_t status = allocate_stream(stream, *row, brng);
    if (status != QOR_RNG_STATUS_OK) return status;
    *state = state_of<State>(*stream);
    return QOR_RNG_STATUS_OK;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

// One function for every output kind an abstract stream does not hold,
// exported under the six names of those row slots.  It reads no argument,
// so one address serves all three fill signatures.
QOR_HIDDEN int32_t qor_rng_abstract_wrong_kind(void) { return QOR_RNG_STATUS_ABSTRACT_KIND; }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattribute-alias"
#pragma GCC diagnostic ignored "-Wmissing-attributes"

#define QOR_RNG_WRONG_KIND(name, params) \
    QOR_EXPORT int32_t name params __attribute__((alias("qor_rng_abstract_wrong_kind")));
QOR_RNG_WRONG_KIND(__rixsBRngiAbstract, (qor_rng_stream*, int32_t, float*, float, float))
QOR_RNG_WRONG_KIND(__rixdBRngiAbstract, (qor_rng_stream*, int32_t, double*, double, double))
QOR_RNG_WRONG_KIND(__rixsBRngdAbstract, (qor_rng_stream*, int32_t, float*, float, float))
QOR_RNG_WRONG_KIND(__rixiBRngdAbstract, (qor_rng_stream*, int32_t, void*))
QOR_RNG_WRONG_KIND(__rixdBRngsAbstract, (qor_rng_stream*, int32_t, double*, double, double))
QOR_RNG_WRONG_KIND(__rixiBRngsAbstract, (qor_rng_stream*, int32_t, void*))
#undef QOR_RNG_WRONG_KIND
#pragma GCC diagnostic pop

QOR_EXPORT int32_t __rixBRngiAbstractInitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                                const uint32_t* params) {
    return init_abstract<IState>(method, stream, params, own_source);
}

QOR_EXPORT int32_t __rixBRngdAbstractInitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                                const uint32_t* params) {
    return init_abstract<DState>(method, stream, params, bounded_source);
}

QOR_EXPORT int32_t __rixBRngsAbstractInitStream(uint32_t method, qor_rng_stream* stream, int32_t n,
                                                const uint32_t* params) {
    return init_abstract<SState>(method, stream, params, bounded_source);
}

QOR_EXPORT int32_t __rixiBRngiAbstract(qor_rng_stream* stream, int32_t n, void* r) {
    if (n <= 0) return QOR_RNG_STATUS_OK;
    auto* out = static_cast<uint32_t*>(r);
    return drain(stream, *state_of<IState>(stream), uint64_t(n), [&](uint64_t at, const uint32_t* v, int32_t run) {
        std::memcpy(out + at, v, sizeof(uint32_t) * size_t(run));
    });
}

QOR_EXPORT int32_t __rixdBRngdAbstract(qor_rng_stream* stream, int32_t n, double* r, double a, double b) {
    return fill_bounded(stream, *state_of<DState>(stream), n, r, a, b);
}

QOR_EXPORT int32_t __rixsBRngsAbstract(qor_rng_stream* stream, int32_t n, float* r, float a, float b) {
    return fill_bounded(stream, *state_of<SState>(stream), n, r, a, b);
}

QOR_EXPORT int32_t __rixiNewAbstractStream(qor_rng_stream** stream, int32_t n, uint32_t* buf,
                                           qor_rng_iabstract_callback callback) {
    IState* s = nullptr;
    const int32_t status = new_stream(stream, QOR_RNG_BRNG_IABSTRACT, n, buf, callback, &s);
    if (status != QOR_RNG_STATUS_OK) return status;
    *s = IState{buf, callback, n, 0};
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixdNewAbstractStream(qor_rng_stream** stream, int32_t n, double* buf, double a, double b,
                                           qor_rng_dabstract_callback callback) {
    if (!(a < b)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    DState* s = nullptr;
    const int32_t status = new_stream(stream, QOR_RNG_BRNG_DABSTRACT, n, buf, callback, &s);
    if (status != QOR_RNG_STATUS_OK) return status;
    *s = DState{{buf, callback, n, 0}, a, b};
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixsNewAbstractStream(qor_rng_stream** stream, int32_t n, float* buf, float a, float b,
                                           qor_rng_sabstract_callback callback) {
    if (!(a < b)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    SState* s = nullptr;
    const int32_t status = new_stream(stream, QOR_RNG_BRNG_SABSTRACT, n, buf, callback, &s);
    if (status != QOR_RNG_STATUS_OK) return status;
    *s = SState{{buf, callback, n, 0}, a, b};
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"

namespace qor::rng {

// state_word_count 0: a state copy moves nothing of these streams.
extern const qor_rng_brng_properties kIAbstractRow = {
    48, 0, 1, 4, 32, __rixBRngiAbstractInitStream, __rixsBRngiAbstract, __rixdBRngiAbstract, __rixiBRngiAbstract};
extern const qor_rng_brng_properties kDAbstractRow = {
    64, 0, 1, 4, 32, __rixBRngdAbstractInitStream, __rixsBRngdAbstract, __rixdBRngdAbstract, __rixiBRngdAbstract};
extern const qor_rng_brng_properties kSAbstractRow = {
    56, 0, 1, 4, 32, __rixBRngsAbstractInitStream, __rixsBRngsAbstract, __rixdBRngsAbstract, __rixiBRngsAbstract};

}  // namespace qor::rng
