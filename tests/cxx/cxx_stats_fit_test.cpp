// The C++ statistics task and spline: known answers, moves, and the size
// checks that refuse bad requests with the family's status.
#include <gtest/gtest.h>

#include <vector>

#include "qor/qor.hpp"

namespace {

TEST(CxxStats, MomentsQuantilesAndExtremesOfKnownData) {
    // Two variables in rows: 1..5 and its squares.
    const std::vector<double> x = {1, 2, 3, 4, 5, 1, 4, 9, 16, 25};
    qor::stats::task<double> t(x, 2);
    EXPECT_EQ(t.observations(), 5);
    const auto m = t.moments();
    EXPECT_DOUBLE_EQ(m.mean[0], 3.0);
    EXPECT_DOUBLE_EQ(m.variance[0], 2.5);
    EXPECT_NEAR(m.skewness[0], 0.0, 1e-15);
    EXPECT_NEAR(m.kurtosis[0], 1.7 - 3.0, 1e-14);  // (S4/n)/(S2/n)^2 = 6.8/4
    EXPECT_DOUBLE_EQ(m.mean[1], 11.0);
    EXPECT_DOUBLE_EQ(m.variance[1], 93.5);
    const auto q = t.quantiles(std::vector<double>{0.0, 0.5, 0.875});
    EXPECT_EQ(q, (std::vector<double>{1, 3, 4.5, 1, 9, 20.5}));
    // A moved task keeps working, min and max start afresh after moments.
    qor::stats::task<double> moved(std::move(t));
    const auto [lo, hi] = moved.min_max();
    EXPECT_EQ(lo, (std::vector<double>{1, 1}));
    EXPECT_EQ(hi, (std::vector<double>{5, 25}));

    const std::vector<float> xf = {2, 4, 4, 4, 5, 5, 7, 9};
    EXPECT_FLOAT_EQ(qor::stats::task<float>(xf, 1, qor::stats::layout::observations_in_rows).moments().mean[0], 5.0f);
}

TEST(CxxStats, ShapesThatDoNotFitAreRefused) {
    const std::vector<double> x(7, 1.0), w(3, 1.0);
    const auto status_of = [](auto make) {
        try {
            make();
        } catch (const qor::error& e) {
            return e.status();
        }
        return 0;
    };
    EXPECT_EQ(status_of([&] { qor::stats::task<double>(x, 2); }), SS_ERR_OBS_COUNT);
    EXPECT_EQ(status_of([&] { qor::stats::task<double>(x, 0); }), SS_ERR_DIM);
    EXPECT_EQ(status_of([&] { qor::stats::task<double>(x, 1, qor::stats::layout::variables_in_rows, w); }),
              SS_ERR_WEIGHTS);
    qor::stats::task<double> t(x, 7);
    EXPECT_EQ(status_of([&] { t.quantiles(std::vector<double>{1.5}); }), SS_ERR_QUANT_ORDER_COUNT);
}

TEST(CxxFit, LinearAndCubicSplinesOfKnownShape) {
    // The linear spline through (0, 1), (1, 2), (3, 0).
    auto linear = [] {
        std::vector<double> x = {0, 1, 3}, y = {1, 2, 0};
        return qor::fit::spline<double>(x, y, qor::fit::kind::linear);  // the arrays go away here
    }();
    EXPECT_EQ(linear(std::vector<double>{0.5, 2.0}), (std::vector<double>{1.5, 1.0}));
    EXPECT_EQ(linear(std::vector<double>{0.5, 2.0}, 1), (std::vector<double>{1.0, -1.0}));
    EXPECT_DOUBLE_EQ(linear.integrate(0.0, 3.0), 3.5);
    EXPECT_DOUBLE_EQ(linear.integrate(3.0, 0.0), -3.5);
    std::vector<std::int64_t> cell(3);
    linear.cells(std::vector<double>{-1.0, 1.0, 3.0}, cell);
    EXPECT_EQ(cell, (std::vector<std::int64_t>{0, 2, 2}));

    // A natural cubic through points of a straight line is that line.
    const std::vector<float> x = {0, 1, 2.5f, 4}, y = {1, 3, 6, 9};
    qor::fit::spline<float> cubic(x, y);
    EXPECT_FLOAT_EQ(cubic(1.75f), 4.5f);
    EXPECT_FLOAT_EQ(cubic(3.0f, 1), 2.0f);
    EXPECT_FLOAT_EQ(cubic(3.0f, 2), 0.0f);
}

TEST(CxxFit, BadShapesAreRefusedWithTheFittingStatus) {
    const std::vector<double> x = {0, 1, 2}, y = {0, 1};
    try {
        qor::fit::spline<double> s(x, y);
        ADD_FAILURE();
    } catch (const qor::error& e) {
        EXPECT_EQ(e.status(), statusBadFunctionValues);
    }
    const std::vector<double> one = {1};
    try {
        qor::fit::spline<double> s(one, one);
        ADD_FAILURE();
    } catch (const qor::error& e) {
        EXPECT_EQ(e.status(), statusBadBreakpointCount);
    }
    qor::fit::spline<double> s(x, x, qor::fit::kind::linear);
    std::vector<double> out(2, 5.0);
    EXPECT_THROW(s.interpolate(x, out), qor::error);
    EXPECT_EQ(out, std::vector<double>(2, 5.0));
}

}  // namespace

namespace {

TEST(CxxStats, ObservationsInRowsAndWeights) {
    // Three observations of two variables, one observation per row; the
    // last weighs 2, so the weighted mean counts it twice.
    const std::vector<double> x = {1, 10, 2, 20, 4, 40}, w = {1, 1, 2};
    qor::stats::task<double> t(x, 2, qor::stats::layout::observations_in_rows, w);
    EXPECT_EQ(t.observations(), 3);
    const auto m = t.moments();
    EXPECT_DOUBLE_EQ(m.mean[0], 11.0 / 4);
    EXPECT_DOUBLE_EQ(m.mean[1], 110.0 / 4);
    const auto [lo, hi] = t.min_max();
    EXPECT_EQ(lo, (std::vector<double>{1, 10}));
    EXPECT_EQ(hi, (std::vector<double>{4, 40}));
}

TEST(CxxFit, MoveAssignmentKeepsTheSplineAndFreesTheOld) {
    const std::vector<double> x = {0, 1, 2, 3, 4}, y = {0, 1, 4, 9, 16};
    qor::fit::spline<double> s(x, y, qor::fit::kind::akima_cubic);
    qor::fit::spline<double> t(x, x, qor::fit::kind::linear);
    t = std::move(s);
    EXPECT_EQ(s.get(), nullptr);
    EXPECT_EQ(t.order(), 4);
    for (double v : {0.0, 1.0, 2.0, 3.0, 4.0}) EXPECT_NEAR(t(v), v * v, 1e-12);  // interpolates
    EXPECT_EQ(t.coefficients().size(), 16u);
}

}  // namespace
