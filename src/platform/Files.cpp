#include "platform/Files.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>

namespace platform {
namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

}  // namespace

std::error_code renameNoReplace(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  // Older kernels and some file systems do not know the flag; link() also
  // refuses a name that is taken.
  if (errno != EINVAL && errno != ENOSYS) return lastError();
  if (link(from.c_str(), to.c_str()) != 0) return lastError();
  // The file is in place; a second name left behind is only untidy.
  unlink(from.c_str());
  return {};
}

}  // namespace platform
