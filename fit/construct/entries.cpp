// The construction entries: each checks the task for its spline kind, in a
// fixed order, then hands it to the worker its hints select.  A kind's own
// checks that go beyond the common ones (the default cubic's method, the
// Hermite derivatives, the quadratic knots) come after them.
#include <cstdint>

#include "fit/construct/workers.h"

namespace qor::kp {
namespace {

// Boundary-condition codes of the cubic kinds: 1 and 2 take no values; a
// condition at each end with values is the sum of 4 or 16 (left) and 8 or
// 32 (right); kBcPeriodic is the last.
constexpr int64_t kAkimaNoCondition = 0;

// The worker variant a cubic boundary-condition code selects, or the
// refusal (negative).  Variant 7 is Akima's code 0, accepted by the caller.
int32_t cubic_variant(const FitTask& task) {
    if (task.bcType < 1 || task.bcType > kBcPeriodic) return statusBadBoundaryCondType;
    switch (task.bcType) {
        case kBcFreeEnd: return 0;
        case kBcNotAKnot: return 1;
        case 12: return task.bc ? 2 : statusBadBoundaryCondValues;
        case 36: return task.bc ? 3 : statusBadBoundaryCondValues;
        case 24: return task.bc ? 4 : statusBadBoundaryCondValues;
        case 48: return task.bc ? 5 : statusBadBoundaryCondValues;
        case kBcPeriodic: return task.bc || (task.type != 0 && task.type != 3) ? 6 : statusBadBoundaryCondValues;
        default: return statusBadBoundaryCondType;
    }
}

// What every cubic kind checks after its breakpoint count: the values hint,
// then the boundary conditions (Akima also takes code 0).
int32_t check_cubic(const FitTask& task, bool akima) {
    if (!is_values_hint(task.yhint)) return statusBadValuesHint;
    if (akima && task.bcType == kAkimaNoCondition) return 0;
    const int32_t variant = cubic_variant(task);
    return variant < 0 ? variant : 0;
}

int32_t check_quadratic(const FitTask& task) {
    if (!is_values_hint(task.yhint)) return statusBadValuesHint;
    if (task.type == 0) {
        if (task.bcType != kBcQuadraticValue) return statusBadBoundaryCondType;
        return task.bc ? 0 : statusBadBoundaryCondValues;
    }
    if (task.type == 1) {
        if (!(task.icType & kIcKnots)) return statusBadInternalCondType;
        const int32_t variant = cubic_variant(task);
        return variant < 0 ? variant : 0;
    }
    return statusUnsupportedMethod;
}

enum class Kind { Linear, Quadratic, NaturalCubic, DefaultCubic, HermiteCubic, BesselCubic, HymanCubic, AkimaCubic };

// The checks of a kind, in order.
int32_t check(const FitTask& task, Kind kind, int64_t method) {
    auto at_least = [&](int64_t n) { return task.nx >= n; };
    switch (kind) {
        case Kind::Linear:
            if (!at_least(2)) return statusBadBreakpointCount;
            if (method != 0) return statusUnsupportedMethod;
            return is_values_hint(task.yhint) ? 0 : statusBadValuesHint;
        case Kind::Quadratic: return check_quadratic(task);
        case Kind::NaturalCubic:
            if (!at_least(2) || (task.nx == 2 && task.bcType == kBcFreeEnd)) return statusBadBreakpointCount;
            if (method != 0) return statusUnsupportedMethod;
            return check_cubic(task, false);
        case Kind::DefaultCubic:  // the method goes to the worker
        case Kind::HermiteCubic: return at_least(3) ? check_cubic(task, false) : statusBadBreakpointCount;
        case Kind::BesselCubic:
        case Kind::HymanCubic: return at_least(4) ? check_cubic(task, false) : statusBadBreakpointCount;
        case Kind::AkimaCubic: return at_least(5) ? check_cubic(task, true) : statusBadBreakpointCount;
    }
    return statusUnsupportedMethod;
}

// What a kind checks after the common checks: the default cubic takes
// method 0 only; the Hermite kind needs its derivatives (and, periodic, the
// common end derivative); the quadratic needs an interval, and its type 1
// its knots.
int32_t check_own(const FitTask& task, Kind kind, int64_t method) {
    switch (kind) {
        case Kind::DefaultCubic: return method == 0 ? 0 : statusUnsupportedMethod;
        case Kind::HermiteCubic:
            if (task.icType != kIcFirstDerivatives) return statusBadInternalCondType;
            if (!task.ic) return statusBadInternalCondValues;
            return task.bcType == kBcPeriodic && !task.bc ? statusBadBoundaryCondValues : 0;
        case Kind::Quadratic:
            if (task.nx < 2) return statusBadBreakpointCount;
            return task.type == 1 && !task.ic ? statusBadInternalCondValues : 0;
        default: return 0;
    }
}

template <class T>
ConstructionWorker worker(const FitTask& task, Kind kind) {
    constexpr bool d = sizeof(T) == sizeof(double);
    const int index = worker_index(task);
    switch (kind) {
        case Kind::Linear: return (d ? kLinearWorkersD : kLinearWorkersS)[index];
        case Kind::Quadratic: return (d ? kQuadraticWorkersD : kQuadraticWorkersS)[task.type][index];
        case Kind::NaturalCubic:
        case Kind::DefaultCubic: return (d ? kC2CubicWorkersD : kC2CubicWorkersS)[index];
        case Kind::HermiteCubic: return (d ? kHermiteWorkersD : kHermiteWorkersS)[index];
        case Kind::BesselCubic: return (d ? kBesselWorkersD : kBesselWorkersS)[index];
        case Kind::HymanCubic: return (d ? kHymanWorkersD : kHymanWorkersS)[index];
        case Kind::AkimaCubic: return (d ? kAkimaWorkersD : kAkimaWorkersS)[index];
    }
    return nullptr;
}

template <class T>
int32_t construct(FitTask* task, Kind kind, int64_t method, const qor_threading* threading) {
    if (!task) return statusNullTask;
    if (const int32_t status = check(*task, kind, method); status != 0) return status;
    if (const int32_t status = check_own(*task, kind, method); status != 0) return status;
    return worker<T>(*task, kind)(*task, threading);
}

}  // namespace
}  // namespace qor::kp

using namespace qor::kp;

#define QOR_KP_CONSTRUCTION_DEFS(name)                                                                           \
    QOR_KP_API int32_t qor_kp_kernel_sKP##name##Spline1D(FitTask* task, int64_t, int64_t method,                 \
                                                         const qor_threading* threading) {                       \
        return construct<float>(task, Kind::name, method, threading);                                            \
    }                                                                                                            \
    QOR_KP_API int32_t qor_kp_kernel_dKP##name##Spline1D(FitTask* task, int64_t, int64_t method,                 \
                                                         const qor_threading* threading) {                       \
        return construct<double>(task, Kind::name, method, threading);                                           \
    }

QOR_EXTERN_C {
QOR_KP_CONSTRUCTION_DEFS(Linear)
QOR_KP_CONSTRUCTION_DEFS(Quadratic)
QOR_KP_CONSTRUCTION_DEFS(NaturalCubic)
QOR_KP_CONSTRUCTION_DEFS(DefaultCubic)
QOR_KP_CONSTRUCTION_DEFS(HermiteCubic)
QOR_KP_CONSTRUCTION_DEFS(BesselCubic)
QOR_KP_CONSTRUCTION_DEFS(HymanCubic)
QOR_KP_CONSTRUCTION_DEFS(AkimaCubic)
}
