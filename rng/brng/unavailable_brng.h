// Registry rows for generators whose recurrences this build does not
// provide.  The row keeps the generator's exact registry properties and
// exported function names, so identifiers, validation and saved images
// behave as for any row; every function answers QOR_RNG_STATUS_BAD_BRNG,
// the random side's status for a generator it cannot provide, and touches
// neither the stream nor the output.  Creating such a stream therefore
// fails with that status (the record is handed back for deletion, as for
// any failed seeding).
#pragma once

#include "qor/qor_rng.h"
#include "rng/brng/brng_rows.h"

#define QOR_RNG_UNAVAILABLE_BRNG(Name, row, state_size, word_count, includes_zero, word_size, bit_count)          \
    QOR_EXTERN_C {                                                                                              \
    QOR_EXPORT int32_t __rixBRng##Name##InitStream(uint32_t, qor_rng_stream*, int32_t, const uint32_t*) {       \
        return QOR_RNG_STATUS_BAD_BRNG;                                                                         \
    }                                                                                                           \
    QOR_EXPORT int32_t __rixsBRng##Name(qor_rng_stream*, int32_t, float*, float, float) {                       \
        return QOR_RNG_STATUS_BAD_BRNG;                                                                         \
    }                                                                                                           \
    QOR_EXPORT int32_t __rixdBRng##Name(qor_rng_stream*, int32_t, double*, double, double) {                    \
        return QOR_RNG_STATUS_BAD_BRNG;                                                                         \
    }                                                                                                           \
    QOR_EXPORT int32_t __rixiBRng##Name(qor_rng_stream*, int32_t, void*) { return QOR_RNG_STATUS_BAD_BRNG; }    \
    }                                                                                                           \
    namespace qor::rng {                                                                                        \
    extern const qor_rng_brng_properties row = {state_size,        word_count,        includes_zero,           \
                                                word_size,         bit_count,         __rixBRng##Name##InitStream, \
                                                __rixsBRng##Name, __rixdBRng##Name, __rixiBRng##Name};          \
    }
