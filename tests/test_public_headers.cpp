// A client needs only the umbrella header: every public header is reachable
// from it. (That each header compiles on its own is checked by the build.)
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/TestFiles.h"

namespace {

TEST(PublicHeaders, UmbrellaIncludesEveryHeader) {
  const std::filesystem::path dir = std::string(CORVID5_SOURCE_DIR) + "/include/corvid5";
  const std::string umbrella = testfiles::readFile((dir / "corvid5.h").string());
  ASSERT_FALSE(umbrella.empty());
  int headers = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".h" || name == "corvid5.h" || name == "Export.h") continue;
    EXPECT_NE(umbrella.find("<corvid5/" + name + ">"), std::string::npos) << name;
    ++headers;
  }
  EXPECT_GT(headers, 20);
}

}  // namespace
