// Random numbers in C++: a stream used through <random> (a die and a
// shuffle) and a bulk fill of exponential variates, with skip-ahead to
// split one sequence between two consumers.
#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <random>
#include <vector>

#include <qor/qor.hpp>

int main() try {
    qor::random::stream s(qor::random::brng::philox4x32x10, 42);

    qor::random::bit_generator bits(s);
    std::uniform_int_distribution<int> die(1, 6);
    std::array<int, 7> counts{};
    for (int i = 0; i < 60000; ++i) ++counts[static_cast<std::size_t>(die(bits))];
    std::printf("60000 rolls of a die:");
    for (int face = 1; face <= 6; ++face) std::printf(" %d", counts[static_cast<std::size_t>(face)]);
    std::printf("\n");

    std::vector<int> deck(10);
    std::iota(deck.begin(), deck.end(), 0);
    std::shuffle(deck.begin(), deck.end(), bits);
    std::printf("a shuffled deck:");
    for (int card : deck) std::printf(" %d", card);
    std::printf("\n");

    // Two consumers of one sequence: the second starts 500000 outputs in.
    qor::random::stream first(qor::random::brng::mrg32k3a, 7), second = first.copy();
    second.skip_ahead(500000);
    qor::random::exponential<double> wait(0.0, 3.0);  // displacement, scale
    const auto a = wait.generate(first, 500000), b = wait.generate(second, 500000);
    const double mean = (std::accumulate(a.begin(), a.end(), 0.0) + std::accumulate(b.begin(), b.end(), 0.0)) / 1e6;
    std::printf("mean of 10^6 exponential(scale 3) waits in two halves: %.5f\n", mean);
    return 0;
} catch (const qor::error& e) {
    std::fprintf(stderr, "qor: %s\n", e.what());
    return 1;
}
