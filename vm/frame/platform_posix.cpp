// POSIX half of the frame's platform layer: a pthread key whose destructor
// frees a thread's record at thread exit, a private heap that owns its
// blocks, errno of the shared C library, and attach/detach through the
// shared object's constructor and destructor.
#if !defined(_WIN32)

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <new>

#include "platform.h"
#include "qor/qor_serv.h"
#include "thread_state.h"

namespace qor::platform {
namespace {

pthread_key_t slot_key;
std::atomic<bool> slot_ready{false};

// Heap blocks carry a link so that destroying the heap frees them all.
struct Block {
    Block* prev;
    Block* next;
    alignas(16) unsigned char payload[];
};
std::atomic<bool> heap_ready{false};
Block heap_head{&heap_head, &heap_head};
volatile int32_t heap_list_lock = 0;
std::atomic<long> live_blocks{0};

void on_thread_exit(void* record) {
    // The key's value is already null here; free the record directly.
    vm::forget_thread_record();
    heap_free(record);
}

}  // namespace

bool slot_allocate() {
    if (slot_ready.load(std::memory_order_acquire)) return true;
    if (pthread_key_create(&slot_key, on_thread_exit) != 0) return false;
    slot_ready.store(true, std::memory_order_release);
    return true;
}

void slot_release() {
    if (!slot_ready.exchange(false)) return;
    pthread_key_delete(slot_key);
}

bool slot_allocated() { return slot_ready.load(std::memory_order_acquire); }
void* slot_get() { return pthread_getspecific(slot_key); }
bool slot_set(void* value) { return pthread_setspecific(slot_key, value) == 0; }

bool heap_create() {
    heap_ready.store(true, std::memory_order_release);
    return true;
}

bool heap_exists() { return heap_ready.load(std::memory_order_acquire); }

void* heap_allocate(std::size_t size) {
    auto* b = static_cast<Block*>(qor_serv_allocate(sizeof(Block) + size, 64));
    if (!b) return nullptr;
    qor_serv_lock(&heap_list_lock);
    b->next = heap_head.next;
    b->prev = &heap_head;
    heap_head.next->prev = b;
    heap_head.next = b;
    qor_serv_unlock(&heap_list_lock);
    live_blocks.fetch_add(1, std::memory_order_relaxed);
    return b->payload;
}

void heap_free(void* p) {
    if (!p) return;
    auto* b = reinterpret_cast<Block*>(static_cast<unsigned char*>(p) - offsetof(Block, payload));
    qor_serv_lock(&heap_list_lock);
    b->prev->next = b->next;
    b->next->prev = b->prev;
    qor_serv_unlock(&heap_list_lock);
    live_blocks.fetch_sub(1, std::memory_order_relaxed);
    qor_serv_deallocate(b);
}

void heap_destroy() {
    if (!heap_ready.exchange(false)) return;
    qor_serv_lock(&heap_list_lock);
    Block* b = heap_head.next;
    while (b != &heap_head) {
        Block* next = b->next;
        qor_serv_deallocate(b);
        live_blocks.fetch_sub(1, std::memory_order_relaxed);
        b = next;
    }
    heap_head.next = heap_head.prev = &heap_head;
    qor_serv_unlock(&heap_list_lock);
}

long heap_live_blocks() { return live_blocks.load(std::memory_order_relaxed); }

void set_caller_errno(int value) { errno = value; }

bool stderr_available() { return true; }

void on_attach() {
    if (!vm::ensure_slot()) qor_serv_print(1, 773);
}

void on_detach() {
    vm::release_thread_state();
    slot_release();
    heap_destroy();
}

namespace {
// Attach when the object is loaded, detach when it is unloaded.  A shared
// object cannot tell an unload at run time from process exit; at exit only
// the exiting thread still runs library code, so detaching then is harmless.
__attribute__((constructor)) void attach() { on_attach(); }
__attribute__((destructor)) void detach() { on_detach(); }
}  // namespace

}  // namespace qor::platform

#endif
