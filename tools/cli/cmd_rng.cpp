// qor rng: variates of a distribution from a generator, as text (one
// variate a line, the values of a vector variate separated by commas) or
// as raw native-endian binary, to a file or standard output.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "common.h"
#include "progress.h"
#include "qor/qor.h"
#include "rng_catalogue.h"

namespace qor::cli {
namespace {

struct RngOptions {
    std::string distribution = "uniform";
    std::string generator = "mt19937";
    uint32_t seed = 1;
    std::string skip = "0";
    std::string count = "10";
    std::vector<std::string> params;
    std::string method;
    bool accurate = false;
    bool single = false;
    std::string format = "text";
    std::string output = "-";
    bool list = false;
};

constexpr int64_t kBlock = 1 << 16;  // variates per call of the library

std::string names_of(const DistributionSpec& d) {
    std::string out;
    for (const ParamInfo& p : d.params) out += std::string(out.empty() ? "" : ", ") + p.name;
    return out.empty() ? "none" : out;
}

ParamValues parse_params(const DistributionSpec& d, const std::vector<std::string>& given) {
    ParamValues values;
    for (const std::string& item : given) {
        const std::size_t eq = item.find('=');
        if (eq == std::string::npos) throw Error("--param " + item + ": expected name=value");
        const std::string name = item.substr(0, eq), text = item.substr(eq + 1);
        const auto known = std::find_if(d.params.begin(), d.params.end(), [&](const ParamInfo& p) { return name == p.name; });
        if (known == d.params.end())
            throw Error("--param " + item + ": " + d.name + " has no parameter '" + name + "' (its parameters: " +
                        names_of(d) + ")");
        if (known->kind == ParamInfo::Kind::list) {
            values.lists[name] = parse_list(text, "--param " + name);
            continue;
        }
        double value;
        if (!parse_double(text, value)) throw Error("--param " + item + ": '" + text + "' is not a number");
        if (known->kind == ParamInfo::Kind::integer && !(value == int32_t(value) && value >= -2147483648.0 && value <= 2147483647.0))
            throw Error("--param " + item + ": " + name + " must be a 32-bit integer");
        values.scalars[name] = value;
    }
    for (const ParamInfo& p : d.params) {
        const bool given_p = values.scalars.count(p.name) || values.lists.count(p.name);
        if (given_p || p.kind == ParamInfo::Kind::list) {
            if (!given_p && p.required) throw Error(std::string(d.name) + " needs --param " + p.name + "=... (" + p.meaning + ")");
            continue;
        }
        if (p.required) throw Error(std::string(d.name) + " needs --param " + p.name + "=... (" + p.meaning + ")");
        values.scalars[p.name] = p.fallback;
    }
    return values;
}

// " (a=0, sigma=-1)": the parameters a failed draw was given.
std::string described(const ParamValues& values) {
    std::string out;
    for (const auto& [name, value] : values.scalars) out += (out.empty() ? "" : ", ") + name + "=" + format_number(value);
    for (const auto& [name, list] : values.lists) out += (out.empty() ? "" : ", ") + name + "=(" + std::to_string(list.size()) + " values)";
    return out.empty() ? out : " (" + out + ")";
}

int pick_method(const DistributionSpec& d, const RngOptions& o) {
    int method = d.methods.front().second;
    if (!o.method.empty()) {
        const auto m = std::find_if(d.methods.begin(), d.methods.end(), [&](const auto& m) { return o.method == m.first; });
        if (m == d.methods.end()) {
            std::string known;
            for (const auto& k : d.methods) known += std::string(known.empty() ? "" : ", ") + k.first;
            throw Error("--method: " + std::string(d.name) + " has no method '" + o.method + "' (its methods: " + known + ")");
        }
        method = m->second;
    }
    if (o.accurate) {
        if (!d.accurate) throw Error(std::string("--accurate: ") + d.name + " has no accurate variant");
        method |= QOR_RNG_METHOD_ACCURATE;
    }
    return method;
}

void print_list() {
    std::printf("generators (--generator NAME, NAME:k for member k of wh and mt2203):\n ");
    for (const GeneratorSpec& g : generators()) std::printf(" %s", g.name);
    std::printf("\n\ndistributions (--distribution NAME) and their parameters (--param NAME=VALUE):\n");
    for (const DistributionSpec& d : distributions()) {
        std::printf("  %-15s %s; methods:", d.name, d.meaning);
        for (const auto& m : d.methods) std::printf(" %s", m.first);
        std::printf("%s\n", d.accurate ? " (--accurate allowed)" : "");
        for (const ParamInfo& p : d.params) {
            std::printf("      %-8s %s", p.name, p.meaning);
            if (p.kind == ParamInfo::Kind::list) std::printf(" (comma-separated list)");
            if (p.required) std::printf(", required\n");
            else if (p.kind != ParamInfo::Kind::list) std::printf(", default %s\n", format_number(p.fallback).c_str());
            else std::printf("\n");
        }
    }
}

// Appends the values of n variates of `width` values each as text lines.
template <class T>
void append_text(std::string& text, const T* values, int64_t n, int64_t width) {
    char buffer[32];
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t k = 0; k < width; ++k) {
            const auto r = std::to_chars(buffer, buffer + sizeof buffer, values[i * width + k]);
            text.append(buffer, r.ptr);
            text += k + 1 < width ? ',' : '\n';
        }
    }
}

