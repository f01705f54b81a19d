// The generators and distributions that `qor rng` knows by name, with the
// parameters of each (names as in qor_random.h), their defaults and the
// call that draws a block of variates.
#ifndef QOR_CLI_RNG_CATALOGUE_H
#define QOR_CLI_RNG_CATALOGUE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qor/qor.h"

namespace qor::cli {

// What one variate is made of in memory.
enum class Variate { real, integer, bits32, bits64 };

struct ParamInfo {
    enum class Kind { real, integer, list };
    const char* name;
    Kind kind;
    bool required;
    double fallback;  // used when not required and not given
    const char* meaning;
};

// The parameters given on the command line, checked against the distribution's parameters.
struct ParamValues {
    std::map<std::string, double> scalars;
    std::map<std::string, std::vector<double>> lists;
    double operator()(const char* name) const { return scalars.at(name); }
    const std::vector<double>& list(const char* name) const { return lists.at(name); }
};

// One block of variates to draw: n variates (width values each) into out.
struct Draw {
    int method;
    qor_rng_stream* stream;
    int64_t n;
    void* out;          // double, float, int32_t, uint32_t or uint64_t
    bool single;        // the float form of a real distribution
    int64_t first;      // index of the block's first variate in the run
    const ParamValues& values;
};

struct DistributionSpec {
    const char* name;
    Variate variate;
    std::vector<ParamInfo> params;
    std::vector<std::pair<const char*, int>> methods;  // the first is the default
    bool accurate;                                    // QOR_RNG_METHOD_ACCURATE allowed
    const char* width_list;                           // list whose length is the width, or null: 1
    int (*draw)(const Draw&);
    const char* meaning;
};

const std::vector<DistributionSpec>& distributions();
// By name, case ignored; null when there is none.
const DistributionSpec* find_distribution(std::string_view name);

struct GeneratorSpec {
    const char* name;
    int brng;
    bool members;  // takes ":k" for member k of a family
};
const std::vector<GeneratorSpec>& generators();
// "mt19937", "MT2203:5", ... to an identifier; throws Error naming the text.
int parse_generator(const std::string& text);

}  // namespace qor::cli

#endif
