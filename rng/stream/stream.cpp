// Creation, copying and deletion of streams.
#include <algorithm>
#include <cstring>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"
#include "rng/stream/stream_layout.h"

namespace qor::rng {

int32_t allocate_stream(qor_rng_stream** stream, const qor_rng_brng_properties& row, uint32_t brng) {
    void* block = qor_serv_allocate(static_cast<size_t>(row.state_size), kBlockAlignment);
    if (!block) {
        *stream = nullptr;
        return QOR_RNG_STATUS_NO_MEMORY;
    }
    std::memset(block, 0, static_cast<size_t>(row.state_size));
    auto* s = static_cast<qor_rng_stream*>(block);
    s->brng = brng;
    s->header_flag = 1;
    s->chunks = nullptr;
    *stream = s;
    return QOR_RNG_STATUS_OK;
}

namespace {

bool is_abstract(uint32_t brng) {
    return brng == QOR_RNG_BRNG_IABSTRACT || brng == QOR_RNG_BRNG_DABSTRACT || brng == QOR_RNG_BRNG_SABSTRACT;
}

}  // namespace
}  // namespace qor::rng

using namespace qor::rng;

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixAllocateStream(qor_rng_stream** stream, const qor_rng_brng_properties* table, int32_t brng,
                                       int32_t row, int32_t member) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (__rixIsBrngValid(table, row, member) != QOR_RNG_STATUS_OK) return QOR_RNG_STATUS_BAD_BRNG;
    const qor_rng_brng_properties& r = table[row];
    if (r.state_size < kStreamHeaderBytes || !r.init_stream) return QOR_RNG_STATUS_BAD_BRNG;
    return allocate_stream(stream, r, static_cast<uint32_t>(brng));
}

// Abstract streams come only from their own constructors.  When the
// generator's seeding fails the stream is still handed back for the caller
// to delete.
QOR_EXPORT int32_t __rixNewStreamEx(qor_rng_stream** stream, int32_t brng, int32_t n, const uint32_t* params) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const uint32_t id = static_cast<uint32_t>(brng);
    if (is_abstract(id)) return QOR_RNG_STATUS_BAD_BRNG;
    const qor_rng_brng_properties* row = usable_row(id);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    if (n > 0 && !params) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const int32_t status = allocate_stream(stream, *row, id);
    if (status != QOR_RNG_STATUS_OK) return status;
    return row->init_stream(0, *stream, n, params);
}

QOR_EXPORT int32_t __rixDeleteStream(qor_rng_stream** stream) {
    if (!stream || !*stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    __rixDeleteChunks(*stream);
    qor_serv_deallocate(*stream);
    *stream = nullptr;
    return QOR_RNG_STATUS_OK;
}

QOR_EXPORT int32_t __rixCopyStream(qor_rng_stream** copy, const qor_rng_stream* source) {
    if (!copy || !source) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(source);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    qor_rng_stream* s = nullptr;
    int32_t status = allocate_stream(&s, *row, source->brng);
    if (status != QOR_RNG_STATUS_OK) {
        *copy = nullptr;
        return status;
    }
    std::memcpy(s, source, static_cast<size_t>(row->state_size));
    s->chunks = nullptr;
    status = __rixCopyChunks(s, source);
    if (status != QOR_RNG_STATUS_OK) {
        qor_serv_deallocate(s);
        *copy = nullptr;
        return status;
    }
    *copy = s;
    return QOR_RNG_STATUS_OK;
}

// Copies state_word_count * word_size bytes of the source's row, bounded by
// both records so that a row whose words outnumber its state bytes (the
// Wichmann-Hill row) cannot reach past either block.
QOR_EXPORT int32_t __rixCopyStreamState(qor_rng_stream* destination, const qor_rng_stream* source) {
    if (!destination || !source) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (destination == source) return QOR_RNG_STATUS_OK;
    const qor_rng_brng_properties* from = row_of(source);
    const qor_rng_brng_properties* to = row_of(destination);
    if (!from || !to) return QOR_RNG_STATUS_BAD_BRNG;
    const int64_t words = int64_t{from->state_word_count} * from->word_size;
    const int64_t bytes = std::max<int64_t>(
        0, std::min({words, int64_t{from->state_size} - kStreamHeaderBytes, int64_t{to->state_size} - kStreamHeaderBytes}));
    std::memcpy(state_of<char>(destination), state_of<char>(source), static_cast<size_t>(bytes));
    __rixDeleteChunks(destination);
    return __rixCopyChunks(destination, source);
}

QOR_EXPORT int32_t __rixGetStreamStateBrng(const qor_rng_stream* stream) {
    return stream ? static_cast<int32_t>(stream->brng) : 0;
}

// Leapfrog and skip-ahead are the generator initialiser's methods 1 to 3.
QOR_EXPORT int32_t __rixLeapfrogStream(qor_rng_stream* stream, int32_t k, int32_t nstreams) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (nstreams < 0) return QOR_RNG_STATUS_BAD_STREAM_COUNT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    const uint32_t index = static_cast<uint32_t>(k);
    return row->init_stream(1, stream, nstreams, &index);
}

QOR_EXPORT int32_t __rixSkipAheadStream(qor_rng_stream* stream, uint64_t nskip) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    const uint32_t words[2] = {static_cast<uint32_t>(nskip), static_cast<uint32_t>(nskip >> 32)};
    return row->init_stream(2, stream, 2, words);
}

QOR_EXPORT int32_t __rixSkipAheadStreamEx(qor_rng_stream* stream, int32_t n, const uint64_t* nskip) {
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (n > 0 && !nskip) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    return row->init_stream(3, stream, n, reinterpret_cast<const uint32_t*>(nskip));
}

}  // extern "C"
