// qor.random: streams of the basic generators with the distributions as
// methods that fill NumPy arrays, and the buffer behind qor's NumPy bit
// generators (a bitgen_t record handed to numpy.random.Generator through a
// capsule named "BitGenerator").
#include <qor/qor.h>
#include <qor/qor_random.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common.h"

namespace qor_python {
namespace {

// NumPy's bit-generator record (numpy/random/bitgen.h), its stable interface.
struct bitgen_t {
    void* state;
    uint64_t (*next_uint64)(void* state);
    uint32_t (*next_uint32)(void* state);
    double (*next_double)(void* state);
    uint64_t (*next_raw)(void* state);
};

struct Generator {
    const char* name;
    int brng;
};
// Names as Python users write them; families take a member number.
constexpr Generator kGenerators[] = {
    {"mcg31m1", QOR_RNG_BRNG_MCG31M1},   {"r250", QOR_RNG_BRNG_R250},
    {"mrg32k3a", QOR_RNG_BRNG_MRG32K3A}, {"mcg59", QOR_RNG_BRNG_MCG59},
    {"wh", QOR_RNG_BRNG_WH},             {"sobol", QOR_RNG_BRNG_SOBOL},
    {"niederreiter", QOR_RNG_BRNG_NIEDERR}, {"mt19937", QOR_RNG_BRNG_MT19937},
    {"mt2203", QOR_RNG_BRNG_MT2203},     {"sfmt19937", QOR_RNG_BRNG_SFMT19937},
    {"nondeterministic", QOR_RNG_BRNG_NONDETERM}, {"ars5", QOR_RNG_BRNG_ARS5},
    {"philox4x32x10", QOR_RNG_BRNG_PHILOX4X32X10},
};

int brng_of(const std::string& name, int member) {
    for (const auto& g : kGenerators)
        if (name == g.name) {
            if (member < 0) throw py::value_error("qor.random: a negative member number");
            return g.brng + member;
        }
    throw py::value_error("qor.random: unknown generator '" + name + "'");
}

// A Python integer as little-endian 32-bit words (at least one).
std::vector<uint32_t> words_of(const py::int_& value, const char* name) {
    if (py::int_(value) < py::int_(0)) throw py::value_error(std::string("qor.random: ") + name + " must not be negative");
    std::vector<uint32_t> words;
    py::int_ rest = value;
    const py::int_ mask(0xFFFFFFFFu), shift(32);
    do {
        words.push_back(py::cast<uint32_t>(rest.attr("__and__")(mask)));
        rest = rest.attr("__rshift__")(shift);
    } while (py::cast<bool>(rest));
    return words;
}

class Stream {
public:
    Stream(const std::string& generator, py::object seed, int member) {
        const int brng = brng_of(generator, member);
        std::vector<uint32_t> params;
        if (py::isinstance<py::int_>(seed)) params = words_of(seed, "seed");
        else for (const auto& word : seed) params.push_back(py::cast<uint32_t>(word));
        check("qor.random.Stream", qor_rng_new_stream_ex(&stream_, brng, int64_t(params.size()), params.data()));
    }
    explicit Stream(qor_rng_stream* adopted) : stream_(adopted) {}
    Stream(const Stream&) = delete;
    ~Stream() { qor_rng_delete_stream(&stream_); }

    qor_rng_stream* get() const { return stream_; }

