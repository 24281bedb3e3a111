#include "flm/Path.h"

#include <cstring>

namespace flm {
namespace {

// Appends `text`, keeping room for the terminator; false when it does not fit.
bool append(char* target, size_t* used, const char* text) {
  size_t n = std::strlen(text);
  if (*used + n >= kPathSize) return false;
  std::memcpy(target + *used, text, n);
  *used += n;
  target[*used] = 0;
  return true;
}

bool nonEmpty(const char* part) { return part && *part; }

}  // namespace

RCODE pathBuild(char* target, const char* drive, const char* directory, const char* name,
                const char* extension) {
  if (!target) return FERR_INVALID_PARM;
  size_t used = 0;
  target[0] = 0;
  bool ok = true;
  if (nonEmpty(drive)) ok = append(target, &used, drive);
  if (ok && nonEmpty(directory)) {
    ok = append(target, &used, directory);
    if (ok && directory[std::strlen(directory) - 1] != '/' && nonEmpty(name))
      ok = append(target, &used, "/");
  }
  if (ok && nonEmpty(name)) ok = append(target, &used, name);
  if (ok && nonEmpty(extension)) ok = append(target, &used, ".") && append(target, &used, extension);
  if (ok) return FERR_OK;
  target[0] = 0;
  return FERR_IO_PATH_TOO_LONG;
}

}  // namespace flm
