// The qor tool driven as a user drives it: real files in a scratch
// directory, outputs checked against computations made here, and every
// bad file or argument answered by a message that names it and a non-zero
// exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

struct Result {
    int status;
    std::string out, err;
};

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class Tool : public testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("qor_cli_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    // Runs a shell command in the scratch directory; stderr is a file, so
    // the progress bar must stay off.
    Result shell(const std::string& command) {
        const int raw = std::system(("cd '" + dir_.string() + "' && " + command + " >out.txt 2>err.txt").c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir_ / "out.txt"), slurp(dir_ / "err.txt")};
    }
    Result qor(const std::string& args) { return shell("'" QOR_CLI_TOOL "' " + args); }
    Result ok(const std::string& args, bool raw = false) {
        Result r = raw ? shell(args) : qor(args);
        EXPECT_EQ(r.status, 0) << args << "\n" << r.err;
        EXPECT_EQ(r.err, "") << args;
        return r;
    }
    void write(const std::string& name, const std::string& text) { std::ofstream(dir_ / name, std::ios::binary) << text; }
    std::vector<double> doubles(const std::string& name) {
        const std::string bytes = slurp(dir_ / name);
        std::vector<double> v(bytes.size() / sizeof(double));
        std::memcpy(v.data(), bytes.data(), v.size() * sizeof(double));
        return v;
    }
    fs::path dir_;
};

// Rows of comma-separated numbers, the first line (a header) skipped when asked.
std::vector<std::vector<double>> rows_of(const std::string& text, bool header) {
    std::vector<std::vector<double>> rows;
    std::istringstream in(text);
    std::string line;
    if (header) std::getline(in, line);
    while (std::getline(in, line)) {
        std::vector<double> row;
        std::istringstream cells(line);
        std::string cell;
        while (std::getline(cells, cell, ',')) row.push_back(std::strtod(cell.c_str(), nullptr));
        rows.push_back(row);
    }
    return rows;
}

// The `qor stats --csv` output as statistic -> values per column.
std::map<std::string, std::vector<double>> stats_of(const std::string& text) {
    std::map<std::string, std::vector<double>> out;
    std::istringstream in(text);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        const std::size_t comma = line.find(',');
        out[line.substr(0, comma)] = rows_of(line.substr(comma + 1), false).at(0);
    }
    return out;
}

bool near(double a, double b, double tolerance) { return std::abs(a - b) <= tolerance * std::max(1.0, std::abs(b)); }

}  // namespace