struct Stream {
    qor_rng_stream* s = nullptr;
    ~Stream() {
        if (s) qor_rng_delete_stream(&s);
    }
};

void run_rng(const RngOptions& o) {
    if (o.list) return print_list();
    const DistributionSpec* d = find_distribution(o.distribution);
    if (!d) throw Error("--distribution: no distribution '" + o.distribution + "' (qor rng --list shows them)");
    const int brng = parse_generator(o.generator);
    const int64_t count = parse_count(o.count, "--count");
    const int64_t skip = parse_count(o.skip, "--skip");
    const ParamValues values = parse_params(*d, o.params);
    const int method = pick_method(*d, o);
    if (o.single && d->variate != Variate::real)
        throw Error(std::string("--single: ") + d->name + " gives integers; only real distributions have a float form");
    const int64_t width = d->width_list ? int64_t(values.list(d->width_list).size()) : 1;
    if (width < 1) throw Error(std::string("--param ") + d->width_list + " needs at least one value");
    const bool binary = o.format == "binary";

    Stream stream;
    check_status(qor_rng_new_stream(&stream.s, brng, o.seed), "rng", "creating the " + o.generator + " stream");
    if (skip > 0) check_status(qor_rng_skip_ahead_stream(stream.s, uint64_t(skip)), "rng", "--skip " + o.skip);

    Output out(o.output);
    if (binary && out.is_terminal()) throw Error("--format binary: will not write binary to a terminal; give --output FILE");
    std::size_t value_bytes = sizeof(double);
    if (d->variate == Variate::real && o.single) value_bytes = sizeof(float);
    if (d->variate == Variate::integer || d->variate == Variate::bits32) value_bytes = 4;
    if (d->variate == Variate::bits64) value_bytes = 8;
    const int64_t block = std::max<int64_t>(1, std::min<int64_t>(kBlock, (int64_t{1} << 24) / width));
    std::vector<unsigned char> buffer(static_cast<std::size_t>(std::min(block, std::max<int64_t>(count, 1)) * width) *
                                      value_bytes);
    std::string text;
    Progress progress("qor rng", uint64_t(count));
    for (int64_t done = 0; done < count;) {
        const int64_t n = std::min(block, count - done);
        check_status(d->draw(Draw{method, stream.s, n, buffer.data(), o.single, done, values}), "rng",
                     std::string("drawing ") + d->name + " variates" + described(values));
        if (binary) {
            out.write(buffer.data(), static_cast<std::size_t>(n * width) * value_bytes);
        } else {
            text.clear();
            switch (d->variate) {
                case Variate::real:
                    if (o.single) append_text(text, reinterpret_cast<const float*>(buffer.data()), n, width);
                    else append_text(text, reinterpret_cast<const double*>(buffer.data()), n, width);
                    break;
                case Variate::integer: append_text(text, reinterpret_cast<const int32_t*>(buffer.data()), n, width); break;
                case Variate::bits32: append_text(text, reinterpret_cast<const uint32_t*>(buffer.data()), n, width); break;
                case Variate::bits64: append_text(text, reinterpret_cast<const uint64_t*>(buffer.data()), n, width); break;
            }
            out.write(text);
        }
        done += n;
        progress.update(uint64_t(done));
    }
    out.close();
}

}  // namespace

void add_rng(CLI::App& app) {
    auto o = std::make_shared<RngOptions>();
    auto* sub = app.add_subcommand("rng", "Random variates of a distribution from a generator, to a file or stdout");
    sub->add_option("-d,--distribution", o->distribution, "Distribution by name (--list shows them)")
        ->capture_default_str();
    sub->add_option("-g,--generator", o->generator, "Generator by name, NAME:k for member k of a family")
        ->capture_default_str();
    sub->add_option("-s,--seed", o->seed, "32-bit seed of the generator")->capture_default_str();
    sub->add_option("--skip", o->skip, "Generator outputs to skip before drawing")->capture_default_str();
    sub->add_option("-n,--count", o->count, "Number of variates (1e6 allowed)")->capture_default_str();
    sub->add_option("-p,--param", o->params, "A parameter NAME=VALUE (lists: NAME=v1,v2,...); repeatable");
    sub->add_option("-m,--method", o->method, "Method by name (default: the distribution's first)");
    sub->add_flag("--accurate", o->accurate, "The accurate variant of the method");
    sub->add_flag("--single", o->single, "Single precision (float) for a real distribution");
    sub->add_option("-f,--format", o->format, "Output format")
        ->check(CLI::IsMember({"text", "binary"}))
        ->capture_default_str();
    sub->add_option("-o,--output", o->output, "Output file, - for standard output")->capture_default_str();
    sub->add_flag("--list", o->list, "List the generators, distributions, parameters and methods");
    sub->footer("Example: qor rng -d gaussian -p a=0 -p sigma=2 -g philox4x32x10 --seed 7 -n 1e6 -f binary -o g.bin");
    sub->callback([o] { run_rng(*o); });
}

}  // namespace qor::cli
