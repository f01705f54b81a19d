// The data-fitting exports of the kernel library that the core forwards
// to.  One list names them; their types come from the kernel library's own
// declarations (qor_kp.h).
#pragma once

#include "qor/qor_kp.h"

// QOR_CORE_FIT_EXPORT(field, symbol) for every export the core needs: task
// creation, deletion, edits and queries, the construction entries, then the
// search, interpolation and integration entries.
// Define QOR_CORE_FIT_EXPORT, expand QOR_CORE_FIT_EXPORTS, undefine it.
#define QOR_CORE_FIT_EXPORTS                                          \
    QOR_CORE_FIT_EXPORT(dNewTask, qor_kp_kernel_dNewTask1D)           \
    QOR_CORE_FIT_EXPORT(sNewTask, qor_kp_kernel_sNewTask1D)           \
    QOR_CORE_FIT_EXPORT(DeleteTask, qor_kp_kernel_DeleteTask)         \
    QOR_CORE_FIT_EXPORT(dEditPPSpline, qor_kp_kernel_dEditPPSpline1D) \
    QOR_CORE_FIT_EXPORT(sEditPPSpline, qor_kp_kernel_sEditPPSpline1D) \
    QOR_CORE_FIT_EXPORT(dEditPtr, qor_kp_kernel_dEditPtr)             \
    QOR_CORE_FIT_EXPORT(sEditPtr, qor_kp_kernel_sEditPtr)             \
    QOR_CORE_FIT_EXPORT(dEditIdxPtr, qor_kp_kernel_dEditIdxPtr)       \
    QOR_CORE_FIT_EXPORT(sEditIdxPtr, qor_kp_kernel_sEditIdxPtr)       \
    QOR_CORE_FIT_EXPORT(iEditVal, qor_kp_kernel_iEditVal)             \
    QOR_CORE_FIT_EXPORT(dQueryPtr, qor_kp_kernel_dQueryPtr)           \
    QOR_CORE_FIT_EXPORT(sQueryPtr, qor_kp_kernel_sQueryPtr)           \
    QOR_CORE_FIT_EXPORT(dQueryIdxPtr, qor_kp_kernel_dQueryIdxPtr)     \
    QOR_CORE_FIT_EXPORT(sQueryIdxPtr, qor_kp_kernel_sQueryIdxPtr)     \
    QOR_CORE_FIT_EXPORT(iQueryVal, qor_kp_kernel_iQueryVal)           \
    QOR_CORE_FIT_KINDS(QOR_CORE_FIT_CONSTRUCTION_EXPORTS)             \
    QOR_CORE_FIT_EXPORT(dSearch, qor_kp_kernel_dKPSearch1D)           \
    QOR_CORE_FIT_EXPORT(sSearch, qor_kp_kernel_sKPSearch1D)           \
    QOR_CORE_FIT_EXPORT(dInterpolate, qor_kp_kernel_dInterpolate1D)   \
    QOR_CORE_FIT_EXPORT(sInterpolate, qor_kp_kernel_sInterpolate1D)   \
    QOR_CORE_FIT_EXPORT(dIntegrate, qor_kp_kernel_dIntegrate1D)       \
    QOR_CORE_FIT_EXPORT(sIntegrate, qor_kp_kernel_sIntegrate1D)

// The spline kinds in the order of the public kind codes (QOR_FIT_LINEAR,
// ...): fields d<Kind> and s<Kind>, symbols qor_kp_kernel_<p>KP<Kind>Spline1D.
#define QOR_CORE_FIT_KINDS(X) \
    X(Linear) X(Quadratic) X(NaturalCubic) X(DefaultCubic) X(HermiteCubic) X(BesselCubic) X(HymanCubic) X(AkimaCubic)
#define QOR_CORE_FIT_CONSTRUCTION_EXPORTS(Kind)                          \
    QOR_CORE_FIT_EXPORT(d##Kind, qor_kp_kernel_dKP##Kind##Spline1D)      \
    QOR_CORE_FIT_EXPORT(s##Kind, qor_kp_kernel_sKP##Kind##Spline1D)

namespace qor::core {

// One member per export, named by the list's field (dNewTask, sLinear).
struct FitKernels {
#define QOR_CORE_FIT_EXPORT(field, symbol) decltype(&symbol) field = nullptr;
    QOR_CORE_FIT_EXPORTS
#undef QOR_CORE_FIT_EXPORT
};

}  // namespace qor::core
