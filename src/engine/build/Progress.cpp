#include "engine/build/Progress.h"

#include "engine/build/BuildError.h"

namespace build {

void Progress::stage(std::string name, uint64_t total) {
  stage_ = std::move(name);
  done_ = 0;
  total_ = total;
  report();
}

void Progress::advance(uint64_t n) {
  done_ += n;
  if (done_ >= nextReport_ || done_ >= total_) report();
}

void Progress::report() {
  nextReport_ = done_ + (total_ / 200 > 0 ? total_ / 200 : 1);
  if (callback_ && !callback_(stage_, done_, total_)) throw BuildError("stopped by the caller");
}

}  // namespace build
