// Vector math in C++: sine and cosine of a table of angles in one call,
// and the identity sin^2 + cos^2 = 1 checked with the library's own
// squares and sums.
#include <cstdio>
#include <numbers>
#include <vector>

#include <qor/qor.hpp>

int main() try {
    qor::init();
    const std::size_t n = 8;
    std::vector<double> angle(n), s(n), c(n), s2(n), c2(n), one(n);
    for (std::size_t i = 0; i < n; ++i) angle[i] = std::numbers::pi * double(i) / double(n);

    qor::vm::sincos(angle, s, c);  // both in one pass
    qor::vm::sqr(s, s2);
    qor::vm::sqr(c, c2, qor::vm::accuracy::ep);
    qor::vm::add(s2, c2, one);

    std::printf("%10s %20s %20s %12s\n", "angle", "sin", "cos", "sin2+cos2-1");
    for (std::size_t i = 0; i < n; ++i)
        std::printf("%10.6f %20.17f %20.17f %12.3g\n", angle[i], s[i], c[i], one[i] - 1.0);

    // Mismatched sizes are refused before any work is done.
    try {
        std::vector<double> short_out(n - 1);
        qor::vm::exp(angle, short_out);
    } catch (const qor::error& e) {
        std::printf("refused: %s\n", e.what());
    }
    return 0;
} catch (const qor::error& e) {
    std::fprintf(stderr, "qor: %s\n", e.what());
    return 1;
}