TEST_F(Tool, RngGivesTheGeneratorsSequenceSkipsAheadAndWritesTextAndBinaryAlike) {
    // MCG31m1 by its recurrence x' = 1132489760 x mod (2^31 - 1), from the seed.
    const auto r = rows_of(ok("rng -g mcg31m1 --seed 12345 -n 6").out, false);
    ASSERT_EQ(r.size(), 6u);
    uint64_t x = 12345;
    for (const auto& row : r) {
        EXPECT_TRUE(near(row.at(0), double(x) / 2147483647.0, 1e-15)) << row.at(0);
        x = x * 1132489760u % 2147483647u;
    }
    // UniformBits hands out the recurrence's words themselves.
    const auto words = rows_of(ok("rng -g mcg31m1 --seed 12345 -d bits -n 6").out, false);
    x = 12345;
    for (const auto& row : words) {
        EXPECT_EQ(row.at(0), double(x));
        x = x * 1132489760u % 2147483647u;
    }
    // The first dimension of Sobol's and Niederreiter's base-2 sequences:
    // the van der Corput points in Gray-code order, x ^= 2^-(c+1) with c
    // the lowest zero bit of the index.
    for (const char* g : {"sobol", "niederr"}) {
        const auto points = rows_of(ok(std::string("rng -n 32 -g ") + g).out, false);
        uint32_t x = 0;
        for (uint32_t i = 0; i < 32; ++i) {
            x ^= 1u << (31 - __builtin_ctz(~i));
            EXPECT_EQ(points.at(i)[0], x / 4294967296.0) << g << " " << i;
        }
    }
    // Every generator by name: uniforms in [0, 1), different per seed
    // and per family member.
    for (const char* g : {"mcg31m1", "r250", "mrg32k3a", "mcg59", "mt19937", "mt2203:0", "mt2203:9", "sfmt19937",
                          "ars5", "philox4x32x10"}) {
        const std::string args = std::string("rng -n 100 -g ") + g;
        const auto one = rows_of(ok(args + " --seed 1").out, false), two = rows_of(ok(args + " --seed 2").out, false);
        EXPECT_NE(one, two) << g;
        EXPECT_NE(one, rows_of(ok("rng -n 100 -g mt2203:1").out, false)) << g;
        for (const auto& row : one) EXPECT_TRUE(row.at(0) >= 0 && row[0] < 1) << g;
    }

    // --skip n continues where n variates of one outputs each end; binary
    // output holds the values that text prints.
    const auto all = rows_of(ok("rng -g philox4x32x10 --seed 9 -n 10").out, false);
    const auto tail = rows_of(ok("rng -g philox4x32x10 --seed 9 --skip 4 -n 6").out, false);
    ASSERT_EQ(tail.size(), 6u);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(tail[i][0], all[i + 4][0]) << i;
    ok("rng -g philox4x32x10 --seed 9 -n 1e1 -f binary -o u.bin");
    const std::vector<double> binary = doubles("u.bin");
    ASSERT_EQ(binary.size(), 10u);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(binary[i], all[i][0]) << i;

    // Vector variates: a line each, their values comma-separated.
    for (const auto& row : rows_of(ok("rng -d multinomial -p ntrial=20 -p p=0.2,0.3,0.5 -n 50").out, false)) {
        ASSERT_EQ(row.size(), 3u);
        EXPECT_EQ(row[0] + row[1] + row[2], 20);
    }
    for (const auto& row : rows_of(ok("rng -d gaussianmv -p a=5,-5 -p t=0.001,0.001 -n 20").out, false))
        EXPECT_TRUE(row.size() == 2 && near(row[0], 5, 0.01) && near(row[1], -5, 0.01));
    for (const auto& row : rows_of(ok("rng -d uniform-int -p a=-3 -p b=4 -n 200").out, false))
        EXPECT_TRUE(row.at(0) >= -3 && row.at(0) < 4 && row[0] == std::floor(row[0]));
}

TEST_F(Tool, EveryDistributionTakesItsParametersInOrder) {
    // The sample mean of 20000 variates within 5 standard errors of the
    // law's mean: a parameter passed in the wrong place moves it far.
    const double pi = 3.141592653589793, euler = 0.5772156649015329;
    const struct {
        const char* args;
        double mean, deviation;
    } laws[] = {
        {"uniform -p a=2 -p b=4", 3, 2 / std::sqrt(12.0)},
        {"gaussian -p a=2 -p sigma=3 -m icdf", 2, 3},
        {"exponential -p a=1 -p beta=2 --accurate", 3, 2},
        {"laplace -p a=1 -p beta=2", 1, 2 * std::sqrt(2.0)},
        {"weibull -p alpha=2 -p a=1 -p beta=2", 1 + std::sqrt(pi), 2 * std::sqrt(1 - pi / 4)},
        {"rayleigh -p a=1 -p beta=2", 1 + std::sqrt(pi), 2 * std::sqrt(1 - pi / 4)},
        {"lognormal -p a=0.5 -p sigma=0.25 -p b=1 -p beta=2", 1 + 2 * std::exp(0.5 + 0.03125), 1},
        {"gumbel -p a=1 -p beta=2", 1 - 2 * euler, 2 * pi / std::sqrt(6.0)},
        {"gamma -p alpha=2 -p a=1 -p beta=3", 7, 3 * std::sqrt(2.0)},
        {"beta -p p=2 -p q=3 -p a=1 -p beta=2", 1.8, 0.4},
        {"chisquare -p v=3", 3, std::sqrt(6.0)},
        {"uniform-int -p a=1 -p b=7", 3.5, 1.8},
        {"bits32", 2147483647.5, 1239850262.0},
        {"bernoulli -p p=0.3", 0.3, 0.46},
        {"geometric -p p=0.25", 3, std::sqrt(12.0)},
        {"binomial -p ntrial=20 -p p=0.3", 6, std::sqrt(4.2)},
        {"hypergeometric -p l=50 -p s=10 -p m=20", 4, 1.4},
        {"poisson -p lambda=4.5", 4.5, std::sqrt(4.5)},
        {"negbinomial -p a=3 -p p=0.4", 4.5, std::sqrt(11.25)},
        {"poissonv -p lambda=1,9", 5, 4.2},
    };
    for (const auto& law : laws) {
        const auto rows = rows_of(ok(std::string("rng -g sfmt19937 --seed 3 -n 20000 -d ") + law.args).out, false);
        double mean = 0;
        for (const auto& row : rows) mean += row.at(0) / double(rows.size());
        EXPECT_EQ(rows.size(), 20000u) << law.args;
        EXPECT_LT(std::abs(mean - law.mean), 5 * law.deviation / std::sqrt(20000.0)) << law.args << ": " << mean;
    }
}

