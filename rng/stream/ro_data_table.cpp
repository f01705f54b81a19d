// The process-wide read-only data table: up to 128 keyed blocks shared by
// streams, guarded by one spin lock.
#include "rng/stream/ro_data_table.h"

#include <x86intrin.h>

#include <atomic>
#include <cstring>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"

namespace qor::rng {
namespace {

// Blocks entered by the table's own exports have no known size.
constexpr uint64_t kUnknownSize = ~uint64_t{0};

struct RoTable {
    int32_t count = 0;
    qor_rng_ro_entry entries[QOR_RNG_RO_TABLE_ROOM] = {};
    uint64_t sizes[QOR_RNG_RO_TABLE_ROOM] = {};  // bytes of each entry's block
};

RoTable g_table;
std::atomic<int32_t> g_lock{0};

// Taken by compare-and-exchange from 0 to 1, retried without pause; released
// by storing 0.  Held only around short table walks.
class TableLock {
public:
    TableLock() {
        int32_t expected = 0;
        while (!g_lock.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed))
            expected = 0;
    }
    ~TableLock() { g_lock.store(0, std::memory_order_release); }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
};

// Callers hold the lock.
qor_rng_ro_entry* find_locked(const uint64_t* key) {
    for (int32_t i = 0; i < g_table.count; ++i)
        if (g_table.entries[i].key[0] == key[0] && g_table.entries[i].key[1] == key[1]) return &g_table.entries[i];
    return nullptr;
}

qor_rng_ro_entry* append_locked(const uint64_t* key, void* data, uint64_t size) {
    if (g_table.count >= QOR_RNG_RO_TABLE_ROOM) return nullptr;
    g_table.sizes[g_table.count] = size;
    qor_rng_ro_entry* e = &g_table.entries[g_table.count++];
    e->key[0] = key[0];
    e->key[1] = key[1];
    e->ref_count = 1;
    e->data = data;
    return e;
}

// Drops one reference; the last frees the block and moves the final entry
// into the freed slot.
void release_locked(qor_rng_ro_entry* e) {
    if (--e->ref_count != 0) return;
    qor_serv_deallocate(e->data);
    qor_rng_ro_entry* last = &g_table.entries[--g_table.count];
    g_table.sizes[e - g_table.entries] = g_table.sizes[g_table.count];
    if (e != last) *e = *last;
    *last = qor_rng_ro_entry{};
}

// A chunk entering while this many entries exist stays private.
constexpr int32_t kChunkEntryLimit = QOR_RNG_RO_TABLE_ROOM - 1;

}  // namespace

bool ro_table_contains(const uint64_t* key) {
    if (key_is_empty(key)) return false;
    TableLock lock;
    return find_locked(key) != nullptr;
}

RoAttachment ro_table_attach(const uint64_t* key, void* data, uint32_t size, ChunkSource source) {
    if (key_is_empty(key)) return {data, true};
    TableLock lock;
    qor_rng_ro_entry* e = find_locked(key);
    if (source == ChunkSource::image &&
        (!e || g_table.sizes[e - g_table.entries] != size || (size && std::memcmp(e->data, data, size) != 0)))
        return {data, false};
    if (e) {
        ++e->ref_count;
        return {e->data, true};
    }
    if (g_table.count >= kChunkEntryLimit) return {data, false};
    append_locked(key, data, size);
    return {data, true};
}

bool ro_table_release(const uint64_t* key) {
    if (key_is_empty(key)) return false;
    TableLock lock;
    qor_rng_ro_entry* e = find_locked(key);
    if (!e) return false;
    release_locked(e);
    return true;
}

}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixCreateGlobRODataTableEntry(qor_rng_ro_entry** entry, const uint64_t* key, void* data) {
    if (!key) return QOR_RNG_STATUS_BAD_ARGUMENT;
    TableLock lock;
    qor_rng_ro_entry* e = append_locked(key, data, kUnknownSize);
    if (!e) return QOR_RNG_STATUS_RO_DATA_TABLE;
    if (entry) *entry = e;
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixFindGlobRODataTableEntry(qor_rng_ro_entry** entry, const uint64_t* key) {
    if (key_is_empty(key)) return QOR_RNG_STATUS_RO_DATA_TABLE;
    TableLock lock;
    qor_rng_ro_entry* e = find_locked(key);
    if (!e) return QOR_RNG_STATUS_RO_DATA_TABLE;
    if (entry) *entry = e;
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixRegisterGlobRODataReference(void** holder, const uint64_t* key) {
    if (!holder || !key) return QOR_RNG_STATUS_BAD_ARGUMENT;
    TableLock lock;
    if (qor_rng_ro_entry* e = find_locked(key)) {
        ++e->ref_count;
        *holder = e->data;
    }
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixUnregisterGlobRODataReference(const uint64_t* key) {
    if (!key) return QOR_RNG_STATUS_BAD_ARGUMENT;
    TableLock lock;
    if (qor_rng_ro_entry* e = find_locked(key)) release_locked(e);
    return QOR_RNG_STATUS_OK;
}

// The caller's key with `tag` as its second word is returned once no entry
// holds it; the time-stamp counter is read on every look, as a pause, and
// does not enter the key.
QOR_EXPORT int32_t __rixGenerateNewGlobalRODataTableEntryId(uint64_t* key, uint64_t tag) {
    if (!key) return QOR_RNG_STATUS_BAD_ARGUMENT;
    key[1] = tag;
    (void)__rdtsc();
    while (__rixFindGlobRODataTableEntry(nullptr, key) == QOR_RNG_STATUS_OK) (void)__rdtsc();
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"
