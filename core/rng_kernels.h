// The random-number exports of the kernel library that the core forwards
// to.  One list names them; their types come from the kernel library's own
// declarations (qor_rng.h), so a signature is written down in one place.
#pragma once

#include "qor/qor_random.h"

// QOR_CORE_RNG_EXPORT(field, symbol) for every export: the stream and
// registry functions, then one entry per form of each distribution of
// QOR_RNG_DISTRIBUTIONS.  Define QOR_CORE_RNG_EXPORT, expand
// QOR_CORE_RNG_EXPORTS, undefine it.
#define QOR_CORE_RNG_EXPORTS                                          \
    QOR_CORE_RNG_EXPORT(NewStreamEx, __rixNewStreamEx)                \
    QOR_CORE_RNG_EXPORT(DeleteStream, __rixDeleteStream)              \
    QOR_CORE_RNG_EXPORT(CopyStream, __rixCopyStream)                  \
    QOR_CORE_RNG_EXPORT(CopyStreamState, __rixCopyStreamState)        \
    QOR_CORE_RNG_EXPORT(LeapfrogStream, __rixLeapfrogStream)          \
    QOR_CORE_RNG_EXPORT(SkipAheadStream, __rixSkipAheadStream)        \
    QOR_CORE_RNG_EXPORT(SkipAheadStreamEx, __rixSkipAheadStreamEx)    \
    QOR_CORE_RNG_EXPORT(GetStreamStateBrng, __rixGetStreamStateBrng)  \
    QOR_CORE_RNG_EXPORT(SaveStreamF, __rixSaveStreamF)                \
    QOR_CORE_RNG_EXPORT(LoadStreamF, __rixLoadStreamF)                \
    QOR_CORE_RNG_EXPORT(SaveStreamM, __rixSaveStreamM)                \
    QOR_CORE_RNG_EXPORT(LoadStreamM, __rixLoadStreamM)                \
    QOR_CORE_RNG_EXPORT(GetStreamSize, __rixGetStreamSize)            \
    QOR_CORE_RNG_EXPORT(GetBrngProperties, __rixGetBrngProperties)    \
    QOR_CORE_RNG_EXPORT(GetNumRegBrngs, __rixGetNumRegBrngs)          \
    QOR_CORE_RNG_EXPORT(RegisterBrng, __rixRegisterBrng)              \
    QOR_RNG_DISTRIBUTIONS(QOR_CORE_RNG_DIST_EXPORTS)

#define QOR_CORE_RNG_DIST_EXPORT(p, T, Name, ...) QOR_CORE_RNG_EXPORT(p##Name, _rix##p##Rng##Name)
#define QOR_CORE_RNG_DIST_EXPORTS(Name, output, ...) \
    QOR_RNG_DIST_FORMS_##output(QOR_CORE_RNG_DIST_EXPORT, Name, __VA_ARGS__)

namespace qor::core {

// One member per export, named by the list's field (NewStreamEx, dUniform, iPoisson).
struct RngKernels {
#define QOR_CORE_RNG_EXPORT(field, symbol) decltype(&symbol) field = nullptr;
    QOR_CORE_RNG_EXPORTS
#undef QOR_CORE_RNG_EXPORT
};

}  // namespace qor::core