TEST_F(Tool, OutputTypesAndBlocksLineUp) {
    // Each form's binary width; a float stream close to the double one.
    const std::pair<const char*, std::size_t> widths[] = {{"-d gaussian --single", 4},
                                                          {"-d gaussian", 8},
                                                          {"-d poisson", 4},
                                                          {"-d bits", 4},
                                                          {"-d bits64", 8},
                                                          {"-d multinomial -p ntrial=5 -p p=0.5,0.5", 8}};
    for (const auto& [args, bytes] : widths) {
        ok(std::string("rng -n 1000 -f binary -o w.bin ") + args);
        EXPECT_EQ(fs::file_size(dir_ / "w.bin"), 1000 * bytes) << args;
    }
    const auto single = rows_of(ok("rng -d uniform --single -n 100").out, false);
    const auto full = rows_of(ok("rng -d uniform -n 100").out, false);
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(near(single[i][0], full[i][0], 1e-7)) << i;

    // Across the tool's blocks of 65536 variates: skip-ahead lands on the
    // same values, and the per-variate Poisson means keep their turn.
    const auto many = rows_of(ok("rng -g mt19937 -n 70000").out, false);
    const auto later = rows_of(ok("rng -g mt19937 --skip 65530 -n 10").out, false);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(later[i][0], many[65530 + i][0]) << i;
    const auto means = rows_of(ok("rng -d poissonv -p lambda=0.01,1000 -n 70000").out, false);
    int misplaced = 0;
    for (std::size_t i = 0; i < means.size(); ++i) misplaced += (means[i][0] > 100) != (i % 2 == 1);
    EXPECT_EQ(misplaced, 0);
}

