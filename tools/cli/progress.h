// A progress bar on standard error for long runs.  It draws only when
// standard error is a terminal, progress is allowed (--no-progress turns it
// off) and the run has lasted half a second (QOR_PROGRESS_DELAY_MS sets
// another delay), and erases itself at the end.
#ifndef QOR_CLI_PROGRESS_H
#define QOR_CLI_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace qor::cli {

class Progress {
public:
    Progress(std::string label, uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void update(uint64_t done);

    // Set once by main from --no-progress.
    static void allow(bool allowed);

private:
    using Clock = std::chrono::steady_clock;
    std::string label_;
    uint64_t total_;
    bool enabled_;
    bool drawn_ = false;
    Clock::time_point start_, last_;
};

}  // namespace qor::cli

#endif