    std::unique_ptr<Stream> copy() const {
        qor_rng_stream* c = nullptr;
        check("qor.random.Stream.copy", qor_rng_copy_stream(&c, stream_));
        return std::make_unique<Stream>(c);
    }
    py::bytes save() const {
        const int size = qor_rng_get_stream_image_size(stream_);
        if (size < 0) raise_status("qor.random.Stream.save", size);
        std::string image(size_t(size), '\0');
        check("qor.random.Stream.save", qor_rng_save_stream_memory(stream_, image.data(), image.size()));
        return py::bytes(image);
    }
    // Images are read back from a file: the file's length bounds what the
    // loader reads, whatever the image's header claims.
    static std::unique_ptr<Stream> load_file(const std::string& path) {
        qor_rng_stream* s = nullptr;
        check("qor.random.Stream.load", qor_rng_load_stream_file(&s, path.c_str()));
        return std::make_unique<Stream>(s);
    }
    void skip_ahead(const py::int_& count) {
        const std::vector<uint32_t> w = words_of(count, "the skip count");
        std::vector<uint64_t> words((w.size() + 1) / 2);
        for (size_t k = 0; k < w.size(); ++k) words[k / 2] |= uint64_t(w[k]) << (32 * (k % 2));
        check("qor.random.Stream.skip_ahead",
              words.size() == 1 ? qor_rng_skip_ahead_stream(stream_, words[0])
                                : qor_rng_skip_ahead_stream_ex(stream_, int64_t(words.size()), words.data()));
    }
    void leapfrog(int k, int nstreams) {
        check("qor.random.Stream.leapfrog", qor_rng_leapfrog_stream(stream_, k, nstreams));
    }
    int brng() const { return qor_rng_get_stream_brng(stream_); }

private:
    qor_rng_stream* stream_ = nullptr;
};

// ---- Distributions, one filler per form of the distribution list --------------------

// Calls a distribution's public form with its parameters taken from q
// (numbers) and v (arrays: Poisson means, multinomial probabilities, the
// Gaussian's mean and factor).
using Filler = int (*)(int method, qor_rng_stream* s, int64_t n, void* r, const double* q, const void* const* v);

struct Distribution {
    const char* name;
    char form;  // d, s or i
    Filler fill;
    int item_size;
};

#define QOR_PY_ARGS_a_b(T) , T(q[0]), T(q[1])
#define QOR_PY_ARGS_a_sigma(T) , T(q[0]), T(q[1])
#define QOR_PY_ARGS_a_beta(T) , T(q[0]), T(q[1])
#define QOR_PY_ARGS_alpha_a_beta(T) , T(q[0]), T(q[1]), T(q[2])
#define QOR_PY_ARGS_a_sigma_b_beta(T) , T(q[0]), T(q[1]), T(q[2]), T(q[3])
#define QOR_PY_ARGS_p_q_a_beta(T) , T(q[0]), T(q[1]), T(q[2]), T(q[3])
#define QOR_PY_ARGS_nu(T) , int32_t(q[0])
#define QOR_PY_ARGS_mv(T) , int32_t(q[0]), int32_t(q[1]), static_cast<const T*>(v[0]), static_cast<const T*>(v[1])
#define QOR_PY_ARGS_none(T)
#define QOR_PY_ARGS_p(T) , q[0]
#define QOR_PY_ARGS_ntrial_p(T) , int32_t(q[0]), q[1]
#define QOR_PY_ARGS_l_s_m(T) , int32_t(q[0]), int32_t(q[1]), int32_t(q[2])
#define QOR_PY_ARGS_lambda(T) , q[0]
#define QOR_PY_ARGS_lambdas(T) , static_cast<const double*>(v[0])
#define QOR_PY_ARGS_a_p(T) , q[0], q[1]
#define QOR_PY_ARGS_ntrial_k_p(T) , int32_t(q[0]), int32_t(q[1]), static_cast<const double*>(v[0])

#define QOR_PY_FORM(px, T, Name, params)                                                              \
    {#Name, #px[0],                                                                                   \
     [](int method, qor_rng_stream* s, int64_t n, void* r, const double* q, const void* const* v) {   \
         (void)q, (void)v;                                                                            \
         return qor_v##px##Rng##Name(method, s, n, static_cast<T*>(r) QOR_PY_ARGS_##params(T));       \
     },                                                                                               \
     int(sizeof(T))},
#define QOR_PY_DISTRIBUTION(Name, output, params, check, methods, accurate) \
    QOR_RNG_DIST_FORMS_##output(QOR_PY_FORM, Name, params)
const Distribution kDistributions[] = {QOR_RNG_DISTRIBUTIONS(QOR_PY_DISTRIBUTION)};
#undef QOR_PY_DISTRIBUTION
#undef QOR_PY_FORM

// n variates of width values each into a new one-dimensional array of the
// form's type, with the GIL released; the Python side shapes it.
py::array fill(Stream& stream, const std::string& name, char form, int64_t n, int64_t width,
               const std::vector<double>& numbers, const std::vector<py::array>& arrays, int method) {
    for (const auto& d : kDistributions) {
        if (name != d.name || form != d.form) continue;
        if (n < 0 || width < 1) throw py::value_error("qor.random: size must not be negative");
        py::dtype type = d.form == 'd'   ? py::dtype::of<double>()
                         : d.form == 's' ? py::dtype::of<float>()
                         : d.item_size == 8 ? py::dtype::of<uint64_t>()
                         : name.rfind("UniformBits", 0) == 0 ? py::dtype::of<uint32_t>()
                                                              : py::dtype::of<int32_t>();
        const int64_t units = name == "UniformBits" ? n : n * width;
        py::array r(type, std::vector<py::ssize_t>{py::ssize_t(units)});
        double q[4] = {};
        std::copy_n(numbers.begin(), std::min<size_t>(numbers.size(), 4), q);
        const void* v[2] = {};
        for (size_t k = 0; k < arrays.size() && k < 2; ++k) v[k] = arrays[k].data();
        int status = 0;
        {
            py::gil_scoped_release unlocked;
            if (n > 0) status = d.fill(method, stream.get(), n, r.mutable_data(), q, v);
        }
        check(("qor.random." + name).c_str(), status);
        return r;
    }
    throw py::value_error("qor.random: no distribution " + name + " of form " + form);
}

// ---- The buffer behind a NumPy bit generator --------------------------------------

struct BitBuffer {
    static constexpr int kWords = 1024;
    bitgen_t record{};
    Stream* stream;
    int position = kWords;
    int status = 0;
    uint32_t words[kWords];

