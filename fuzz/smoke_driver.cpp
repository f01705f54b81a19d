// Runs a fuzz target without libFuzzer, for the test suite: every input of
// its seed corpus, then a fixed number of deterministic mutations of them
// (bit flips, byte changes, truncations, insertions, splices), so that any
// compiler and sanitizer build exercises the target the same way each time.
//   fuzz_<target> CORPUS_DIR [MUTATIONS]
// With QOR_FUZZ_LAST set, each input is written to that file before it
// runs, so that the input of a crash is left there.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

namespace {

void run(const std::vector<uint8_t>& input) {
    static const char* last = std::getenv("QOR_FUZZ_LAST");
    if (last) {
        std::ofstream out(last, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(input.data()), static_cast<std::streamsize>(input.size()));
    }
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

using Bytes = std::vector<uint8_t>;

// xorshift64*: a fixed sequence, so that a failing mutation is found again.
struct Random {
    uint64_t s = 0x9E3779B97F4A7C15u;
    uint64_t next() {
        s ^= s >> 12, s ^= s << 25, s ^= s >> 27;
        return s * 0x2545F4914F6CDD1Du;
    }
    std::size_t below(std::size_t n) { return n ? static_cast<std::size_t>(next() % n) : 0; }
};

Bytes mutate(const std::vector<Bytes>& corpus, Random& rnd) {
    Bytes b = corpus[rnd.below(corpus.size())];
    const int edits = 1 + static_cast<int>(rnd.below(4));
    for (int e = 0; e < edits; ++e) {
        switch (rnd.below(6)) {
            case 0:  // flip a bit
                if (!b.empty()) b[rnd.below(b.size())] ^= static_cast<uint8_t>(1u << rnd.below(8));
                break;
            case 1:  // an interesting byte
                if (!b.empty()) {
                    static const uint8_t kBytes[] = {0, 1, 2, 0x7F, 0x80, 0xFF};
                    b[rnd.below(b.size())] = kBytes[rnd.below(sizeof kBytes)];
                }
                break;
            case 2:  // truncate
                b.resize(rnd.below(b.size() + 1));
                break;
            case 3: {  // insert random bytes
                const std::size_t at = rnd.below(b.size() + 1), n = 1 + rnd.below(8);
                Bytes extra(n);
                for (uint8_t& x : extra) x = static_cast<uint8_t>(rnd.next());
                b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), extra.begin(), extra.end());
                break;
            }
            case 4: {  // splice: the head of this input, the tail of another
                const Bytes& other = corpus[rnd.below(corpus.size())];
                const std::size_t cut = rnd.below(b.size() + 1), from = rnd.below(other.size() + 1);
                b.resize(cut);
                b.insert(b.end(), other.begin() + static_cast<std::ptrdiff_t>(from), other.end());
                break;
            }
            default:  // overwrite a 32-bit word
                if (b.size() >= 4) {
                    const uint32_t w = static_cast<uint32_t>(rnd.next() >> rnd.below(32));
                    std::copy_n(reinterpret_cast<const uint8_t*>(&w), 4, b.begin() + static_cast<std::ptrdiff_t>(rnd.below(b.size() - 3)));
                }
                break;
        }
    }
    return b;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR [MUTATIONS]\n", argv[0]);
        return 2;
    }
    const long mutations = argc > 2 ? std::atol(argv[2]) : 10000;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<Bytes> corpus;
    for (const auto& path : files) {
        std::ifstream in(path, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        run(corpus.back());
    }
    if (corpus.empty()) corpus.emplace_back();
    Random rnd;
    for (long i = 0; i < mutations; ++i) {
        run(mutate(corpus, rnd));
    }
    std::printf("%zu seed inputs and %ld mutations ran\n", files.size(), mutations);
    return 0;
}
