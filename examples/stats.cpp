// Summary statistics in C++: moments and extremes of 10^6 uniform and
// 10^6 Gaussian variates beside their exact values.
#include <cstdio>
#include <vector>

#include <qor/qor.hpp>

int main() try {
    const std::size_t n = 1000000;
    std::vector<double> x(2 * n);  // two variables, one per row
    qor::random::stream s(qor::random::brng::sfmt19937, 1);
    qor::random::uniform<double>(0.0, 1.0)(s, std::span(x).first(n));
    qor::random::gaussian<double>(0.0, 1.0)(s, std::span(x).last(n));

    qor::stats::task<double> task(x, 2);
    const auto m = task.moments();
    const auto [lo, hi] = task.min_max();
    const auto median = task.quantiles(std::vector<double>{0.5});

    std::printf("%-9s %10s %10s %10s %10s %10s %10s\n", "", "mean", "variance", "skewness", "kurtosis", "min", "max");
    const char* name[2] = {"uniform", "gaussian"};
    for (std::size_t v = 0; v < 2; ++v)
        std::printf("%-9s %10.5f %10.5f %10.5f %10.5f %10.5f %10.5f\n", name[v], m.mean[v], m.variance[v],
                    m.skewness[v], m.kurtosis[v], lo[v], hi[v]);
    std::printf("%-9s %10.5f %10.5f %10.5f %10.5f\n", "exact U", 0.5, 1.0 / 12, 0.0, -1.2);
    std::printf("%-9s %10.5f %10.5f %10.5f %10.5f\n", "exact N", 0.0, 1.0, 0.0, 0.0);
    std::printf("medians: %.5f %.5f\n", median[0], median[1]);
    return 0;
} catch (const qor::error& e) {
    std::fprintf(stderr, "qor: %s\n", e.what());
    return 1;
}
