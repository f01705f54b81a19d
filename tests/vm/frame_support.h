// Helpers shared by the tests of the vector-math frame: a fresh thread for
// a pristine per-thread state, a scoped environment variable, capture of
// standard error, and access to the x87 and SSE control registers.
#pragma once

#include <unistd.h>
#include <xmmintrin.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "qor/qor_vm.h"

namespace frame_test {

// Runs f on a newly started thread and waits for it.  A new thread has no
// vector-math state yet, so it starts from the environment.
template <class F>
void on_fresh_thread(F&& f) {
    std::thread t(std::forward<F>(f));
    t.join();
}

// Sets (or, with nullptr, removes) an environment variable for the scope.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        if (value) setenv(name, value, 1); else unsetenv(name);
    }
    ~ScopedEnv() {
        if (old_) setenv(name_.c_str(), old_->c_str(), 1); else unsetenv(name_.c_str());
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    std::optional<std::string> old_;
};

// Everything written to file descriptor 2 while f runs.
template <class F>
std::string capture_stderr(F&& f) {
    std::fflush(stderr);
    std::FILE* file = std::tmpfile();
    if (!file) return "<tmpfile failed>";
    const int saved = dup(2);
    dup2(fileno(file), 2);
    f();
    std::fflush(stderr);
    dup2(saved, 2);
    close(saved);
    std::string text;
    std::rewind(file);
    char chunk[512];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, file)) > 0;) text.append(chunk, got);
    std::fclose(file);
    return text;
}

// ---- x87 and SSE control and status ---------------------------------------
constexpr uint16_t kX87Invalid = 0x01;
constexpr uint16_t kX87ZeroDivide = 0x04;
constexpr uint16_t kX87Overflow = 0x08;
constexpr uint16_t kX87Underflow = 0x10;
constexpr uint16_t kX87Flags = 0x3F;

inline uint16_t x87_status() {
    uint16_t sw;
    asm volatile("fnstsw %0" : "=m"(sw));
    return sw;
}
inline void x87_clear() { asm volatile("fnclex" ::: "memory"); }
inline uint16_t x87_control() {
    uint16_t cw;
    asm volatile("fnstcw %0" : "=m"(cw));
    return cw;
}
inline void x87_set_control(uint16_t cw) { asm volatile("fldcw %0" : : "m"(cw) : "memory"); }

constexpr uint32_t kMxcsrFlags = 0x3F;
constexpr uint32_t kMxcsrOverflow = 0x08;
constexpr uint32_t kMxcsrInexact = 0x20;

inline uint32_t mxcsr() { return _mm_getcsr(); }
inline void set_mxcsr(uint32_t v) { _mm_setcsr(v); }

// ---- a callback that records what it is given ------------------------------
// Per thread, so that tests on different threads do not see each other's
// reports.
struct CallbackLog {
    static inline thread_local std::vector<qor_vm_error_record> records;
    static inline thread_local int32_t answer = 0;                 // returned to the reporter
    static inline thread_local std::optional<double> replacement;  // written to res1

    static int32_t callback(qor_vm_error_record* r) {
        records.push_back(*r);
        if (replacement) r->res1 = *replacement;
        return answer;
    }
    static void reset() {
        records.clear();
        answer = 0;
        replacement.reset();
    }
};

}  // namespace frame_test
