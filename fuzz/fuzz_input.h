// Reading a fuzzer's bytes as a sequence of choices: integers in a range,
// members of a list, reals that are often special.  When the bytes run out
// every read gives zero, so a short input is still a complete run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool empty() const { return left_ == 0; }

    template <class T>
    T take() {
        T v{};
        const std::size_t n = left_ < sizeof v ? left_ : sizeof v;
        std::memcpy(&v, data_, n);
        data_ += n;
        left_ -= n;
        return v;
    }

    // An integer in [lo, hi].
    int64_t in(int64_t lo, int64_t hi) {
        const uint64_t span = static_cast<uint64_t>(hi - lo) + 1;
        return lo + static_cast<int64_t>(take<uint16_t>() % span);
    }

    template <class T, std::size_t N>
    T pick(const T (&list)[N]) {
        return list[take<uint8_t>() % N];
    }

    // A real: mostly ordinary, sometimes an edge value or any bit pattern.
    double real() {
        static const double kEdges[] = {0.0, -0.0, 1.0, -1.0, 0.5, 1e-300, 4.9e-324, 1e300,
                                        std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        std::numeric_limits<double>::quiet_NaN()};
        switch (take<uint8_t>() % 8) {
            case 0: return pick(kEdges);
            case 1: return take<double>();
            default: return static_cast<double>(take<int16_t>()) / 64.0;
        }
    }

private:
    const uint8_t* data_;
    std::size_t left_;
};
