// Binomial variates of ntrial trials with success probability p: BTPE for
// ntrial min(p, 1 - p) of 30 or more, else inversion through a table of the
// distribution function built for the call, one uniform per variate (see
// binomial_draw.h).  p of 0 or 1 and ntrial 0 draw nothing.
#include "qor/qor_rng.h"
#include "rng/dist/binomial_draw.h"
#include "rng/dist/inversion_table.h"

namespace {

using namespace qor::rng::dist;

int32_t binomial(qor_rng_stream* stream, int32_t n, int32_t* r, int32_t ntrial, double p) {
    const BinomialDraw draw(ntrial, p);
    if (draw.uses_inversion()) {
        const InversionTable table(draw.p0(), draw.ntrial(), [&draw](double k) { return draw.ratio(k); });
        return table.fill(stream, n, r, [&draw](int32_t k) { return draw.finish(k); });
    }
    UniformSource source(stream, draw.constant() ? 0 : 2 * int64_t{n});
    for (int32_t i = 0; i < n; ++i)
        if (!draw.draw(source, r[i])) return source.status();
    return QOR_RNG_STATUS_OK;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t _rixiRngBinomial(int32_t, qor_rng_stream* stream, int32_t n, int32_t* r, int32_t ntrial,
                                    double p) {
    return binomial(stream, n, r, ntrial, p);
}

}  // extern "C"
