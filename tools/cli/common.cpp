#include "common.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#ifdef _WIN32
#include <io.h>
#define QOR_CLI_ISATTY(f) _isatty(_fileno(f))
#else
#include <unistd.h>
#define QOR_CLI_ISATTY(f) isatty(fileno(f))
#endif

#include "qor/qor.h"

namespace qor::cli {

std::string read_file(const std::string& path) {
    if (path == "-") {
        std::ostringstream all;
        all << std::cin.rdbuf();
        return all.str();
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Error("cannot open " + path + ": " + std::strerror(errno));
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw Error("cannot read " + path + ": " + std::strerror(errno));
    return bytes;
}

Table read_csv_file(const std::string& path, Header header) {
    Table table;
    std::string error;
    if (!read_csv(read_file(path), table, error, header)) throw Error(path + ": " + error);
    return table;
}

int64_t parse_count(const std::string& text, const std::string& what) {
    double value;
    int64_t whole = 0;
    const char* end = text.data() + text.size();
    if (auto [ptr, ec] = std::from_chars(text.data(), end, whole); ec == std::errc() && ptr == end && whole >= 0)
        return whole;
    // 1e6 and the like: a whole number written with an exponent.
    if (parse_double(text, value) && value >= 0 && value < 9.2e18 && value == std::floor(value))
        return static_cast<int64_t>(value);
    throw Error(what + ": '" + text + "' is not a whole number of 0 or more");
}

std::vector<double> parse_list(const std::string& text, const std::string& what) {
    std::vector<double> out;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        const std::string item = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        double value;
        if (!parse_double(item, value)) throw Error(what + ": '" + item + "' is not a number");
        out.push_back(value);
        if (comma == std::string::npos) return out;
        start = comma + 1;
    }
}

std::string format_number(double value) {
    char buffer[32];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, r.ptr);
}

namespace {

const char* rng_text(int status) {
    switch (status) {
        case QOR_RNG_STATUS_BAD_METHOD: return "the distribution has no such method";
        case QOR_RNG_STATUS_BAD_ARGUMENT: return "a parameter is outside the distribution's range";
        case QOR_RNG_STATUS_NO_MEMORY: return "out of memory";
        case QOR_RNG_STATUS_BAD_BRNG: return "the generator (or its member number) is not available";
        case QOR_RNG_STATUS_NO_SKIP_AHEAD_EX: return "the generator cannot skip ahead";
        case QOR_RNG_STATUS_NO_RDRAND: return "the processor has no RDRAND instruction";
        case QOR_RNG_STATUS_NO_AES: return "the processor has no AES instructions";
        default: return nullptr;
    }
}

const char* fit_text(int status) {
    switch (status) {
        case statusUnsupportedMethod: return "this spline kind is not available";
        case statusBadBreakpointCount: return "too few points";
        case statusBadBoundaryCondType: return "the boundary condition does not suit this spline kind";
        case statusBadBoundaryCondValues: return "the boundary condition needs values";
        case statusBadInternalCondType:
        case statusBadInternalCondValues: return "the internal conditions (slopes, knots) are missing or wrong";
        case statusBadPeriodicValues: return "a periodic spline needs equal first and last values";
        case statusNoMemory: return "out of memory";
        default: return nullptr;
    }
}

const char* stats_text(int status) {
    switch (status) {
        case SS_ERR_NO_MEMORY: return "out of memory";
        case SS_ERR_OBS_COUNT: return "bad observation count";
        case SS_ERR_QUANT_ORDER_COUNT: return "a quantile order outside [0, 1]";
        default: return nullptr;
    }
}

}  // namespace

std::string status_text(int status, std::string_view family) {
    const char* text = nullptr;
    if (status <= QOR_STATUS_CPU_UNSUPPORTED && status >= QOR_STATUS_KERNEL_INCOMPLETE) {
        return std::string(qor_status_string(status)) + " (" + qor_init_detail() + ")";
    }
    if (family == "rng") text = rng_text(status);
    else if (family == "fit") text = fit_text(status);
    else if (family == "stats") text = stats_text(status);
    std::string out = text ? text : "error";
    return out + " (status " + std::to_string(status) + ")";
}

void check_status(int status, std::string_view family, const std::string& call) {
    if (status != 0) throw Error(call + " failed: " + status_text(status, family));
}

Output::Output(const std::string& path) : path_(path) {
    if (path == "-") {
        file_ = stdout;
        return;
    }
    file_ = std::fopen(path.c_str(), "wb");
    if (!file_) throw Error("cannot create " + path + ": " + std::strerror(errno));
    owned_ = true;
}

Output::~Output() {
    if (owned_ && file_) std::fclose(file_);
}

void Output::write(const void* data, std::size_t bytes) {
    if (bytes && std::fwrite(data, 1, bytes, file_) != bytes)
        throw Error("cannot write to " + (path_ == "-" ? std::string("standard output") : path_) + ": " +
                    std::strerror(errno));
}

void Output::close() {
    const bool failed = std::fflush(file_) != 0 || std::ferror(file_);
    if (owned_) {
        const bool close_failed = std::fclose(file_) != 0;
        file_ = nullptr;
        if (failed || close_failed) throw Error("cannot write to " + path_ + ": " + std::strerror(errno));
    } else if (failed) {
        throw Error("cannot write to standard output: " + std::string(std::strerror(errno)));
    }
}

bool Output::is_terminal() const { return file_ && QOR_CLI_ISATTY(file_); }

bool stderr_is_terminal() { return QOR_CLI_ISATTY(stderr); }

}  // namespace qor::cli
