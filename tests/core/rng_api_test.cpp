// The public random-number interface seen from an application: sequences
// against the recurrences and against the kernel library's own exports,
// skip-ahead, leapfrog, copies, saved streams, registration, the argument
// checks the core makes, and every call without kernels.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "qor/qor.h"
#include "rng_public_support.h"

namespace {

using rng_public::draw;
using rng_public::make;
using rng_public::Stream;

// The kernel library's own exports, from the copy the core loaded.
struct KernelExports {
    decltype(&__rixNewStreamEx) new_stream;
    decltype(&__rixDeleteStream) delete_stream;
    decltype(&_rixdRngUniform) d_uniform;
    decltype(&_rixsRngUniform) s_uniform;
};

class RngApi : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(qor_init(), QOR_STATUS_OK) << qor_init_detail(); }
};

TEST_F(RngApi, PublicCallsGiveTheKernelExportsSequences) {
    void* library = dlopen(qor_kernel_path(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr) << dlerror();
    const KernelExports k{reinterpret_cast<decltype(&__rixNewStreamEx)>(dlsym(library, "__rixNewStreamEx")),
                          reinterpret_cast<decltype(&__rixDeleteStream)>(dlsym(library, "__rixDeleteStream")),
                          reinterpret_cast<decltype(&_rixdRngUniform)>(dlsym(library, "_rixdRngUniform")),
                          reinterpret_cast<decltype(&_rixsRngUniform)>(dlsym(library, "_rixsRngUniform"))};
    ASSERT_TRUE(k.new_stream && k.delete_stream && k.d_uniform && k.s_uniform);
    for (int brng : {int{QOR_RNG_BRNG_MCG31M1}, int{QOR_RNG_BRNG_MCG59}, 0, 3}) {
        for (uint32_t seed : {0u, 777u, 0xFFFFFFFFu}) {
            Stream mine = make(brng, seed);
            qor_rng_stream* theirs = nullptr;
            ASSERT_EQ(k.new_stream(&theirs, brng, 1, &seed), 0);
            for (int method : {QOR_RNG_METHOD_UNIFORM_STD, QOR_RNG_METHOD_UNIFORM_STD_ACCURATE}) {
                std::vector<double> d1(1001), d2(1001);
                std::vector<float> f1(999), f2(999);
                ASSERT_EQ(qor_vdRngUniform(method, mine.get(), 1001, d1.data(), -2.0, 7.0), 0);
                ASSERT_EQ(k.d_uniform(method, theirs, 1001, d2.data(), -2.0, 7.0), 0);
                ASSERT_EQ(qor_vsRngUniform(method, mine.get(), 999, f1.data(), 0.0f, 1.0f), 0);
                ASSERT_EQ(k.s_uniform(method, theirs, 999, f2.data(), 0.0f, 1.0f), 0);
                EXPECT_EQ(d1, d2) << std::hex << brng << " seed " << seed;
                EXPECT_EQ(f1, f2) << std::hex << brng << " seed " << seed;
            }
            k.delete_stream(&theirs);
        }
    }
    dlclose(library);  // drops only the reference taken above
}

TEST_F(RngApi, SkipAheadAndLeapfrogSelectFromTheOriginalSequence) {
    const int brng = QOR_RNG_BRNG_MCG59;
    const std::vector<double> whole = draw(make(brng, 99).get(), 1100);
    Stream skipped = make(brng, 99);
    ASSERT_EQ(qor_rng_skip_ahead_stream(skipped.get(), 1000), 0);
    EXPECT_EQ(draw(skipped.get(), 100), std::vector<double>(whole.begin() + 1000, whole.end()));
    Stream leaper = make(brng, 99);
    ASSERT_EQ(qor_rng_leapfrog_stream(leaper.get(), 2, 5), 0);
    const std::vector<double> every_fifth = draw(leaper.get(), 200);
    for (int i = 0; i < 200; ++i) ASSERT_EQ(every_fifth[i], whole[2 + 5 * i]) << i;

    // Refusals leave the stream where it was.
    Stream s = make(brng, 99);
    const uint64_t words[2] = {5, 1};
    EXPECT_EQ(qor_rng_skip_ahead_stream_ex(s.get(), 2, words), QOR_RNG_STATUS_NO_SKIP_AHEAD_EX);
    EXPECT_EQ(qor_rng_leapfrog_stream(s.get(), 0, 0), QOR_RNG_STATUS_BAD_STREAM_COUNT);
    EXPECT_EQ(qor_rng_leapfrog_stream(s.get(), 5, 5), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(qor_rng_leapfrog_stream(s.get(), -1, 5), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(draw(s.get(), 10), std::vector<double>(whole.begin(), whole.begin() + 10));
}

TEST_F(RngApi, CopiesContinueIndependently) {
    Stream a = make(QOR_RNG_BRNG_MCG59, 5);
    draw(a.get(), 17);
    qor_rng_stream* raw = nullptr;
    ASSERT_EQ(qor_rng_copy_stream(&raw, a.get()), 0);
    Stream b(raw);
    EXPECT_EQ(qor_rng_get_stream_brng(b.get()), QOR_RNG_BRNG_MCG59);
    const std::vector<double> from_b = draw(b.get(), 50);
    EXPECT_EQ(draw(a.get(), 50), from_b);

    Stream c = make(QOR_RNG_BRNG_MCG59, 1);
    ASSERT_EQ(qor_rng_copy_stream_state(c.get(), a.get()), 0);
    EXPECT_EQ(draw(c.get(), 20), draw(a.get(), 20));
    EXPECT_EQ(qor_rng_copy_stream_state(c.get(), c.get()), 0);

    // A legacy identifier of the same generator is accepted; MCG31m1 is not.
    EXPECT_EQ(qor_rng_copy_stream_state(make(3, 1).get(), a.get()), 0);
    Stream other = make(QOR_RNG_BRNG_MCG31M1, 8);
    EXPECT_EQ(qor_rng_copy_stream_state(other.get(), a.get()), QOR_RNG_STATUS_BAD_BRNG);
    EXPECT_EQ(draw(other.get(), 5), draw(make(QOR_RNG_BRNG_MCG31M1, 8).get(), 5));
}

TEST_F(RngApi, SavedStreamsContinueWhereTheyStood) {
    Stream s = make(QOR_RNG_BRNG_MCG31M1, 4242);
    draw(s.get(), 37);
    const std::string path = ::testing::TempDir() + "qor_rng_api_" + std::to_string(getpid()) + ".bin";
    ASSERT_EQ(qor_rng_save_stream_file(s.get(), path.c_str()), 0);

    // An image is the generator's state size plus 8 bytes of header.
    const int size = qor_rng_get_stream_image_size(s.get());
    EXPECT_EQ(size, 24 + 8);
    std::vector<char> image(size + 1, '\x5A');
    EXPECT_EQ(qor_rng_save_stream_memory(s.get(), image.data(), size - 1), QOR_RNG_STATUS_BAD_ARGUMENT);
    EXPECT_EQ(image, std::vector<char>(size + 1, '\x5A'));
    ASSERT_EQ(qor_rng_save_stream_memory(s.get(), image.data(), size), 0);
    EXPECT_EQ(image[size], '\x5A');

    qor_rng_stream *from_file = nullptr, *from_memory = nullptr;
    ASSERT_EQ(qor_rng_load_stream_file(&from_file, path.c_str()), 0);
    ASSERT_EQ(qor_rng_load_stream_memory(&from_memory, image.data()), 0);
    Stream f(from_file), m(from_memory);
    std::remove(path.c_str());
    EXPECT_EQ(qor_rng_get_stream_brng(f.get()), QOR_RNG_BRNG_MCG31M1);
    const std::vector<double> next = draw(s.get(), 500);
    EXPECT_EQ(draw(f.get(), 500), next);
    EXPECT_EQ(draw(m.get(), 500), next);

    // Refused images leave no stream behind.
    qor_rng_stream* none = s.get();
    image[4] ^= 1;  // the signature
    EXPECT_EQ(qor_rng_load_stream_memory(&none, image.data()), QOR_RNG_STATUS_BAD_MEMORY_IMAGE);
    EXPECT_EQ(none, nullptr);
    none = s.get();
    EXPECT_EQ(qor_rng_load_stream_file(&none, (path + ".absent").c_str()), QOR_RNG_STATUS_FILE_OPEN);
    EXPECT_EQ(none, nullptr);
}

// A sized load reads nothing past the buffer: every image cut short, in
// the current and the earlier layout, with and without chunk records, is
// refused; the whole image loads.  Images of abstract streams, whose state
// holds another process's addresses, are refused by both loaders.
TEST_F(RngApi, SizedLoadsRefuseImagesLongerThanTheirBuffer) {
    Stream s = make(QOR_RNG_BRNG_MCG31M1, 77);
    std::vector<char> v2(static_cast<std::size_t>(qor_rng_get_stream_image_size(s.get())));
    ASSERT_EQ(qor_rng_save_stream_memory(s.get(), v2.data(), v2.size()), 0);
    // Version 0 with one chunk record of 3 bytes: 20-byte header, 8 state bytes, id, size, data.
    ASSERT_EQ(v2.size(), 24u + 8u);
    std::vector<char> v0(20 + 8 + 4 + 4 + 3, 'c');
    const uint32_t signature = 0x00474E52, brng = QOR_RNG_BRNG_MCG31M1, id = 9, bytes = 3;
    const uint16_t state = 8, chunks = 1;
    std::memcpy(&v0[0], "\0\0\0", 4), std::memcpy(&v0[4], &signature, 4), std::memcpy(&v0[8], "\0\0", 2);
    std::memcpy(&v0[10], &state, 2), std::memcpy(&v0[12], &chunks, 2), std::memcpy(&v0[16], &brng, 4);
    std::memcpy(&v0[20], &v2[24], 8), std::memcpy(&v0[28], &id, 4), std::memcpy(&v0[32], &bytes, 4);
    for (const std::vector<char>* image : {&v2, &v0}) {
        for (std::size_t cut = 0; cut < image->size(); ++cut) {
            qor_rng_stream* t = s.get();
            std::vector<char> exact(image->begin(), image->begin() + static_cast<std::ptrdiff_t>(cut));
            exact.reserve(1);  // a buffer, if an empty one
            EXPECT_EQ(qor_rng_load_stream_memory_sized(&t, exact.data(), cut), QOR_RNG_STATUS_BAD_MEMORY_IMAGE) << cut;
            EXPECT_EQ(t, nullptr);
        }
        qor_rng_stream* t = nullptr;
        ASSERT_EQ(qor_rng_load_stream_memory_sized(&t, image->data(), image->size()), 0);
        qor_rng_stream* copy = nullptr;
        ASSERT_EQ(qor_rng_copy_stream(&copy, s.get()), 0);
        Stream loaded(t), same(copy);
        EXPECT_EQ(draw(loaded.get(), 20), draw(same.get(), 20));
    }
    // The abstract integer stream's image: buffer and callback addresses.
    std::vector<char> abstract(v2.begin(), v2.begin() + 24);
    const uint32_t abstract_brng = QOR_RNG_BRNG_IABSTRACT, abstract_state = 32;
    std::memcpy(&abstract[12], &abstract_state, 4), std::memcpy(&abstract[20], &abstract_brng, 4);
    abstract.resize(24 + abstract_state, '\x41');
    qor_rng_stream* t = nullptr;
    EXPECT_EQ(qor_rng_load_stream_memory_sized(&t, abstract.data(), abstract.size()), QOR_RNG_STATUS_BAD_MEMORY_IMAGE);
    const std::string path = ::testing::TempDir() + "qor_abstract_" + std::to_string(getpid()) + ".img";
    std::FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(abstract.data(), 1, abstract.size(), f);
    std::fclose(f);
    EXPECT_EQ(qor_rng_load_stream_file(&t, path.c_str()), QOR_RNG_STATUS_BAD_STREAM_IMAGE);
    EXPECT_EQ(t, nullptr);
    // A file whose chunk record announces 2^31 bytes it does not hold is a
    // short read, refused before the block is allocated (a fuzzing find).
    const uint32_t huge = 0x80000000u;
    std::memcpy(&v0[32], &huge, 4);
    f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(v0.data(), 1, v0.size(), f);
    std::fclose(f);
    EXPECT_EQ(qor_rng_load_stream_file(&t, path.c_str()), QOR_RNG_STATUS_FILE_READ);
    std::remove(path.c_str());
    EXPECT_EQ(t, nullptr);
}

TEST_F(RngApi, UnknownAndUnavailableGeneratorsAreRefused) {
    qor_rng_brng_properties p{};

    // A registered generator whose initialiser refuses, as one a build
    // cannot provide does: the stream made for it is deleted again.
    const qor_rng_brng_properties refusing = {
        24, 1, 1, 4, 32, [](uint32_t, qor_rng_stream*, int32_t, const uint32_t*) { return int32_t{QOR_RNG_STATUS_BAD_BRNG}; },
        [](qor_rng_stream*, int32_t, float*, float, float) { return int32_t{0}; },
        [](qor_rng_stream*, int32_t, double*, double, double) { return int32_t{0}; },
        [](qor_rng_stream*, int32_t, void*) { return int32_t{0}; }};
    const int refused = qor_rng_register_brng(&refusing);
    ASSERT_GT(refused, 0);

    // Member 1 of a one-member row, a row never registered, a legacy slot
    // past the table, an empty legacy slot, an abstract generator, a member
    // past a family's count, a generator that refuses its seeding.
    for (int brng : {int{QOR_RNG_BRNG_MCG31M1} + 1, 0x1F000000, -1, 281, 279, int{QOR_RNG_BRNG_IABSTRACT},
                     int{QOR_RNG_BRNG_WH} + 273, refused}) {
        qor_rng_stream* s = reinterpret_cast<qor_rng_stream*>(&p);
        EXPECT_EQ(qor_rng_new_stream(&s, brng, 1), QOR_RNG_STATUS_BAD_BRNG) << brng;
        EXPECT_EQ(s, nullptr) << brng;
    }
    EXPECT_EQ(qor_rng_get_brng_properties(0x1F000000, &p), QOR_RNG_STATUS_BAD_BRNG);
}

TEST_F(RngApi, NullPointersAndBadCountsAreRefused) {
    Stream s = make(QOR_RNG_BRNG_MCG31M1, 3);
    qor_rng_stream* out = nullptr;
    qor_rng_stream* null_stream = nullptr;
    char buffer[64] = {};
    const int bad = QOR_RNG_STATUS_BAD_ARGUMENT;
    EXPECT_EQ(qor_rng_new_stream(nullptr, QOR_RNG_BRNG_MCG31M1, 1), bad);
    EXPECT_EQ(qor_rng_new_stream_ex(&out, QOR_RNG_BRNG_MCG31M1, 2, nullptr), bad);
    EXPECT_EQ(qor_rng_new_stream_ex(&out, QOR_RNG_BRNG_MCG31M1, -1, nullptr), bad);
    EXPECT_EQ(qor_rng_copy_stream(nullptr, s.get()), bad);
    EXPECT_EQ(qor_rng_copy_stream(&out, nullptr), bad);
    EXPECT_EQ(qor_rng_copy_stream_state(s.get(), nullptr), bad);
    EXPECT_EQ(qor_rng_copy_stream_state(nullptr, s.get()), bad);
    EXPECT_EQ(qor_rng_delete_stream(nullptr), bad);
    EXPECT_EQ(qor_rng_delete_stream(&null_stream), bad);
    EXPECT_EQ(qor_rng_leapfrog_stream(nullptr, 0, 2), bad);
    EXPECT_EQ(qor_rng_skip_ahead_stream(nullptr, 5), bad);
    EXPECT_EQ(qor_rng_skip_ahead_stream_ex(nullptr, 0, nullptr), bad);
    EXPECT_EQ(qor_rng_skip_ahead_stream_ex(s.get(), 1, nullptr), bad);
    EXPECT_EQ(qor_rng_skip_ahead_stream_ex(s.get(), -1, nullptr), bad);
    EXPECT_EQ(qor_rng_get_stream_brng(nullptr), bad);
    EXPECT_EQ(qor_rng_save_stream_file(nullptr, "x"), bad);
    EXPECT_EQ(qor_rng_save_stream_file(s.get(), nullptr), bad);
    EXPECT_EQ(qor_rng_load_stream_file(nullptr, "x"), bad);
    EXPECT_EQ(qor_rng_load_stream_file(&out, nullptr), bad);
    EXPECT_EQ(qor_rng_get_stream_image_size(nullptr), bad);
    EXPECT_EQ(qor_rng_save_stream_memory(nullptr, buffer, sizeof buffer), bad);
    EXPECT_EQ(qor_rng_save_stream_memory(s.get(), nullptr, sizeof buffer), bad);
    EXPECT_EQ(qor_rng_load_stream_memory(nullptr, buffer), bad);
    EXPECT_EQ(qor_rng_load_stream_memory(&out, nullptr), bad);
    EXPECT_EQ(qor_rng_get_brng_properties(QOR_RNG_BRNG_MCG31M1, nullptr), bad);
    EXPECT_EQ(qor_rng_register_brng(nullptr), bad);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(draw(s.get(), 3), draw(make(QOR_RNG_BRNG_MCG31M1, 3).get(), 3));  // untouched
}

template <class T, class F>
void expect_uniform_checks(F uniform) {
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    const T big = std::numeric_limits<T>::max();
    Stream s = make(QOR_RNG_BRNG_MCG31M1, 11);
    std::vector<T> r(4, T(-9));
    struct Case {
        int method, n;
        bool null_stream, null_r;
        T a, b;
        int status;
    };
    const Case cases[] = {
        {1, 4, false, false, 0, 1, QOR_RNG_STATUS_BAD_METHOD},
        {QOR_RNG_METHOD_ACCURATE | 1, 4, false, false, 0, 1, QOR_RNG_STATUS_BAD_METHOD},
        {-1, 4, false, false, 0, 1, QOR_RNG_STATUS_BAD_METHOD},
        {0, -1, false, false, 0, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, true, false, 0, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, true, 0, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, 1, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, 2, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, nan, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, 0, nan, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, -inf, 1, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, 0, inf, QOR_RNG_STATUS_BAD_ARGUMENT},
        {0, 4, false, false, -big, big, QOR_RNG_STATUS_BAD_ARGUMENT},  // width overflows
        {0, 0, false, true, 0, 1, QOR_RNG_STATUS_OK},                  // nothing to write
    };
    for (const Case& c : cases) {
        EXPECT_EQ(uniform(c.method, c.null_stream ? nullptr : s.get(), c.n, c.null_r ? nullptr : r.data(), c.a, c.b),
                  c.status)
            << "method " << c.method << " n " << c.n << " a " << c.a << " b " << c.b;
    }
    EXPECT_EQ(r, std::vector<T>(4, T(-9)));
    EXPECT_EQ(draw(s.get(), 3), draw(make(QOR_RNG_BRNG_MCG31M1, 11).get(), 3));  // not advanced
}

TEST_F(RngApi, UniformChecksMethodCountOutputAndBounds) {
    expect_uniform_checks<double>(qor_vdRngUniform);
    expect_uniform_checks<float>(qor_vsRngUniform);
}

// The Gaussian's own checks: a method 0 to 2 without the accurate flag, a
// finite mean and a positive finite deviation; the output and the stream
// stay as they were on a refusal.
template <class T, class F>
void expect_gaussian_checks(F gaussian) {
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    Stream s = make(QOR_RNG_BRNG_MCG31M1, 11);
    std::vector<T> r(4, T(-9));
    const struct {
        int method;
        T a, sigma;
        int status;
    } cases[] = {{3, 0, 1, QOR_RNG_STATUS_BAD_METHOD},   {QOR_RNG_METHOD_ACCURATE, 0, 1, QOR_RNG_STATUS_BAD_METHOD},
                 {0, 0, 0, QOR_RNG_STATUS_BAD_ARGUMENT}, {1, 0, -1, QOR_RNG_STATUS_BAD_ARGUMENT},
                 {2, 0, nan, QOR_RNG_STATUS_BAD_ARGUMENT}, {2, 0, inf, QOR_RNG_STATUS_BAD_ARGUMENT},
                 {2, nan, 1, QOR_RNG_STATUS_BAD_ARGUMENT}, {0, -inf, 1, QOR_RNG_STATUS_BAD_ARGUMENT}};
    for (const auto& c : cases)
        EXPECT_EQ(gaussian(c.method, s.get(), 4, r.data(), c.a, c.sigma), c.status) << c.method << " " << c.sigma;
    EXPECT_EQ(r, std::vector<T>(4, T(-9)));
    EXPECT_EQ(draw(s.get(), 3), draw(make(QOR_RNG_BRNG_MCG31M1, 11).get(), 3));
    EXPECT_EQ(gaussian(2, s.get(), 4, r.data(), T(1), T(1e-30)), 0);
}

TEST_F(RngApi, GaussianChecksMethodAndParameters) {
    expect_gaussian_checks<double>(qor_vdRngGaussian);
    expect_gaussian_checks<float>(qor_vsRngGaussian);
}

// A registered generator: its state counts the values handed out, its real
// fills give a + (b - a) * count / 4 and fail past 1000 values.
struct CountingGenerator {
    static int32_t init(uint32_t method, qor_rng_stream* s, int32_t n, const uint32_t* params) {
        if (method != 0) return QOR_RNG_STATUS_BAD_METHOD;
        *counter(s) = n > 0 ? params[0] : 0;
        return 0;
    }
    template <class T>
    static int32_t fill(qor_rng_stream* s, int32_t n, T* r, T a, T b) {
        if (*counter(s) + n > 1000) return QOR_RNG_STATUS_BAD_ARGUMENT - 100;
        for (int32_t i = 0; i < n; ++i) r[i] = a + (b - a) * T((*counter(s))++ % 4) / 4;
        return 0;
    }
    static int32_t fill_int(qor_rng_stream*, int32_t, void*) { return 0; }
    static uint32_t* counter(qor_rng_stream* s) { return reinterpret_cast<uint32_t*>(s + 1); }
    static qor_rng_brng_properties row() { return {24, 1, 1, 4, 32, init, fill<float>, fill<double>, fill_int}; }
};

TEST_F(RngApi, RegisteredGeneratorsServeStreamsAndDistributions) {
    const int rows = qor_rng_get_brng_count();
    const qor_rng_brng_properties p = CountingGenerator::row();
    const int id = qor_rng_register_brng(&p);
    EXPECT_EQ(id, (rows + 1) << 20);
    EXPECT_EQ(qor_rng_get_brng_count(), rows + 1);
    Stream s = make(id, 2);
    std::vector<double> r(6);
    ASSERT_EQ(qor_vdRngUniform(0, s.get(), 6, r.data(), 10.0, 18.0), 0);
    EXPECT_EQ(r, (std::vector<double>{14, 16, 10, 12, 14, 16}));
    std::vector<float> f(1000);
    EXPECT_EQ(qor_vsRngUniform(0, s.get(), 1000, f.data(), 0.0f, 1.0f), QOR_RNG_STATUS_BAD_ARGUMENT - 100);

    // Registrations from several threads each get a row of their own.
    std::vector<int> ids(32);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&ids, &p, t] {
            for (int i = 0; i < 8; ++i) ids[8 * t + i] = qor_rng_register_brng(&p);
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(std::set<int>(ids.begin(), ids.end()).size(), 32u);
    EXPECT_EQ(qor_rng_get_brng_count(), rows + 33);
}

// Run in a fresh process: the kernel directory points where there is no
// kernel library.
void exercise_without_kernels(const std::string& empty_dir) {
    setenv("QOR_KERNEL_DIR", empty_dir.c_str(), 1);
    const int expected = QOR_STATUS_KERNEL_NOT_FOUND;
    int failures = 0;
    auto check = [&](int status) { failures += status == expected ? 0 : 1; };
    qor_rng_stream dummy{};
    qor_rng_stream* s = &dummy;
    qor_rng_brng_properties p{};
    uint64_t words[1] = {1};
    char buffer[64] = {};
    double r[2] = {-7, -7};
    float f[2] = {-7, -7};
    // Each call that creates a stream nulls the caller's pointer.
    auto check_creation = [&](int status) {
        check(status);
        failures += s == nullptr ? 0 : 1;
        s = &dummy;
    };
    check_creation(qor_rng_new_stream(&s, QOR_RNG_BRNG_MCG31M1, 1));
    check_creation(qor_rng_new_stream_ex(&s, QOR_RNG_BRNG_MCG31M1, 0, nullptr));
    check_creation(qor_rng_copy_stream(&s, &dummy));
    check_creation(qor_rng_load_stream_file(&s, "x"));
    check_creation(qor_rng_load_stream_memory(&s, buffer));
    check(qor_rng_copy_stream_state(&dummy, &dummy));
    check(qor_rng_delete_stream(&s));
    failures += s == &dummy ? 0 : 1;
    check(qor_rng_leapfrog_stream(&dummy, 0, 2));
    check(qor_rng_skip_ahead_stream(&dummy, 4));
    check(qor_rng_skip_ahead_stream_ex(&dummy, 1, words));
    check(qor_rng_get_stream_brng(&dummy));
    check(qor_rng_save_stream_file(&dummy, "x"));
    check(qor_rng_get_stream_image_size(&dummy));
    check(qor_rng_save_stream_memory(&dummy, buffer, sizeof buffer));
    check(qor_rng_get_brng_properties(QOR_RNG_BRNG_MCG31M1, &p));
    check(qor_rng_get_brng_count());
    check(qor_rng_register_brng(&p));
    check(qor_vdRngUniform(0, &dummy, 2, r, 0.0, 1.0));
    check(qor_vsRngUniform(0, &dummy, 2, f, 0.0f, 1.0f));
    failures += (r[0] == -7 && r[1] == -7 && f[0] == -7 && f[1] == -7) ? 0 : 1;
    std::fprintf(stderr, "%d failed checks\n", failures);
    std::exit(failures == 0 ? 0 : 1);
}

TEST(RngApiDeathTest, WithoutKernelsEveryCallReturnsTheInitStatus) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string dir = ::testing::TempDir() + "qor_no_kernels";
    EXPECT_EXIT(exercise_without_kernels(dir), ::testing::ExitedWithCode(0), "0 failed checks");
}

}  // namespace
