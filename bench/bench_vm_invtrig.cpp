// Inverse trigonometric kernels (the rows of the row list that have peers
// here, with each kernel a row owns) beside their SLEEF and C library peers
// (vm_peers.h).  The pi-scaled forms have no peer and are timed alone.
#include <cmath>
#include <map>
#include <string>

#include "vm_peers.h"
#include "qor/qor_vm.h"

namespace qor::bench {
namespace {

int register_all() {
    if (dll_cpu_version() != 5) return 1;
    const std::map<std::string, Peers<double>> doubles = {
        {"dAsin", {-1.0, 1.0, ::asin, Sleef_asind2_u10sse4, Sleef_asind2_u35sse4}},
        {"dAcos", {-1.0, 1.0, ::acos, Sleef_acosd2_u10sse4, Sleef_acosd2_u35sse4}},
        {"dAtan", {-10.0, 10.0, ::atan, Sleef_atand2_u10sse4, Sleef_atand2_u35sse4}},
        {"dAsinpi", {-1.0, 1.0, nullptr, nullptr, nullptr}},
        {"dAcospi", {-1.0, 1.0, nullptr, nullptr, nullptr}},
        {"dAtanpi", {-10.0, 10.0, nullptr, nullptr, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sAsin", {-1.0, 1.0, ::asinf, Sleef_asinf4_u10sse4, Sleef_asinf4_u35sse4}},
        {"sAcos", {-1.0, 1.0, ::acosf, Sleef_acosf4_u10sse4, Sleef_acosf4_u35sse4}},
        {"sAtan", {-10.0, 10.0, ::atanf, Sleef_atanf4_u10sse4, Sleef_atanf4_u35sse4}},
        {"sAsinpi", {-1.0, 1.0, nullptr, nullptr, nullptr}},
        {"sAcospi", {-1.0, 1.0, nullptr, nullptr, nullptr}},
        {"sAtanpi", {-10.0, 10.0, nullptr, nullptr, nullptr}}};
    const std::map<std::string, BinaryPeers<double>> double_pairs = {
        {"dAtan2", {-10.0, 10.0, ::atan2, Sleef_atan2d2_u10sse4, Sleef_atan2d2_u35sse4}},
        {"dAtan2pi", {-10.0, 10.0, nullptr, nullptr, nullptr}}};
    const std::map<std::string, BinaryPeers<float>> single_pairs = {
        {"sAtan2", {-10.0, 10.0, ::atan2f, Sleef_atan2f4_u10sse4, Sleef_atan2f4_u35sse4}},
        {"sAtan2pi", {-10.0, 10.0, nullptr, nullptr, nullptr}}};
    register_rows(doubles, singles, double_pairs, single_pairs);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
