// Streams of the public random-number interface in the tests: an owning
// handle, a seeded stream, and uniforms drawn from it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "qor/qor.h"

namespace rng_public {

struct StreamDeleter {
    void operator()(qor_rng_stream* s) const { qor_rng_delete_stream(&s); }
};
using Stream = std::unique_ptr<qor_rng_stream, StreamDeleter>;

inline Stream make(int brng, uint32_t seed) {
    qor_rng_stream* s = nullptr;
    EXPECT_EQ(qor_rng_new_stream(&s, brng, seed), QOR_RNG_STATUS_OK) << std::hex << brng;
    return Stream(s);
}

inline std::vector<double> draw(qor_rng_stream* s, int n, int method = QOR_RNG_METHOD_UNIFORM_STD) {
    std::vector<double> r(n);
    EXPECT_EQ(qor_vdRngUniform(method, s, n, r.data(), 0.0, 1.0), QOR_RNG_STATUS_OK);
    return r;
}

}  // namespace rng_public
