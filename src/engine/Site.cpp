#include <corvid5/Site.h>

#include "engine/Layout.h"

namespace {
constexpr unsigned short kNoRoot = 0;
constexpr unsigned short kPoolBlock = 256;
}  // namespace

Site::Site() : FlmRecord(kNoRoot, kPoolBlock) {}

Site::Site(const Site& other) : FlmRecord(other) {}

Site& Site::operator=(Site& other) {
  FlmRecord::operator=(other);
  return *this;
}

Site& Site::operator=(FlmRecord& other) {
  FlmRecord::operator=(other);
  return *this;
}

Site::~Site() = default;

void Site::Destroy() { delete this; }

unsigned short* Site::GetName() { return FindGetBSTR(layout::kSiteName, 1, fsRoot, faSubtree); }

unsigned short* Site::GetLanguageCode() {
  return FindGetBSTR(layout::kSiteLanguage, 1, fsRoot, faSubtree);
}
