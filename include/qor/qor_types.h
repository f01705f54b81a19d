/* Shared scalar types and export macros of both qor libraries. */
#ifndef QOR_TYPES_H
#define QOR_TYPES_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#  define QOR_EXPORT __declspec(dllexport)
#  define QOR_IMPORT __declspec(dllimport)
#  define QOR_HIDDEN
#else
#  define QOR_EXPORT __attribute__((visibility("default")))
#  define QOR_IMPORT
#  define QOR_HIDDEN __attribute__((visibility("hidden")))
#endif

/* Functions of the core library: exported while building it, imported by
 * everything else (the kernel library and applications). */
#ifdef QOR_BUILDING_CORE
#  define QOR_CORE_API QOR_EXPORT
#else
#  define QOR_CORE_API QOR_IMPORT
#endif

#ifdef __cplusplus
#  define QOR_EXTERN_C extern "C"
#  define QOR_BEGIN_C extern "C" {
#  define QOR_END_C }
#else
#  define QOR_EXTERN_C
#  define QOR_BEGIN_C
#  define QOR_END_C
#endif

QOR_BEGIN_C

/* Complex numbers: real part first, the layout of C99 and C++ complex types. */
typedef struct qor_complex8 { float re, im; } qor_complex8;
typedef struct qor_complex16 { double re, im; } qor_complex16;

QOR_END_C

#endif
