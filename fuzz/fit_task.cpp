// Data-fitting tasks driven by the bytes: a spline task over a few
// breakpoints, then edits (spline parameters, attribute values within the
// arrays' reach, pointers to the fuzzer's arrays or null) followed by
// construction, interpolation, cell search and integration.  Every call
// must return a status; none may touch memory outside the given arrays.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "qor/qor.h"

namespace {

constexpr int64_t kMaxBreakpoints = 12, kMaxFunctions = 3, kMaxSites = 8;
// Coefficients of every kind: order at most 4, nx intervals, each function.
constexpr std::size_t kArray = 4 * kMaxBreakpoints * kMaxFunctions * 2;

const int64_t kPartitionHints[] = {hintPartitionNone, hintPartitionNonUniform, hintPartitionQuasiUniform,
                                   hintPartitionUniform, 3};
const int64_t kValuesHints[] = {hintValuesDefault, hintValuesByFunction, hintValuesWhole, hintValuesPerFunction, 5};
const int64_t kSiteHints[] = {hintSitesAny, hintSitesSorted, hintSitesClustered, hintPartitionUniform, 9};

template <class T>
struct Api;
template <>
struct Api<double> {
    static constexpr auto new_task = qor_dfit_new_task;
    static constexpr auto edit_pp = qor_dfit_edit_pp_spline;
    static constexpr auto edit_ptr = qor_dfit_edit_ptr;
    static constexpr auto edit_idx_ptr = qor_dfit_edit_idx_ptr;
    static constexpr auto construct = qor_dfit_construct;
    static constexpr auto search = qor_dfit_search;
    static constexpr auto interpolate = qor_dfit_interpolate;
    static constexpr auto integrate = qor_dfit_integrate;
};
template <>
struct Api<float> {
    static constexpr auto new_task = qor_sfit_new_task;
    static constexpr auto edit_pp = qor_sfit_edit_pp_spline;
    static constexpr auto edit_ptr = qor_sfit_edit_ptr;
    static constexpr auto edit_idx_ptr = qor_sfit_edit_idx_ptr;
    static constexpr auto construct = qor_sfit_construct;
    static constexpr auto search = qor_sfit_search;
    static constexpr auto interpolate = qor_sfit_interpolate;
    static constexpr auto integrate = qor_sfit_integrate;
};

// Values an integer attribute may take within the arrays' reach.
int64_t attribute_value(FuzzInput& in, int64_t attribute) {
    switch (attribute) {
        case attrBreakpointCount: return in.in(-1, kMaxBreakpoints);
        case attrFunctionCount: return in.in(-1, kMaxFunctions);
        case attrPartitionHint: return in.pick(kPartitionHints);
        case attrValuesHint:
        case attrCoefficientHint: return in.pick(kValuesHints);
        case attrSplineOrder: return in.in(0, 5);
        default: return in.in(-2, 40);
    }
}

template <class T>
void run(FuzzInput& in) {
    const int64_t nx = in.in(2, kMaxBreakpoints), ny = in.in(1, kMaxFunctions);
    std::vector<T> x(kMaxBreakpoints);
    T at = static_cast<T>(in.real());
    for (T& v : x) v = at, at += static_cast<T>(in.take<uint8_t>() % 4 ? 0.25 + in.take<uint8_t>() / 64.0 : in.real());
    std::vector<std::vector<T>> arrays(8, std::vector<T>(kArray));
    for (auto& a : arrays)
        for (std::size_t i = 0; i < 32; ++i) a[i] = static_cast<T>(in.real());
    std::vector<T>& y = arrays[0];
    std::vector<int64_t> cells(kMaxSites * kMaxFunctions), dorder(4, 1);
    qor_fit_task* task = nullptr;
    if (Api<T>::new_task(&task, nx, x.data(), in.pick(kPartitionHints), ny, y.data(), in.pick(kValuesHints)) != 0)
        return;
    const auto array = [&]() -> T* { return in.take<uint8_t>() % 8 ? arrays[in.take<uint8_t>() % 8].data() : nullptr; };
    for (int step = 0; step < 32 && !in.empty(); ++step) {
        switch (in.take<uint8_t>() % 6) {
            case 0:
                Api<T>::edit_pp(task, in.in(0, 5), in.in(-1, 8), in.in(-1, 12), array(), in.in(-1, 12), array(),
                                array(), in.pick(kValuesHints));
                break;
            case 1: {
                const int64_t attribute = in.in(0, 24);
                if (attribute >= attrBreakpointCount)
                    qor_fit_edit_value(task, attribute, attribute_value(in, attribute));
                else if (in.take<uint8_t>() % 2)
                    Api<T>::edit_ptr(task, attribute, array());
                else
                    Api<T>::edit_idx_ptr(task, attribute, in.in(-1, kMaxFunctions), array());
                break;
            }
            case 2: Api<T>::construct(task, static_cast<int>(in.in(-1, QOR_FIT_KIND_COUNT)), in.in(-1, 2)); break;
            case 3: {
                const int64_t nsite = in.in(-1, kMaxSites);
                for (int d = 0; d < 4; ++d) dorder[d] = in.in(0, 1);
                Api<T>::interpolate(task, in.in(0, 4), in.in(-1, 2), nsite, array(), in.pick(kSiteHints),
                                    in.in(0, 4), dorder.data(), nullptr, array(), in.in(-1, 3), cells.data());
                break;
            }
            case 4:
                Api<T>::search(task, in.in(-1, 2), in.in(-1, kMaxSites), array(), in.pick(kSiteHints), nullptr,
                               cells.data());
                break;
            default: {
                T* left = array();
                Api<T>::integrate(task, in.in(-1, 2), in.in(-1, kMaxSites), left, in.pick(kSiteHints), array(),
                                  in.pick(kSiteHints), nullptr, nullptr, array(), in.in(-1, 3));
                break;
            }
        }
    }
    qor_fit_delete_task(&task);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    if (in.take<uint8_t>() % 2)
        run<double>(in);
    else
        run<float>(in);
    return 0;
}
