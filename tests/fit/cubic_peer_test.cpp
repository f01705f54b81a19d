// Cubic construction against peers on the same data, where the definitions
// agree: GSL's natural cubic spline with free ends (cspline) and periodic
// (cspline_periodic), and Akima's spline with its own end rule (akima) and
// periodic (akima_periodic); Boost.Math's cubic Hermite interpolant given
// every derivative (the Hermite kind with both end derivatives given).
// Values and derivatives at random sites.
#include <gsl/gsl_errno.h>
#include <gsl/gsl_interp.h>

#include <algorithm>
#include <boost/math/interpolators/cubic_hermite.hpp>

#include "construct_spline.h"

namespace {

using namespace spline_test;

void expect_like_gsl(const gsl_interp_type* type, Entry entry, int64_t bcType, bool periodic) {
    std::mt19937_64 rng(31);
    for (int64_t nx : {5, 12, 3000}) {
        SCOPED_TRACE(testing::Message() << type->name << " nx " << nx);
        Data<> d(nx, 1, rng);
        if (periodic) d.y.back() = d.y.front();
        Params<> p;
        p.type = 2;  // a type whose periodic condition needs no values
        p.bcType = bcType;
        std::vector<double> c;
        ASSERT_EQ(construct(d, hintValuesDefault, false, p, entry, c), 0);
        gsl_interp* peer = gsl_interp_alloc(type, nx);
        gsl_interp_accel* acc = gsl_interp_accel_alloc();
        ASSERT_EQ(gsl_interp_init(peer, d.x.data(), d.y.data(), nx), GSL_SUCCESS);
        std::uniform_real_distribution<double> site(d.x.front(), d.x.back());
        for (int s = 0; s < 2000; ++s) {
            const double t = site(rng);
            const int64_t i = std::min<int64_t>(std::upper_bound(d.x.begin(), d.x.end(), t) - d.x.begin() - 1, nx - 2);
            const double* piece = c.data() + 4 * i;
            const double ours[3] = {double(derivative(piece, 4, 0, t - d.x[i])), double(derivative(piece, 4, 1, t - d.x[i])),
                                    double(derivative(piece, 4, 2, t - d.x[i]))};
            const double theirs[3] = {gsl_interp_eval(peer, d.x.data(), d.y.data(), t, acc),
                                      gsl_interp_eval_deriv(peer, d.x.data(), d.y.data(), t, acc),
                                      gsl_interp_eval_deriv2(peer, d.x.data(), d.y.data(), t, acc)};
            for (int k = 0; k < 3; ++k)
                ASSERT_TRUE(close(ours[k], theirs[k], 1e-10L)) << "derivative " << k << " at " << t << ": " << ours[k]
                                                              << " against " << theirs[k];
        }
        gsl_interp_accel_free(acc);
        gsl_interp_free(peer);
    }
}

}  // namespace

TEST(FitCubicAgainstGsl, NaturalAndPeriodicSplines) {
    expect_like_gsl(gsl_interp_cspline, qor_kp_kernel_dKPNaturalCubicSpline1D, 1, false);
    expect_like_gsl(gsl_interp_cspline_periodic, qor_kp_kernel_dKPNaturalCubicSpline1D, 64, true);
    expect_like_gsl(gsl_interp_cspline, qor_kp_kernel_dKPDefaultCubicSpline1D, 1, false);
}

TEST(FitCubicAgainstGsl, AkimaWithItsOwnEndsAndPeriodic) {
    expect_like_gsl(gsl_interp_akima, qor_kp_kernel_dKPAkimaCubicSpline1D, 0, false);
    expect_like_gsl(gsl_interp_akima_periodic, qor_kp_kernel_dKPAkimaCubicSpline1D, 64, true);
}

TEST(FitCubicAgainstBoost, HermiteGivenEveryDerivative) {
    std::mt19937_64 rng(32);
    Data<> d(500, 1, rng);
    std::vector<double> slopes(d.nx);
    for (double& s : slopes) s = std::uniform_real_distribution<double>(-2, 2)(rng);
    const double ends[2] = {slopes.front(), slopes.back()};
    Params<> p;
    p.bcType = 12;
    p.bc = ends;
    p.icType = 1;
    p.ic = slopes.data() + 1;
    std::vector<double> c;
    ASSERT_EQ(construct(d, hintValuesDefault, false, p, qor_kp_kernel_dKPHermiteCubicSpline1D, c), 0);
    const boost::math::interpolators::cubic_hermite<std::vector<double>> peer(std::vector<double>(d.x),
                                                                             std::vector<double>(d.y), std::move(slopes));
    std::uniform_real_distribution<double> site(d.x.front(), d.x.back());
    for (int s = 0; s < 2000; ++s) {
        const double t = site(rng);
        const int64_t i = std::min<int64_t>(std::upper_bound(d.x.begin(), d.x.end(), t) - d.x.begin() - 1, d.nx - 2);
        ASSERT_TRUE(close(derivative(c.data() + 4 * i, 4, 0, t - d.x[i]), peer(t), 1e-12L)) << t;
        ASSERT_TRUE(close(derivative(c.data() + 4 * i, 4, 1, t - d.x[i]), peer.prime(t), 1e-11L)) << t;
    }
}
