// qor fit: a spline of a given kind through the points (x, y) of a CSV
// file, evaluated at sites from a file or on an even grid; optionally its
// derivatives and its integral from the first point to each site.  The
// output is CSV: x, value, d1 ... dk, integral.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "common.h"
#include "progress.h"
#include "qor/qor.h"

namespace qor::cli {
namespace {

struct FitOptions {
    std::string points;
    std::string kind = "natural";
    std::string bc = "auto";
    std::string sites;
    std::optional<double> from, to;
    std::string count = "21";
    int derivatives = 0;
    bool integral = false;
    std::string header = "auto";
    std::string output = "-";
};

struct KindSpec {
    const char* name;
    int kind;
    int64_t order;
    int64_t default_bc;
    const char* meaning;
};

const KindSpec kKinds[] = {
    {"linear", QOR_FIT_LINEAR, 2, 0, "straight pieces through the points"},
    {"quadratic", QOR_FIT_QUADRATIC, 3, bcFreeEnd, "parabolas with knots halfway between the points"},
    {"natural", QOR_FIT_NATURAL_CUBIC, 4, bcFreeEnd, "cubic with continuous second derivative"},
    {"default", QOR_FIT_DEFAULT_CUBIC, 4, bcFreeEnd, "cubic with continuous second derivative (one method)"},
    {"hermite", QOR_FIT_HERMITE_CUBIC, 4, bcFirstLeft | bcFirstRight, "cubic through given slopes (third column dy)"},
    {"bessel", QOR_FIT_BESSEL_CUBIC, 4, bcFreeEnd, "cubic with the slopes of local parabolas"},
    {"hyman", QOR_FIT_HYMAN_CUBIC, 4, bcFreeEnd, "cubic that keeps monotone data monotone"},
    {"akima", QOR_FIT_AKIMA_CUBIC, 4, 0, "cubic with Akima's weighted slopes"},
};

const KindSpec& find_kind(const std::string& name) {
    for (const KindSpec& k : kKinds)
        if (name == k.name) return k;
    std::string known;
    for (const KindSpec& k : kKinds) known += std::string(known.empty() ? "" : ", ") + k.name;
    throw Error("--kind: no spline kind '" + name + "' (known: " + known + ")");
}

int64_t boundary_code(const std::string& bc, const KindSpec& kind) {
    if (bc == "auto") return kind.default_bc;
    if (kind.order == 2) throw Error("--bc: a linear spline takes no boundary condition");
    if (kind.kind == QOR_FIT_HERMITE_CUBIC) throw Error("--bc: a hermite spline takes its end slopes from dy");
    if (bc == "free") return bcFreeEnd;
    if (bc == "notaknot") return bcNotAKnot;
    return bcPeriodic;
}

std::vector<double> site_list(const FitOptions& o, const std::vector<double>& x, Header header) {
    if (!o.sites.empty()) {
        if (o.from || o.to) throw Error("--sites and --from/--to exclude each other");
        const Table t = read_csv_file(o.sites, header);
        std::vector<double> s(t.rows);
        for (std::size_t i = 0; i < t.rows; ++i) s[i] = t.at(i, 0);
        return s;
    }
    const double a = o.from.value_or(x.front()), b = o.to.value_or(x.back());
    const int64_t n = parse_count(o.count, "--count");
    if (n < 1) throw Error("--count: at least one site");
    std::vector<double> s(static_cast<std::size_t>(n));
    for (int64_t i = 0; i < n; ++i) s[i] = n == 1 ? a : a + (b - a) * double(i) / double(n - 1);
    if (n > 1) s.back() = b;
    return s;
}

struct FitTask {
    qor_fit_task* t = nullptr;
    ~FitTask() {
        if (t) qor_fit_delete_task(&t);
    }
};

void run_fit(const FitOptions& o) {
    const KindSpec& kind = find_kind(o.kind);
    const int64_t bc_type = boundary_code(o.bc, kind);
    const Header header = o.header == "yes" ? Header::present : o.header == "no" ? Header::absent : Header::automatic;
    const Table points = read_csv_file(o.points, header);
    const bool hermite = kind.kind == QOR_FIT_HERMITE_CUBIC;
    const std::size_t wanted = hermite ? 3 : 2;
    if (points.columns != wanted)
        throw Error(o.points + ": " + std::to_string(points.columns) + " columns; " +
                    (hermite ? "a hermite spline takes x,y,dy" : "a spline takes x,y"));
    if (points.rows < 2) throw Error(o.points + ": a spline needs at least 2 points");
    const std::size_t nx = points.rows;
    std::vector<double> x(nx), y(nx), dy(hermite ? nx : 0);
    for (std::size_t i = 0; i < nx; ++i) {
        x[i] = points.at(i, 0);
        y[i] = points.at(i, 1);
        if (hermite) dy[i] = points.at(i, 2);
        if (i > 0 && !(x[i] > x[i - 1]))
            throw Error(o.points + ": line " + std::to_string(points.lines[i]) + ": x = " + format_number(x[i]) +
                        " is not above the previous x = " + format_number(x[i - 1]) + " (x must ascend strictly)");
    }
    if (o.derivatives < 0 || o.derivatives > 3) throw Error("--derivatives: an order from 0 to 3");
    const std::vector<double> sites = site_list(o, x, header);

    // Boundary values, internal conditions and the coefficient layout of the kind.
    double bc[2] = {0, 0};
    std::vector<double> ic;
    int64_t ic_type = 0;
    if (hermite) {
        bc[0] = dy.front();
        bc[1] = dy.back();
        ic.assign(dy.begin() + 1, dy.end() - 1);
        ic_type = icFirstDerivatives;
    } else if (kind.kind == QOR_FIT_QUADRATIC) {
        for (std::size_t i = 0; i + 1 < nx; ++i) ic.push_back(x[i] + (x[i + 1] - x[i]) / 2);
        ic_type = icKnots;
    }
    const int64_t type = kind.kind == QOR_FIT_QUADRATIC ? 1 : 0;
    const std::size_t pieces = kind.kind == QOR_FIT_QUADRATIC ? nx : nx - 1;
    std::vector<double> coeff(pieces * std::size_t(kind.order));

    FitTask task;
    check_status(qor_dfit_new_task(&task.t, int64_t(nx), x.data(), hintPartitionNonUniform, 1, y.data(), hintValuesDefault),
                 "fit", "creating the spline task");
    check_status(qor_dfit_edit_pp_spline(task.t, kind.order, type, bc_type, bc, ic_type, ic.empty() ? nullptr : ic.data(),
                                         coeff.data(), hintValuesDefault),
                 "fit", std::string("setting up the ") + kind.name + " spline");
    check_status(qor_dfit_construct(task.t, kind.kind, 0), "fit", std::string("building the ") + kind.name + " spline");

    const int64_t nd = o.derivatives + 1;
    const std::vector<int64_t> orders(static_cast<std::size_t>(nd), 1);
    const int64_t block = 1 << 16;
    Output out(o.output);
    std::string text = "x,value";
    for (int k = 1; k <= o.derivatives; ++k) text += ",d" + std::to_string(k);
    text += o.integral ? ",integral\n" : "\n";
    std::vector<double> r(static_cast<std::size_t>(block * nd)), area(static_cast<std::size_t>(block));
    const std::vector<double> left(static_cast<std::size_t>(block), x.front());
    Progress progress("qor fit", sites.size());
    for (std::size_t done = 0; done < sites.size(); done += block) {
        const int64_t n = std::min<int64_t>(block, int64_t(sites.size() - done));
        const double* s = sites.data() + done;
        check_status(qor_dfit_interpolate(task.t, computeValues, 0, n, s, hintSitesAny, nd, orders.data(), nullptr,
                                          r.data(), hintResultBySite, nullptr),
                     "fit", "evaluating the spline");
        if (o.integral)
            check_status(qor_dfit_integrate(task.t, 0, n, left.data(), hintSitesAny, s, hintSitesAny, nullptr, nullptr,
                                            area.data(), hintResultBySite),
                         "fit", "integrating the spline");
        for (int64_t i = 0; i < n; ++i) {
            text += format_number(s[i]);
            for (int64_t q = 0; q < nd; ++q) text.append(1, ',').append(format_number(r[i * nd + q]));
            if (o.integral) text.append(1, ',').append(format_number(area[i]));
            text += "\n";
        }
        out.write(text);
        text.clear();
        progress.update(done + n);
    }
    out.close();
}

}  // namespace

void add_fit(CLI::App& app) {
    auto o = std::make_shared<FitOptions>();
    auto* sub = app.add_subcommand("fit", "A spline through the points x,y of a CSV file, evaluated at sites");
    sub->add_option("points", o->points, "CSV of points x,y (x ascending; x,y,dy for --kind hermite)")->required();
    std::string kinds;
    for (const KindSpec& k : kKinds) kinds += std::string("\n  ") + k.name + ": " + k.meaning;
    sub->add_option("-k,--kind", o->kind, "Spline kind:" + kinds)->capture_default_str();
    sub->add_option("--bc", o->bc, "Cubic or quadratic end condition (auto: the kind's own)")
        ->check(CLI::IsMember({"auto", "free", "notaknot", "periodic"}))
        ->capture_default_str();
    sub->add_option("--sites", o->sites, "CSV whose first column holds the sites");
    sub->add_option("--from", o->from, "First site of an even grid (default: the first x)");
    sub->add_option("--to", o->to, "Last site of the grid (default: the last x)");
    sub->add_option("-n,--count", o->count, "Sites on the grid")->capture_default_str();
    sub->add_option("-d,--derivatives", o->derivatives, "Also the derivatives up to this order (0-3)")
        ->capture_default_str();
    sub->add_flag("--integral", o->integral, "Also the integral from the first x to each site");
    sub->add_option("--header", o->header, "Whether the CSV files' first lines name the columns")
        ->check(CLI::IsMember({"auto", "yes", "no"}))
        ->capture_default_str();
    sub->add_option("-o,--output", o->output, "Output CSV file, - for standard output")->capture_default_str();
    sub->footer("Example: qor fit points.csv --kind akima --from 0 --to 10 -n 101 -d 1 --integral");
    sub->callback([o] { run_fit(*o); });
}

}  // namespace qor::cli
