#include "engine/ReadFailure.h"

#include <corvid5/PLXException.h>

#include "flm/ErrorCodes.h"

namespace engine {

bool foundNothing(const FlmError& error) {
  switch (error.GetError()) {
    case flm::FERR_OK:
    case flm::FERR_BOF_HIT:
    case flm::FERR_EOF_HIT:
    case flm::FERR_NOT_FOUND:
    case flm::FERR_BAD_DRN:
      return true;
    default:
      return false;
  }
}

void throwIfReadFailed(const FlmError& error, const char* module, int line) {
  if (!foundNothing(error)) throw PLXException(static_cast<uint32_t>(error), module, line);
}

}  // namespace engine