TEST_F(Tool, StatsOfAGeneratedFileMatchTheirRecomputation) {
    // More rows than one portion of the moments (2^18).
    ok("rng -d gamma -p alpha=2 -p beta=3 -g mrg32k3a --seed 5 -n 300001 -f binary -o g.bin");
    std::vector<double> v = doubles("g.bin");
    ASSERT_EQ(v.size(), 300001u);
    const auto s = stats_of(ok("stats g.bin --columns 1 --csv -q 0,0.1,0.5,1").out);

    const double n = double(v.size());
    double mean = 0, m2 = 0, m3 = 0, m4 = 0;
    for (double x : v) mean += x / n;
    for (double x : v) {
        const double d = x - mean;
        m2 += d * d / n, m3 += d * d * d / n, m4 += d * d * d * d / n;
    }
    std::sort(v.begin(), v.end());
    const double h = 0.1 * (n - 1), decile = v[size_t(h)] + (v[size_t(h) + 1] - v[size_t(h)]) * (h - std::floor(h));
    EXPECT_EQ(s.at("count")[0], n);
    EXPECT_TRUE(near(s.at("mean")[0], mean, 1e-12));
    EXPECT_TRUE(near(s.at("variance")[0], m2 * n / (n - 1), 1e-10));
    EXPECT_TRUE(near(s.at("skewness")[0], m3 / std::pow(m2, 1.5), 1e-9));
    EXPECT_TRUE(near(s.at("kurtosis")[0], m4 / (m2 * m2) - 3, 1e-9));
    EXPECT_EQ(s.at("min")[0], v.front());
    EXPECT_EQ(s.at("max")[0], v.back());
    EXPECT_EQ(s.at("q0")[0], v.front());
    EXPECT_TRUE(near(s.at("q0.1")[0], decile, 1e-14));
    EXPECT_EQ(s.at("q0.5")[0], v[150000]);
    EXPECT_EQ(s.at("q1")[0], v.back());

    // Two columns of raw doubles, and a CSV read from standard input.
    ok("rng -d gaussianmv -p a=10,-10 -p t=1,0.5,2 -n 5000 -f binary -o mv.bin");
    const std::vector<double> mv = doubles("mv.bin");
    double sums[2] = {0, 0};
    for (std::size_t i = 0; i < mv.size(); ++i) sums[i % 2] += mv[i];
    const auto two = stats_of(ok("stats mv.bin --columns 2 --csv").out);
    EXPECT_TRUE(near(two.at("mean")[0], sums[0] / 5000, 1e-13) && near(two.at("mean")[1], sums[1] / 5000, 1e-13));
    EXPECT_EQ(stats_of(ok("rng -n 7 | '" QOR_CLI_TOOL "' stats - --csv").out).at("count")[0], 7);

    // A CSV with a header: one column per variable, known answers.
    write("small.csv", "x,y\n1,10\n2,10\n3,10\n4,14\n");
    const Result table = ok("stats small.csv");
    EXPECT_NE(table.out.find("x"), std::string::npos);
    const auto t = stats_of(ok("stats small.csv --csv").out);
    EXPECT_EQ(t.at("mean"), (std::vector<double>{2.5, 11}));
    EXPECT_TRUE(near(t.at("variance")[0], 5.0 / 3, 1e-15) && near(t.at("variance")[1], 4, 1e-15));
    EXPECT_EQ(t.at("q0.5"), (std::vector<double>{2.5, 10}));

    // A forced header takes a numeric first row as names.
    write("numbers.csv", "5,6\n1,2\n3,4\n");
    EXPECT_EQ(ok("stats numbers.csv --csv --header yes").out.substr(0, 14), "statistic,5,6\n");
    EXPECT_EQ(stats_of(ok("stats numbers.csv --csv --header yes").out).at("count")[0], 2);
    EXPECT_EQ(stats_of(ok("stats numbers.csv --csv").out).at("count")[0], 3);

    // Three columns, three orders: each result in its own column and row.
    write("three.csv", "a,b,c\n0,40,-1\n10,30,-1\n20,20,-1\n30,10,-1\n40,0,-1\n");
    const auto q = stats_of(ok("stats three.csv --csv -q 0.25,0.5,1").out);
    EXPECT_EQ(q.at("q0.25"), (std::vector<double>{10, 10, -1}));
    EXPECT_EQ(q.at("q0.5"), (std::vector<double>{20, 20, -1}));
    EXPECT_EQ(q.at("q1"), (std::vector<double>{40, 40, -1}));
    EXPECT_EQ(q.at("variance"), (std::vector<double>{250, 250, 0}));
    EXPECT_EQ(q.at("skewness")[1], 0);
}

