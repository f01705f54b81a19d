// qor stats: summary statistics and quantiles of every column of a CSV
// file or of a binary file of raw doubles (--columns), one library task
// over the whole table, fed to the moments in portions.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "binary_reader.h"
#include "commands.h"
#include "common.h"
#include "progress.h"
#include "qor/qor.h"

namespace qor::cli {
namespace {

struct StatsOptions {
    std::string file;
    int64_t columns = 0;
    std::string header = "auto";
    std::string quantiles = "0.25,0.5,0.75";
    bool csv = false;
};

constexpr int64_t kPortionRows = 1 << 18;

struct Summary {
    std::vector<std::string> rows;            // statistic names
    std::vector<std::vector<double>> values;  // [statistic][column]
};

struct Task {
    qor_ss_task* t = nullptr;
    ~Task() {
        if (t) qor_ss_delete_task(&t);
    }
};

Summary summarise(const Table& table, const std::vector<double>& orders) {
    const int64_t p = int64_t(table.columns), all = int64_t(table.rows), storage = SS_OBS_OBSERVATIONS_IN_ROWS;
    int64_t n = std::min(kPortionRows, all);
    const std::size_t columns = table.columns;
    std::vector<double> mean(columns), raw2(columns), raw3(columns), raw4(columns), central2(columns),
        central3(columns), central4(columns), skewness(columns), kurtosis(columns),
        min(columns, std::numeric_limits<double>::infinity()), max(columns, -std::numeric_limits<double>::infinity()),
        quantiles(columns * orders.size());
    std::vector<double> order_list = orders;
    double weights[2] = {0, 0};
    const double* data = table.values.data();

    Task task;
    auto check = [](int status, const char* call) { check_status(status, "stats", call); };
    check(qor_dss_new_task(&task.t, &p, &n, &storage, data, nullptr, nullptr), "qor_dss_new_task");
    check(qor_dss_edit_moments(task.t, mean.data(), raw2.data(), raw3.data(), raw4.data(), central2.data(),
                               central3.data(), central4.data()),
          "qor_dss_edit_moments");
    check(qor_dss_edit_task(task.t, SS_PARAM_SKEWNESS, skewness.data()), "qor_dss_edit_task");
    check(qor_dss_edit_task(task.t, SS_PARAM_KURTOSIS, kurtosis.data()), "qor_dss_edit_task");
    check(qor_dss_edit_task(task.t, SS_PARAM_MIN, min.data()), "qor_dss_edit_task");
    check(qor_dss_edit_task(task.t, SS_PARAM_MAX, max.data()), "qor_dss_edit_task");
    check(qor_dss_edit_task(task.t, SS_PARAM_ACC_WEIGHTS, weights), "qor_dss_edit_task");

    // The moments and extremes accumulate portion by portion; the task
    // reads the observation address and count at each call.
    const uint64_t moments = SS_EST_MEAN | SS_EST_CENTRAL_MOMENT2 | SS_EST_SKEWNESS | SS_EST_KURTOSIS;
    Progress progress("qor stats", uint64_t(all));
    for (int64_t done = 0; done < all; done += n) {
        n = std::min(kPortionRows, all - done);
        check(qor_dss_edit_task(task.t, SS_PARAM_OBS, const_cast<double*>(data + done * p)), "qor_dss_edit_task");
        check(qor_dss_minmax(task.t, SS_EST_MIN | SS_EST_MAX, SS_METHOD_OBS_1), "qor_dss_minmax");
        check(qor_dss_basic(task.t, moments, SS_METHOD_OBS_1), "qor_dss_basic");
        progress.update(uint64_t(done + n));
    }
    if (!orders.empty()) {
        n = all;
        const int64_t m = int64_t(orders.size());
        check(qor_dss_edit_task(task.t, SS_PARAM_OBS, const_cast<double*>(data)), "qor_dss_edit_task");
        check(qor_dss_edit_quantiles(task.t, &m, order_list.data(), quantiles.data(), nullptr, nullptr),
              "qor_dss_edit_quantiles");
        check(qor_dss_quantiles(task.t, SS_EST_QUANTILES, SS_METHOD_OBS_1), "qor_dss_quantiles");
    }

    Summary s;
    auto add = [&](std::string name, std::vector<double> v) {
        s.rows.push_back(std::move(name));
        s.values.push_back(std::move(v));
    };
    add("count", std::vector<double>(columns, double(all)));
    add("mean", mean);
    add("variance", central2);
    add("skewness", skewness);
    add("kurtosis", kurtosis);
    add("min", min);
    add("max", max);
    for (std::size_t j = 0; j < orders.size(); ++j) {
        std::vector<double> q(columns);
        for (std::size_t v = 0; v < columns; ++v) q[v] = quantiles[v * orders.size() + j];
        add("q" + format_number(orders[j]), q);
    }
    return s;
}

void print_table(const Summary& s, const std::vector<std::string>& names) {
    std::size_t label = 10;
    for (const std::string& r : s.rows) label = std::max(label, r.size() + 1);
    std::vector<std::size_t> width(names.size(), 14);
    for (std::size_t j = 0; j < names.size(); ++j) width[j] = std::max(width[j], names[j].size() + 1);
    std::printf("%-*s", int(label), "");
    for (std::size_t j = 0; j < names.size(); ++j) std::printf(" %*s", int(width[j]), names[j].c_str());
    std::printf("\n");
    for (std::size_t i = 0; i < s.rows.size(); ++i) {
        std::printf("%-*s", int(label), s.rows[i].c_str());
        for (std::size_t j = 0; j < names.size(); ++j) std::printf(" %*.*g", int(width[j]), i == 0 ? 15 : 8, s.values[i][j]);
        std::printf("\n");
    }
}

void print_csv(const Summary& s, const std::vector<std::string>& names) {
    std::string out = "statistic";
    for (const std::string& n : names) out.append(1, ',').append(n);
    out += "\n";
    for (std::size_t i = 0; i < s.rows.size(); ++i) {
        out += s.rows[i];
        for (double v : s.values[i]) out.append(1, ',').append(format_number(v));
        out += "\n";
    }
    std::fputs(out.c_str(), stdout);
}

void run_stats(const StatsOptions& o) {
    std::vector<double> orders;
    if (!o.quantiles.empty() && o.quantiles != "none") orders = parse_list(o.quantiles, "--quantiles");
    for (double q : orders)
        if (!(q >= 0 && q <= 1)) throw Error("--quantiles: " + format_number(q) + " is not an order in [0, 1]");
    Table table;
    if (o.columns > 0) {
        std::string error;
        if (!read_binary(read_file(o.file), o.columns, table, error)) throw Error(o.file + ": " + error);
    } else {
        const Header header = o.header == "yes" ? Header::present : o.header == "no" ? Header::absent : Header::automatic;
        table = read_csv_file(o.file, header);
    }
    const Summary s = summarise(table, orders);
    if (o.csv) print_csv(s, table.names);
    else print_table(s, table.names);
}

}  // namespace

void add_stats(CLI::App& app) {
    auto o = std::make_shared<StatsOptions>();
    auto* sub = app.add_subcommand("stats", "Summary statistics and quantiles of the columns of a CSV or binary file");
    sub->add_option("file", o->file, "CSV file (header optional), or raw doubles with --columns; - for stdin")
        ->required();
    sub->add_option("-c,--columns", o->columns, "Read the file as raw native doubles, this many to a row")
        ->check(CLI::PositiveNumber);
    sub->add_option("--header", o->header, "Whether the CSV's first line names the columns")
        ->check(CLI::IsMember({"auto", "yes", "no"}))
        ->capture_default_str();
    sub->add_option("-q,--quantiles", o->quantiles, "Quantile orders in [0, 1], comma-separated, or none")
        ->capture_default_str();
    sub->add_flag("--csv", o->csv, "Print the results as CSV, every number in full");
    sub->footer("Rows: count, mean, variance (unbiased), skewness, kurtosis (excess), min, max, quantiles\n"
                "Example: qor stats data.csv -q 0.05,0.5,0.95");
    sub->callback([o] { run_stats(*o); });
}

}  // namespace qor::cli
