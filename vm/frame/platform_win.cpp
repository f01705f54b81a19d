// Windows half of the frame's platform layer: a TLS index for the per-thread
// record, a private growable heap for the records, errno of the caller's C
// runtime found by module name, the standard-error handle, and DllMain for
// attach, thread exit and unload.
#if defined(_WIN32)

#include <windows.h>

#include <atomic>
#include <iterator>

#include "platform.h"
#include "platform_win.h"
#include "qor/qor_serv.h"
#include "thread_state.h"

namespace qor::platform {
namespace {

std::atomic<DWORD> slot_index{TLS_OUT_OF_INDEXES};
std::atomic<HANDLE> record_heap{nullptr};
std::atomic<long> live_blocks{0};

using ErrnoAccessor = int* (*)(void);

// The C runtimes whose errno a caller may read, release builds before debug
// builds, newest first; the first one loaded in the process is taken.
constexpr const char* kRuntimeModules[] = {
    "MSVCR100.DLL",  "MSVCR90.DLL",  "MSVCR80.DLL",  "MSVCR71.DLL",  "MSVCR70.DLL",  "MSVCRT.DLL",
    "MSVCR100D.DLL", "MSVCR90D.DLL", "MSVCR80D.DLL", "MSVCR71D.DLL", "MSVCR70D.DLL", "MSVCRTD.DLL",
};

// This library itself runs on MSVCRT.DLL, so the search above always finds
// a runtime; a caller built on the Universal CRT reads errno from
// UCRTBASE.DLL instead, which is therefore set as well when it is loaded.
constexpr const char* kUniversalRuntimeModules[] = {"UCRTBASE.DLL", "UCRTBASED.DLL"};

// Looked up once per process; a flag guards it, and a second lookup by a
// racing thread finds the same addresses.
std::atomic<bool> errno_looked_up{false};
std::atomic<ErrnoAccessor> classic_errno{nullptr};
std::atomic<ErrnoAccessor> universal_errno{nullptr};

ErrnoAccessor find_accessor(const char* const* modules, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (HMODULE m = GetModuleHandleA(modules[i]))
            return reinterpret_cast<ErrnoAccessor>(reinterpret_cast<void*>(GetProcAddress(m, "_errno")));
    }
    return nullptr;
}

void look_up_errno_accessors() {
    if (errno_looked_up.load(std::memory_order_acquire)) return;
    classic_errno.store(find_accessor(kRuntimeModules, std::size(kRuntimeModules)), std::memory_order_relaxed);
    universal_errno.store(find_accessor(kUniversalRuntimeModules, std::size(kUniversalRuntimeModules)),
                          std::memory_order_relaxed);
    errno_looked_up.store(true, std::memory_order_release);
}

}  // namespace

bool slot_allocate() {
    if (slot_allocated()) return true;
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) return false;
    slot_index.store(index, std::memory_order_release);
    return true;
}

void slot_release() {
    const DWORD index = slot_index.exchange(TLS_OUT_OF_INDEXES);
    if (index != TLS_OUT_OF_INDEXES) TlsFree(index);
}

bool slot_allocated() { return slot_index.load(std::memory_order_acquire) != TLS_OUT_OF_INDEXES; }

void* slot_get() {
    // TlsGetValue clears the thread's last-error code on success; a kernel
    // call must not disturb the caller's.
    const DWORD last_error = GetLastError();
    void* value = TlsGetValue(slot_index.load(std::memory_order_acquire));
    SetLastError(last_error);
    return value;
}

bool slot_set(void* value) { return TlsSetValue(slot_index.load(std::memory_order_acquire), value) != 0; }

bool heap_create() {
    if (heap_exists()) return true;
    HANDLE heap = HeapCreate(0, 0, 0);  // growable, serialised
    if (!heap) return false;
    record_heap.store(heap, std::memory_order_release);
    return true;
}

bool heap_exists() { return record_heap.load(std::memory_order_acquire) != nullptr; }

void* heap_allocate(std::size_t size) {
    HANDLE heap = record_heap.load(std::memory_order_acquire);
    void* p = heap ? HeapAlloc(heap, 0, size) : nullptr;
    if (p) live_blocks.fetch_add(1, std::memory_order_relaxed);
    return p;
}

void heap_free(void* p) {
    HANDLE heap = record_heap.load(std::memory_order_acquire);
    if (!p || !heap) return;
    if (HeapFree(heap, 0, p)) live_blocks.fetch_sub(1, std::memory_order_relaxed);
}

void heap_destroy() {
    // Destroying the heap frees every block still in it.
    if (HANDLE heap = record_heap.exchange(nullptr)) {
        HeapDestroy(heap);
        live_blocks.store(0, std::memory_order_relaxed);
    }
}

long heap_live_blocks() { return live_blocks.load(std::memory_order_relaxed); }

void set_caller_errno(int value) {
    look_up_errno_accessors();
    if (ErrnoAccessor classic = classic_errno.load(std::memory_order_relaxed)) *classic() = value;
    if (ErrnoAccessor universal = universal_errno.load(std::memory_order_relaxed)) *universal() = value;
}

bool stderr_available() {
    HANDLE h = GetStdHandle(STD_ERROR_HANDLE);
    return h != nullptr && h != INVALID_HANDLE_VALUE;
}

void on_attach() {
    if (!vm::ensure_slot()) qor_serv_print(1, 773);
}

void on_detach() {
    vm::release_thread_state();
    slot_release();
    heap_destroy();
}

bool on_module_notification(unsigned long reason, const void* reserved) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            on_attach();
            return slot_allocated();  // no slot: the library refuses to load
        case DLL_THREAD_DETACH:
            vm::release_thread_state();
            return true;
        case DLL_PROCESS_DETACH:
            // Only an unload at run time frees anything; at process
            // termination (reserved not null) other threads are gone
            // without notice and the heap goes with the process.
            if (reserved == nullptr) on_detach();
            return true;
        default:
            return true;
    }
}

namespace {

// Linked into a program instead of a DLL (the white-box tests do this),
// the frame gets no DllMain calls; the program's TLS callbacks bring the
// same notifications.  In a DLL the callback leaves them to DllMain.
void NTAPI program_tls_callback(PVOID image, DWORD reason, PVOID reserved) {
    if (static_cast<HMODULE>(image) != GetModuleHandleW(nullptr)) return;
    on_module_notification(reason, reserved);
}

// The loader runs the callbacks listed between the C runtime's .CRT$XLA and
// .CRT$XLZ markers.
__attribute__((section(".CRT$XLQ"), used)) const PIMAGE_TLS_CALLBACK tls_callback_entry = program_tls_callback;

}  // namespace
}  // namespace qor::platform

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
    return qor::platform::on_module_notification(reason, reserved) ? TRUE : FALSE;
}

#endif