TEST_F(Tool, FitReproducesACubicWithItsDerivativesAndIntegral) {
    // A not-a-knot cubic spline, and a Hermite spline given the slopes,
    // reproduce a cubic exactly; so does Akima's spline a straight line.
    auto f = [](double x) { return ((x - 1) * x - 2) * x + 1; };  // x^3 - x^2 - 2x + 1
    auto df = [](double x) { return (3 * x - 2) * x - 2; };
    auto area = [](double x) { return ((x / 4 - 1.0 / 3) * x - 1) * x * x + x; };
    std::string points = "x,y\n", slopes = "x,y,dy\n", line;
    for (double x : {-1.0, 0.0, 0.5, 1.5, 2.0, 3.25, 4.0, 5.0}) {
        points += std::to_string(x) + "," + std::to_string(f(x)) + "\n";
        slopes += std::to_string(x) + "," + std::to_string(f(x)) + "," + std::to_string(df(x)) + "\n";
        if (x >= 0) line += std::to_string(x) + "," + std::to_string(3 - 2 * x) + "\n";
    }
    write("cubic.csv", points);
    write("slopes.csv", slopes);
    write("line.csv", line);
    write("sites.csv", "t\n-1\n-0.3\n0.7\n2.9\n4.99\n5\n");
    for (const char* args : {"fit cubic.csv --kind natural --bc notaknot --sites sites.csv -d 2 --integral",
                             "fit slopes.csv --kind hermite --sites sites.csv -d 2 --integral -o r.csv"}) {
        SCOPED_TRACE(args);
        const Result r = ok(args);
        const auto rows = rows_of(r.out.empty() ? slurp(dir_ / "r.csv") : r.out, true);
        ASSERT_EQ(rows.size(), 6u);
        for (const auto& row : rows) {
            const double x = row.at(0);
            ASSERT_EQ(row.size(), 5u);
            EXPECT_TRUE(near(row[1], f(x), 1e-12)) << x;
            EXPECT_TRUE(near(row[2], df(x), 1e-11)) << x;
            EXPECT_TRUE(near(row[3], 6 * x - 2, 1e-10)) << x;
            EXPECT_TRUE(near(row[4], area(x) - area(-1), 1e-11)) << x;
        }
    }
    // The quadratic with inactive end knots reproduces a parabola; a
    // periodic cubic meets itself in slope and curvature.
    write("parabola.csv", "0,1\n0.5,0.25\n1.25,0.0625\n2,1\n3,4\n");
    for (const auto& row : rows_of(ok("fit parabola.csv --kind quadratic --bc notaknot -n 7 --to 3 -d 2").out, true))
        EXPECT_TRUE(near(row[1], (row[0] - 1) * (row[0] - 1), 1e-12) && near(row[2], 2 * row[0] - 2, 1e-11) &&
                    near(row[3], 2, 1e-10)) << row[0];
    write("wave.csv", "0,0\n1,1\n2,0.5\n3,-1\n4,0\n");
    const auto ends = rows_of(ok("fit wave.csv --bc periodic -n 2 -d 2").out, true);
    EXPECT_TRUE(near(ends[0][2], ends[1][2], 1e-12) && near(ends[0][3], ends[1][3], 1e-12));

    for (const char* kind : {"linear", "quadratic", "natural", "default", "bessel", "hyman", "akima"}) {
        const auto grid = rows_of(ok(std::string("fit line.csv --from -1 --to 6 -n 8 --kind ") + kind).out, true);
        ASSERT_EQ(grid.size(), 8u) << kind;
        for (int i = 0; i < 8; ++i)
            EXPECT_TRUE(grid[i][0] == i - 1 && near(grid[i][1], 3 - 2 * (i - 1), 1e-13)) << kind << " " << i;
    }
    // The integral runs from the first point, backwards for a site before it.
    for (const auto& row : rows_of(ok("fit line.csv --kind linear --from -1 --to 6 -n 8 --integral").out, true))
        EXPECT_TRUE(near(row.at(2), (3 - row[0]) * row[0], 1e-13)) << row[0];
    const auto fine = rows_of(ok("fit line.csv --from 0 --to 5 -n 100001 -d 1").out, true);
    ASSERT_EQ(fine.size(), 100001u);
    EXPECT_TRUE(near(fine[70000][1], 3 - 2 * 3.5, 1e-13) && near(fine[70000][2], -2, 1e-13));
}

