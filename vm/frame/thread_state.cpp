// Creation of per-thread state records and the mode word's first value.
#include "thread_state.h"

#include <atomic>
#include <cstring>

#include "platform.h"
#include "qor/qor_serv.h"

namespace qor::vm {
namespace {

// The three process-wide locks: environment, slot, heap.
volatile int32_t env_lock = 0;
volatile int32_t slot_lock = 0;
volatile int32_t heap_lock = 0;

constexpr int kEnvBufferSize = 256;
constexpr uint64_t kUnusable = ~uint64_t{0};

struct ModeToken {
    const char* name;
    uint32_t value;
};

// Tried in this order; the first whose name prefixes the text wins.  The
// sixth name is 16 characters long on purpose.
constexpr ModeToken kTokens[] = {
    {"LA", 0x1},
    {"HA", 0x2},
    {"EP", 0x3},
    {"DEFAULT_PRECISION", 0x0},
    {"FLOAT_CONSISTENT", 0x10},
    {"DOUBLE_CONSISTEN", 0x20},
    {"RESTORE", 0x30},
    {"ERRMODE_IGNORE", 0x100},
    {"ERRMODE_ERRNO", 0x200},
    {"ERRMODE_STDERR", 0x400},
    {"ERRMODE_EXCEPT", 0x800},
    {"ERRMODE_CALLBACK", 0x1000},
    {"ERRMODE_NOERR", 0x2000},
    {"ERRMODE_DEFAULT", 0x1A00},
    {"TRAP_INVALID", 0x1000000},
    {"TRAP_DIVBYZERO", 0x2000000},
    {"TRAP_OVERFLOW", 0x4000000},
    {"TRAP_UNDERFLOW", 0x8000000},
};

#if !defined(_WIN32)
void new_generation() { slot_generation.fetch_add(1, std::memory_order_acq_rel); }
#else
void new_generation() {}
#endif

[[noreturn]] void fail_state() {
    qor_serv_print(1, 773);
    qor_serv_exit(3);
    __builtin_unreachable();
}

}  // namespace

uint64_t parse_mode_string(const char* text) {
    uint64_t acc = 0;
    std::size_t pos = 0;
    for (;;) {
        if (std::strncmp(text + pos, "LUM_", 4) != 0) return kUnusable;
        pos += 4;
        const ModeToken* match = nullptr;
        for (const ModeToken& t : kTokens) {
            std::size_t len = std::strlen(t.name);
            if (pos + len < kEnvBufferSize - 1 && std::strncmp(text + pos, t.name, len) == 0) {
                match = &t;
                break;
            }
        }
        if (!match) return kUnusable;
        pos += std::strlen(match->name);
        acc |= match->value;
        if (text[pos] == '\0') return acc;
        if (text[pos] != ',') return kUnusable;
        ++pos;
    }
}

uint32_t initial_mode(uint64_t parsed) {
    if (parsed == kUnusable) return QOR_VM_MODE_DEFAULT;
    uint32_t mode = static_cast<uint32_t>(parsed);
    if ((parsed & 0xF) == 0) mode |= QOR_VM_HA;
    if ((parsed & 0xFF00) == 0) mode |= QOR_VM_ERRMODE_DEFAULT;
    return mode;
}

static uint32_t mode_from_environment() {
    char buf[kEnvBufferSize];
    qor_serv_lock(&env_lock);
    int len = qor_serv_getenv(buf, kEnvBufferSize, "QOR_LUM_MODE");
    qor_serv_unlock(&env_lock);
    // A variable too long for the buffer cannot be a clean token list.
    uint64_t parsed = (len <= 0 || len >= kEnvBufferSize) ? kUnusable : parse_mode_string(buf);
    return initial_mode(parsed);
}

bool ensure_slot() {
    if (platform::slot_allocated()) return true;
    qor_serv_lock(&slot_lock);
    bool ok = platform::slot_allocated();
    if (!ok && (ok = platform::slot_allocate())) new_generation();
    qor_serv_unlock(&slot_lock);
    return ok;
}

ThreadState* slot_record() {
    if (!ensure_slot()) fail_state();
    if (auto* s = static_cast<ThreadState*>(platform::slot_get())) return s;
    if (!platform::heap_exists()) {
        qor_serv_lock(&heap_lock);
        bool ok = platform::heap_exists() || platform::heap_create();
        qor_serv_unlock(&heap_lock);
        if (!ok) fail_state();
    }
    auto* s = static_cast<ThreadState*>(platform::heap_allocate(sizeof(ThreadState)));
    if (!s) fail_state();
    // base is left as the heap gave it: it has no meaning until set.
    s->mode = 0;
    s->status = 0;
    s->callback = nullptr;
    if (!platform::slot_set(s)) fail_state();
    return s;
}

#if !defined(_WIN32)
__attribute__((tls_model("initial-exec"))) constinit thread_local CachedRecord cached_record{nullptr, 0};
std::atomic<uint32_t> slot_generation{1};
#else
ThreadState* thread_state() { return slot_record(); }
#endif

void forget_thread_record() {
#if !defined(_WIN32)
    cached_record.record = nullptr;
#endif
}

uint32_t current_mode() {
    ThreadState* s = thread_state();
    if (s->mode == 0) s->mode = mode_from_environment();
    return s->mode;
}

void release_thread_state() {
    forget_thread_record();
    new_generation();
    if (!platform::slot_allocated()) return;
    if (void* s = platform::slot_get()) {
        platform::slot_set(nullptr);
        platform::heap_free(s);
    }
}

}  // namespace qor::vm
