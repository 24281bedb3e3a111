// Progress of a build as the caller sees it: named stages, each counting up
// to its total. The caller may stop the build from its callback.
#ifndef CORVID5_ENGINE_BUILD_PROGRESS_H
#define CORVID5_ENGINE_BUILD_PROGRESS_H

#include <cstdint>
#include <functional>
#include <string>

namespace build {

// Returns false to stop the build.
using ProgressCallback =
    std::function<bool(const std::string& stage, uint64_t done, uint64_t total)>;

class Progress {
 public:
  explicit Progress(ProgressCallback callback) : callback_(std::move(callback)) {}

  // Reports the stage at 0 of `total`.
  void stage(std::string name, uint64_t total);
  // Counts `n` more done. The caller hears of it every two hundredth of the
  // total and at the end, not at every step, so counting stays cheap.
  void advance(uint64_t n = 1);

 private:
  void report();

  ProgressCallback callback_;
  std::string stage_;
  uint64_t done_ = 0;
  uint64_t total_ = 0;
  uint64_t nextReport_ = 0;
};

}  // namespace build

#endif
