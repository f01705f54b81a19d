// qor: the library's kernels from the command line.
//   qor info | rng | stats | fit | bench   (each with --help)
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "commands.h"
#include "common.h"
#include "progress.h"

int main(int argc, char** argv) {
    CLI::App app{"qor: vector math, random numbers, summary statistics and data fitting on SSE4.2 kernels"};
    app.name("qor");
    app.require_subcommand(1, 1);
    bool no_progress = false;
    app.add_flag("--no-progress", no_progress, "Never draw the progress bar (it is drawn only on a terminal)");
    app.footer("Run `qor <command> --help` for the options of a command.");
    app.parse_complete_callback([&] { qor::cli::Progress::allow(!no_progress); });
    qor::cli::add_info(app);
    qor::cli::add_rng(app);
    qor::cli::add_stats(app);
    qor::cli::add_fit(app);
    qor::cli::add_bench(app);
    // A first word that is neither an option nor a command is named here;
    // the parser would only miss a command.
    if (argc > 1 && argv[1][0] != '-') {
        const std::string word = argv[1];
        std::string known;
        bool found = false;
        for (const char* name : {"info", "rng", "stats", "fit", "bench"}) {
            known += (known.empty() ? "" : ", ") + std::string(name);
            found = found || word == name;
        }
        if (!found) {
            std::fprintf(stderr, "qor: no command '%s' (%s)\n", argv[1], known.c_str());
            return 2;
        }
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    } catch (const qor::cli::Error& e) {
        const auto commands = app.get_subcommands();
        std::fprintf(stderr, "qor%s%s: %s\n", commands.empty() ? "" : " ",
                     commands.empty() ? "" : commands.front()->get_name().c_str(), e.what());
        return 1;
    }
    return 0;
}
