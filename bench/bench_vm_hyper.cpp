// Hyperbolic kernels (each kernel the rows own) beside their SLEEF and C
// library peers (vm_peers.h).  SLEEF has no 3.5-ulp inverse hyperbolic
// functions.
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
        {"dSinh", {-10.0, 10.0, ::sinh, Sleef_sinhd2_u10sse4, Sleef_sinhd2_u35sse4}},
        {"dCosh", {-10.0, 10.0, ::cosh, Sleef_coshd2_u10sse4, Sleef_coshd2_u35sse4}},
        {"dTanh", {-5.0, 5.0, ::tanh, Sleef_tanhd2_u10sse4, Sleef_tanhd2_u35sse4}},
        {"dAsinh", {-10.0, 10.0, ::asinh, Sleef_asinhd2_u10sse4, nullptr}},
        {"dAcosh", {1.0, 100.0, ::acosh, Sleef_acoshd2_u10sse4, nullptr}},
        {"dAtanh", {-0.99, 0.99, ::atanh, Sleef_atanhd2_u10sse4, nullptr}}};
    const std::map<std::string, Peers<float>> singles = {
        {"sSinh", {-10.0, 10.0, ::sinhf, Sleef_sinhf4_u10sse4, Sleef_sinhf4_u35sse4}},
        {"sCosh", {-10.0, 10.0, ::coshf, Sleef_coshf4_u10sse4, Sleef_coshf4_u35sse4}},
        {"sTanh", {-5.0, 5.0, ::tanhf, Sleef_tanhf4_u10sse4, Sleef_tanhf4_u35sse4}},
        {"sAsinh", {-10.0, 10.0, ::asinhf, Sleef_asinhf4_u10sse4, nullptr}},
        {"sAcosh", {1.0, 100.0, ::acoshf, Sleef_acoshf4_u10sse4, nullptr}},
        {"sAtanh", {-0.99, 0.99, ::atanhf, Sleef_atanhf4_u10sse4, nullptr}}};
    register_rows(doubles, singles);
    return 0;
}

const int registered = register_all();

}  // namespace
}  // namespace qor::bench

BENCHMARK_MAIN();
