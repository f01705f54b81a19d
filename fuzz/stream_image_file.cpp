// Saved-stream files: any bytes written to a file must load or be refused
// with a status; a stream that loads must draw numbers and be deleted.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "qor/qor.h"

namespace {

// One file per process, so that fuzzing jobs side by side do not meet.
const std::string& scratch_path() {
    static const std::string path = [] {
        const char* dir = std::getenv("TMPDIR");
        return std::string(dir && *dir ? dir : "/tmp") + "/qor_fuzz_stream_" + std::to_string(getpid()) + ".img";
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string& path = scratch_path();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return 0;
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
    qor_rng_stream* s = nullptr;
    const int status = qor_rng_load_stream_file(&s, path.c_str());
    std::remove(path.c_str());
    if (status != QOR_RNG_STATUS_OK) {
        if (s) __builtin_trap();  // a refused file leaves no stream
        return 0;
    }
    double r[8];
    qor_vdRngUniform(0, s, 8, r, -1.0, 1.0);
    int32_t k[8];
    qor_viRngPoisson(0, s, 8, k, 3.5);
    qor_rng_delete_stream(&s);
    return 0;
}
