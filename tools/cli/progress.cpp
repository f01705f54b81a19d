#include "progress.h"

#include <cstdio>
#include <cstdlib>

#include "common.h"

namespace qor::cli {
namespace {

bool g_allowed = true;
std::chrono::milliseconds delay() {
    const char* text = std::getenv("QOR_PROGRESS_DELAY_MS");
    return std::chrono::milliseconds(text && *text ? std::atoi(text) : 500);
}
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr int kWidth = 30;

}  // namespace

void Progress::allow(bool allowed) { g_allowed = allowed; }

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)), total_(total), enabled_(g_allowed && total > 0 && stderr_is_terminal()),
      start_(Clock::now()), last_(start_) {}

void Progress::update(uint64_t done) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now - start_ < delay() || (drawn_ && now - last_ < kInterval && done < total_)) return;
    last_ = now;
    drawn_ = true;
    const double fraction = done >= total_ ? 1.0 : double(done) / double(total_);
    const int filled = int(fraction * kWidth);
    std::fprintf(stderr, "\r%s [%s%s] %3d%%", label_.c_str(), std::string(filled, '#').c_str(),
                 std::string(kWidth - filled, '.').c_str(), int(fraction * 100));
    std::fflush(stderr);
}

Progress::~Progress() {
    if (!drawn_) return;
    std::fprintf(stderr, "\r%s\r", std::string(label_.size() + kWidth + 8, ' ').c_str());
    std::fflush(stderr);
}

}  // namespace qor::cli
