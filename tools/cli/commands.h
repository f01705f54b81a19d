// The subcommands of `qor`: each adds itself, its options and its action
// to the application.
#ifndef QOR_CLI_COMMANDS_H
#define QOR_CLI_COMMANDS_H

namespace CLI {
class App;
}

namespace qor::cli {

void add_info(CLI::App& app);
void add_rng(CLI::App& app);
void add_stats(CLI::App& app);
void add_fit(CLI::App& app);
void add_bench(CLI::App& app);

}  // namespace qor::cli

#endif
