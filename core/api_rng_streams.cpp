// The public stream, saved-stream and registry calls: each checks the
// arguments that the kernels take on trust and forwards to the kernel set.
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "qor/qor.h"
#include "rng_access.h"
#include "stream_image_extent.h"

using qor::core::RngKernels;
using qor::core::unavailable_status;
using qor::core::usable_rng;

namespace {

// The out-parameter of a call that creates a stream holds null until the
// call succeeds.
void clear(qor_rng_stream** stream) {
    if (stream) *stream = nullptr;
}

// Hands a new stream to the caller on success.  The kernels hand back a
// stream whose seeding failed; it is deleted here, so a failed call leaves
// nothing behind.
int adopt(const RngKernels& rng, int status, qor_rng_stream* made, qor_rng_stream** out) {
    if (status != QOR_RNG_STATUS_OK) {
        if (made) rng.DeleteStream(&made);
        return status;
    }
    *out = made;
    return status;
}

// Whether two identifiers name the same generator (a legacy identifier and
// the current one of a row share its functions).
bool same_generator(const RngKernels& rng, const qor_rng_stream* a, const qor_rng_stream* b) {
    qor_rng_brng_properties pa, pb;
    if (rng.GetBrngProperties(static_cast<int32_t>(a->brng), &pa) != QOR_RNG_STATUS_OK) return false;
    if (rng.GetBrngProperties(static_cast<int32_t>(b->brng), &pb) != QOR_RNG_STATUS_OK) return false;
    return pa.init_stream == pb.init_stream && pa.state_size == pb.state_size;
}

// A count of seed or skip words the kernels can take: they are read in one
// call, so a count beyond 32 bits is refused rather than split.
bool kernel_count(int64_t n) { return n >= 0 && n <= INT32_MAX; }

// The registry is appended to without a lock of its own.
std::mutex registration;

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int qor_rng_new_stream_ex(qor_rng_stream** stream, int brng, int64_t n, const uint32_t* params) {
    clear(stream);
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !kernel_count(n) || (n > 0 && !params)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    qor_rng_stream* made = nullptr;
    const int status = rng->NewStreamEx(&made, brng, static_cast<int>(n), params);
    return adopt(*rng, status, made, stream);
}

QOR_EXPORT int qor_rng_new_stream(qor_rng_stream** stream, int brng, uint32_t seed) {
    return qor_rng_new_stream_ex(stream, brng, 1, &seed);
}

QOR_EXPORT int qor_rng_copy_stream(qor_rng_stream** copy, const qor_rng_stream* source) {
    clear(copy);
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!copy || !source) return QOR_RNG_STATUS_BAD_ARGUMENT;
    qor_rng_stream* made = nullptr;
    const int status = rng->CopyStream(&made, source);
    return adopt(*rng, status, made, copy);
}

QOR_EXPORT int qor_rng_copy_stream_state(qor_rng_stream* destination, const qor_rng_stream* source) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!destination || !source) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (destination != source && !same_generator(*rng, destination, source)) return QOR_RNG_STATUS_BAD_BRNG;
    return rng->CopyStreamState(destination, source);
}

QOR_EXPORT int qor_rng_delete_stream(qor_rng_stream** stream) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !*stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->DeleteStream(stream);
}

QOR_EXPORT int qor_rng_leapfrog_stream(qor_rng_stream* stream, int k, int nstreams) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (nstreams < 1) return QOR_RNG_STATUS_BAD_STREAM_COUNT;
    if (k < 0 || k >= nstreams) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->LeapfrogStream(stream, k, nstreams);
}

QOR_EXPORT int qor_rng_skip_ahead_stream(qor_rng_stream* stream, uint64_t nskip) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->SkipAheadStream(stream, nskip);
}

QOR_EXPORT int qor_rng_skip_ahead_stream_ex(qor_rng_stream* stream, int64_t n, const uint64_t* nskip) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !kernel_count(n) || (n > 0 && !nskip)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->SkipAheadStreamEx(stream, static_cast<int32_t>(n), nskip);
}

QOR_EXPORT int qor_rng_get_stream_brng(const qor_rng_stream* stream) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->GetStreamStateBrng(stream);
}

// File names are passed on as zero-terminated strings (length -1).
QOR_EXPORT int qor_rng_save_stream_file(const qor_rng_stream* stream, const char* path) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !path) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->SaveStreamF(stream, path, -1);
}

QOR_EXPORT int qor_rng_load_stream_file(qor_rng_stream** stream, const char* path) {
    clear(stream);
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !path) return QOR_RNG_STATUS_BAD_ARGUMENT;
    qor_rng_stream* made = nullptr;
    const int status = rng->LoadStreamF(&made, path, -1);
    return adopt(*rng, status, made, stream);
}

QOR_EXPORT int qor_rng_get_stream_image_size(const qor_rng_stream* stream) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->GetStreamSize(stream);
}

// The kernels write the image without knowing the buffer's size.
QOR_EXPORT int qor_rng_save_stream_memory(const qor_rng_stream* stream, char* buffer, size_t size) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !buffer) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const int32_t bytes = rng->GetStreamSize(stream);
    if (bytes < 0) return bytes;
    if (size < static_cast<size_t>(bytes)) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->SaveStreamM(stream, buffer);
}

QOR_EXPORT int qor_rng_load_stream_memory(qor_rng_stream** stream, const char* buffer) {
    clear(stream);
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !buffer) return QOR_RNG_STATUS_BAD_ARGUMENT;
    qor_rng_stream* made = nullptr;
    const int status = rng->LoadStreamM(&made, buffer);
    return adopt(*rng, status, made, stream);
}

// The image is walked within its size first, so that the kernels, which
// read as far as the header says, never pass the end of the buffer.
QOR_EXPORT int qor_rng_load_stream_memory_sized(qor_rng_stream** stream, const char* buffer, size_t size) {
    clear(stream);
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!stream || !buffer) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (qor::core::stream_image_extent(reinterpret_cast<const unsigned char*>(buffer), size) < 0)
        return QOR_RNG_STATUS_BAD_MEMORY_IMAGE;
    qor_rng_stream* made = nullptr;
    const int status = rng->LoadStreamM(&made, buffer);
    return adopt(*rng, status, made, stream);
}

QOR_EXPORT int qor_rng_get_brng_properties(int brng, qor_rng_brng_properties* properties) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!properties) return QOR_RNG_STATUS_BAD_ARGUMENT;
    return rng->GetBrngProperties(brng, properties);
}

QOR_EXPORT int qor_rng_get_brng_count(void) {
    const RngKernels* rng = usable_rng();
    return rng ? rng->GetNumRegBrngs() : unavailable_status();
}

// A row smaller than the stream header could never hold a stream, so it is
// refused here rather than occupy a registry row.
QOR_EXPORT int qor_rng_register_brng(const qor_rng_brng_properties* properties) {
    const RngKernels* rng = usable_rng();
    if (!rng) return unavailable_status();
    if (!properties) return QOR_RNG_STATUS_BAD_ARGUMENT;
    if (properties->state_size < static_cast<int32_t>(sizeof(qor_rng_stream))) return QOR_RNG_STATUS_REG_BAD_STATE_SIZE;
    const std::lock_guard<std::mutex> lock(registration);
    return rng->RegisterBrng(properties);
}

}  // extern "C"