TEST_F(Tool, BadFilesAreNamedWithTheirLine) {
    write("empty.csv", "");
    write("ragged.csv", "x,y\n0,1\n1,2,3\n");
    write("word.csv", "x,y\n0,1\n1,two\n");
    write("descending.csv", "x,y\n0,1\n2,2\n1,3\n");
    write("odd.bin", "1234567");
    const std::pair<const char*, const char*> cases[] = {
        {"stats missing.csv", "qor stats: cannot open missing.csv: No such file or directory"},
        {"stats empty.csv", "qor stats: empty.csv: the file is empty"},
        {"stats ragged.csv", "qor stats: ragged.csv: line 3: 3 cells where the header has 2"},
        {"stats word.csv", "qor stats: word.csv: line 3: column 2 (y): 'two' is not a number"},
        {"stats odd.bin --columns 1", "qor stats: odd.bin: 7 bytes are not a whole number of rows of 1 double"},
        {"fit missing.csv", "qor fit: cannot open missing.csv"},
        {"fit ragged.csv", "qor fit: ragged.csv: line 3: 3 cells"},
        {"fit word.csv", "qor fit: word.csv: line 3: column 2 (y): 'two' is not a number"},
        {"fit descending.csv", "qor fit: descending.csv: line 4: x = 1 is not above the previous x = 2"},
        {"fit ragged.csv --header no", "qor fit: ragged.csv: line 1: column 1 (c1): 'x' is not a number"},
        {"fit word.csv --sites empty.csv --header yes", "qor fit: word.csv: line 3"},
        {"rng -o no/such/dir/out.txt", "qor rng: cannot create no/such/dir/out.txt"},
    };
    for (const auto& [args, message] : cases) {
        const Result r = qor(args);
        EXPECT_NE(r.status, 0) << args;
        EXPECT_EQ(r.err.rfind(message, 0), 0u) << args << "\n" << r.err;
    }
}

TEST_F(Tool, BadArgumentsAreNamed) {
    write("p.csv", "0,1\n1,3\n2,2\n");
    const std::pair<const char*, const char*> cases[] = {
        {"", "A subcommand is required"},
        {"frobnicate", "qor: no command 'frobnicate' (info, rng, stats, fit, bench)"},
        {"rng -d normalish", "--distribution: no distribution 'normalish'"},
        {"rng -g mt19938", "--generator: no generator 'mt19938'"},
        {"rng -g mcg59:2", "--generator mcg59:2: mcg59 has no members"},
        {"rng -n -5", "--count: '-5' is not a whole number"},
        {"rng -n 1.5", "--count: '1.5' is not a whole number"},
        {"rng --skip x", "--skip: 'x' is not a whole number"},
        {"rng --seed abc", "--seed"},
        {"rng -d gaussian -p mu=1", "--param mu=1: gaussian has no parameter 'mu' (its parameters: a, sigma)"},
        {"rng -d gaussian -p sigma", "--param sigma: expected name=value"},
        {"rng -d gaussian -p sigma=wide", "--param sigma=wide: 'wide' is not a number"},
        {"rng -d gaussian -p sigma=-1", "drawing gaussian variates (a=0, sigma=-1) failed: a parameter is outside"},
        {"rng -d binomial", "binomial needs --param ntrial=..."},
        {"rng -d binomial -p ntrial=2.5", "--param ntrial=2.5: ntrial must be a 32-bit integer"},
        {"rng -d poisson --single", "--single: poisson gives integers"},
        {"rng -d gaussian -m polar", "--method: gaussian has no method 'polar' (its methods: boxmuller, boxmuller2, icdf)"},
        {"rng -d gaussian --accurate", "--accurate: gaussian has no accurate variant"},
        {"rng -d gaussianmv -p a=0,0 -p t=1,2,3,4,5", "--param t: 5 values, where a factor of dimension 2 has"},
        {"rng -f xml", "--format: xml not in {text,binary}"},
        {"rng -g nondeterm --skip 3", "--skip 3 failed: the generator cannot skip ahead"},
        {"stats", "file is required"},
        {"stats p.csv --columns 0", "--columns"},
        {"stats p.csv -q 0.5,1.5", "--quantiles: 1.5 is not an order in [0, 1]"},
        {"stats p.csv -q 0.5,,1", "--quantiles: '' is not a number"},
        {"fit p.csv --kind cubic", "--kind: no spline kind 'cubic'"},
        {"fit p.csv --bc periodic", "building the natural spline failed: a periodic spline needs equal first and last"},
        {"fit p.csv --kind linear --bc free", "--bc: a linear spline takes no boundary condition"},
        {"fit p.csv --kind hermite", "p.csv: 2 columns; a hermite spline takes x,y,dy"},
        {"fit p.csv -d 4", "--derivatives: an order from 0 to 3"},
        {"fit p.csv --sites p.csv --from 0", "--sites and --from/--to exclude each other"},
        {"fit p.csv -n 0", "--count: at least one site"},
        {"bench --family vm,gpu", "--family: no family 'gpu'"},
    };
    for (const auto& [args, message] : cases) {
        const Result r = qor(args);
        EXPECT_NE(r.status, 0) << args;
        EXPECT_NE(r.err.find(message), std::string::npos) << args << "\n" << r.err;
        EXPECT_EQ(r.out, "") << args;
    }
}