    explicit BitBuffer(Stream* s) : stream(s) {
        record.state = this;
        record.next_uint32 = [](void* st) { return static_cast<BitBuffer*>(st)->next(); };
        record.next_uint64 = [](void* st) {
            auto* b = static_cast<BitBuffer*>(st);
            const uint64_t low = b->next();
            return low | uint64_t(b->next()) << 32;
        };
        record.next_raw = record.next_uint64;
        record.next_double = [](void* st) {
            auto* b = static_cast<BitBuffer*>(st);
            const uint64_t low = b->next();
            const uint64_t bits = low | uint64_t(b->next()) << 32;
            return double(bits >> 11) * 0x1p-53;
        };
    }
    uint32_t next() {
        if (position == kWords) {
            // A generator that cannot fill (hardware entropy exhausted)
            // leaves its status for the Python side to raise.
            status = qor_viRngUniformBits32(0, stream->get(), kWords, words);
            position = 0;
        }
        return words[position++];
    }
};

}  // namespace

void bind_random(py::module_& m) {
    py::class_<Stream>(m, "_Stream")
        .def(py::init<const std::string&, py::object, int>(), py::arg("generator") = "mt19937",
             py::arg("seed") = 1, py::arg("member") = 0)
        .def("copy", &Stream::copy)
        .def("save", &Stream::save, "The stream's image as bytes (Stream.load reads it back).")
        .def_static("load_file", &Stream::load_file, py::arg("path"))
        .def("skip_ahead", &Stream::skip_ahead, py::arg("count"))
        .def("leapfrog", &Stream::leapfrog, py::arg("k"), py::arg("nstreams"))
        .def_property_readonly("brng", &Stream::brng)
        .def("_fill", &fill);
    m.def("_generators", [] {
        py::list names;
        for (const auto& g : kGenerators) names.append(g.name);
        return names;
    });
    py::class_<BitBuffer>(m, "_BitBuffer")
        .def(py::init([](Stream& s) { return std::make_unique<BitBuffer>(&s); }), py::keep_alive<1, 2>())
        .def_property_readonly("capsule",
                               [](BitBuffer& b) { return py::capsule(&b.record, "BitGenerator"); })
        .def_property_readonly("status", [](const BitBuffer& b) { return b.status; })
        .def("buffered", [](const BitBuffer& b) {
            return py::array_t<uint32_t>(BitBuffer::kWords - b.position, b.words + b.position);
        })
        .def("restore", [](BitBuffer& b, py::array_t<uint32_t, py::array::c_style | py::array::forcecast> rest) {
            if (rest.size() > BitBuffer::kWords) throw py::value_error("qor.random: bad bit generator state");
            b.position = BitBuffer::kWords - int(rest.size());
            std::copy_n(rest.data(), rest.size(), b.words + b.position);
        })
        .def("random_raw", [](BitBuffer& b, int64_t n) {
            py::array_t<uint64_t> r(n);
            auto* out = r.mutable_data();
            for (int64_t k = 0; k < n; ++k) out[k] = b.record.next_raw(&b);
            return r;
        });
}

}  // namespace qor_python
