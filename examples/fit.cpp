// Data fitting in C++: monotone data (a cumulative dose-response curve)
// through a natural cubic and a Hyman cubic: the first overshoots between
// the points, the second stays monotone.
#include <cstdio>
#include <vector>

#include <qor/qor.hpp>

int main() try {
    const std::vector<double> dose = {0, 1, 2, 3, 4, 5, 6}, response = {0, 0.02, 0.05, 0.9, 0.97, 0.99, 1.0};
    qor::fit::spline<double> natural(dose, response, qor::fit::kind::natural_cubic);
    qor::fit::spline<double> monotone(dose, response, qor::fit::kind::hyman_cubic);

    std::vector<double> t;
    for (double d = 0; d <= 6.0001; d += 0.5) t.push_back(d);
    const auto a = natural(t), b = monotone(t), slope = monotone(t, 1);
    std::printf("%6s %12s %12s %12s\n", "dose", "natural", "hyman", "hyman slope");
    for (std::size_t i = 0; i < t.size(); ++i) std::printf("%6.2f %12.6f %12.6f %12.6f\n", t[i], a[i], b[i], slope[i]);
    std::printf("area under the Hyman curve on [0, 6]: %.6f\n", monotone.integrate(0.0, 6.0));
    return 0;
} catch (const qor::error& e) {
    std::fprintf(stderr, "qor: %s\n", e.what());
    return 1;
}