TEST_F(Tool, TheProgressBarDrawsOnATerminalOnly) {
    // `script` gives the tool a terminal; the bar then draws from the start
    // and erases itself, unless --no-progress.
    const std::string tool = "QOR_PROGRESS_DELAY_MS=0 '" QOR_CLI_TOOL "' ";
    const Result bar = ok("script -qec \"" + tool + "rng -n 300000 -o u.txt\" /dev/null", true);
    EXPECT_NE(bar.out.find("\rqor rng [##############################] 100%"), std::string::npos) << bar.out;
    EXPECT_EQ(bar.out.substr(bar.out.rfind('\r')), "\r");
    EXPECT_EQ(ok("script -qec \"" + tool + "--no-progress rng -n 300000 -o u.txt\" /dev/null", true).out, "");
    EXPECT_EQ(ok("rng -n 300000 -o u.txt").err, "");  // standard error is a file here
    // Nor does binary go to a terminal.
    const Result refused = shell("script -qec \"'" QOR_CLI_TOOL "' rng -f binary\" /dev/null");
    EXPECT_NE(refused.out.find("--format binary: will not write binary to a terminal; give --output FILE"),
              std::string::npos) << refused.out;
}

TEST_F(Tool, EveryCommandHasHelpAndInfoAndBenchRun) {
    for (const char* command : {"info", "rng", "stats", "fit", "bench"}) {
        const Result r = ok(std::string(command) + " --help");
        EXPECT_NE(r.out.find(std::string("Usage: qor ") + command), std::string::npos) << r.out;
    }
    EXPECT_NE(ok("--help").out.find("Subcommands:"), std::string::npos);
    EXPECT_NE(ok("rng --list").out.find("negbinomial"), std::string::npos);
    const Result info = ok("info");
    EXPECT_NE(info.out.find("kernel set:  sse42"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("sse4.2"), std::string::npos);
    const std::string listed = ok("info --rows").out;
    const std::size_t count = listed.find("vector-math rows: ");
    ASSERT_NE(count, std::string::npos);
    EXPECT_EQ(std::count(listed.begin() + count, listed.end(), '\n') - 1,
              std::stol(listed.substr(count + 18)));
    EXPECT_NE(listed.find("\n  dExp\n"), std::string::npos);

    // Nine rows, each ratio the peer's time over the library's.
    const Result bench = ok("bench --size 20000 --repeats 1");
    int rows = 0;
    for (const char* row : {"vdExp", "vdLn", "vsExp", "vsLn", "MT19937 uniform", "MT19937 gaussian",
                            "MCG31m1 uniform", "mean + variance", "natural cubic"}) {
        const std::size_t at = bench.out.find(row);
        ASSERT_NE(at, std::string::npos) << row << "\n" << bench.out;
        std::istringstream line(bench.out.substr(bench.out.find_first_of("0123456789", at + std::strlen(row))));
        double qor_ns, peer_ns, ratio;
        line >> qor_ns >> peer_ns >> ratio;
        EXPECT_TRUE(qor_ns > 0 && peer_ns > 0 && near(ratio, peer_ns / qor_ns, 0.02)) << row;
        ++rows;
    }
    EXPECT_EQ(rows, 9);
}
