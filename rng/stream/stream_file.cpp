// Saving a stream to a file and loading it back, through the C runtime's
// stdio.
#include <cstdio>
#include <cstring>

#include "qor/qor_rng.h"
#include "qor/qor_serv.h"
#include "rng/stream/stream_image.h"
#include "rng/stream/stream_layout.h"

namespace {

using namespace qor::rng;

// The file name as a zero-terminated string: a name_length of 0 or more
// means that many unterminated bytes, which are copied; a negative one
// means the name is terminated already.
class FileName {
public:
    FileName(const char* name, int32_t length) : name_(name) {
        if (length < 0) return;
        copy_ = static_cast<char*>(qor_serv_allocate(static_cast<size_t>(length) + 1, kBlockAlignment));
        if (!copy_) {
            name_ = nullptr;
            return;
        }
        std::memcpy(copy_, name, static_cast<size_t>(length));
        copy_[length] = '\0';
        name_ = copy_;
    }
    ~FileName() { qor_serv_deallocate(copy_); }
    FileName(const FileName&) = delete;
    FileName& operator=(const FileName&) = delete;

    const char* c_str() const { return name_; }

private:
    const char* name_;
    char* copy_ = nullptr;
};

bool write_all(std::FILE* f, const void* p, size_t bytes) { return bytes == 0 || std::fwrite(p, 1, bytes, f) == bytes; }

// Header and state, then the chunk records.  Of the chunk writes only the
// data write of the last chunk decides the status.
int32_t write_image(std::FILE* f, const qor_rng_stream* stream, const qor_rng_brng_properties& row) {
    const uint32_t state_bytes = static_cast<uint32_t>(row.state_size - kStreamHeaderBytes);
    const uint32_t header[6] = {kImageVersion,
                                kImageSignature,
                                kImageHeaderBytes,
                                state_bytes,
                                static_cast<uint32_t>(__rixGetNumChunks(stream)) & 0xFFFF,
                                stream->brng};
    if (!write_all(f, header, sizeof header) || !write_all(f, state_of<char>(stream), state_bytes))
        return QOR_RNG_STATUS_FILE_WRITE;
    int32_t status = QOR_RNG_STATUS_OK;
    for (const qor_rng_chunk* c = stream->chunks; c; c = c->next) {
        write_all(f, &c->id, sizeof c->id);
        write_all(f, c->key, sizeof c->key);
        write_all(f, &c->size, sizeof c->size);
        status = write_all(f, c->data, c->size) ? QOR_RNG_STATUS_OK : QOR_RNG_STATUS_FILE_WRITE;
    }
    return status;
}

}  // namespace

QOR_EXTERN_C {

QOR_EXPORT int32_t __rixSaveStreamF(const qor_rng_stream* stream, const char* name, int32_t name_length) {
    if (!stream || !name) return QOR_RNG_STATUS_BAD_ARGUMENT;
    const qor_rng_brng_properties* row = row_of(stream);
    if (!row) return QOR_RNG_STATUS_BAD_BRNG;
    const FileName file_name(name, name_length);
    if (!file_name.c_str()) return QOR_RNG_STATUS_NO_MEMORY;
    std::FILE* f = std::fopen(file_name.c_str(), "wb");
    if (!f) return QOR_RNG_STATUS_FILE_OPEN;
    int32_t status = write_image(f, stream, *row);
    if (std::fclose(f) != 0) status = QOR_RNG_STATUS_FILE_CLOSE;
    return status;
}

QOR_EXPORT int32_t __rixLoadStreamF(qor_rng_stream** stream, const char* name, int32_t name_length) {
    if (!stream || !name) return QOR_RNG_STATUS_BAD_ARGUMENT;
    *stream = nullptr;
    const FileName file_name(name, name_length);
    if (!file_name.c_str()) return QOR_RNG_STATUS_NO_MEMORY;
    std::FILE* f = std::fopen(file_name.c_str(), "rb");
    if (!f) return QOR_RNG_STATUS_FILE_OPEN;
    // The file's length, to refuse a chunk record longer than what is left
    // before allocating for it (-1 when the file cannot seek).
    long length = -1;
    if (std::fseek(f, 0, SEEK_END) == 0) length = std::ftell(f);
    if (std::fseek(f, 0, SEEK_SET) != 0) length = -1;
    auto read = [f, length](void* p, size_t bytes) {
        if (!p) {
            const long at = std::ftell(f);
            return length < 0 || at < 0 || static_cast<unsigned long>(length - at) >= bytes;
        }
        return bytes == 0 || std::fread(p, 1, bytes, f) == bytes;
    };
    qor_rng_stream* s = nullptr;
    int32_t status =
        load_stream(&s, read, QOR_RNG_STATUS_BAD_STREAM_IMAGE, QOR_RNG_STATUS_STREAM_IMAGE_VERSION);
    if (std::fclose(f) != 0) status = QOR_RNG_STATUS_FILE_CLOSE;
    if (status != QOR_RNG_STATUS_OK) {
        if (s) __rixDeleteStream(&s);
        return status;
    }
    *stream = s;
    return QOR_RNG_STATUS_OK;
}

}  // extern "C"
