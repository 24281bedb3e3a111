// A client needs only the umbrella header: every public header is reachable
// from it. (That each header compiles on its own is checked by the build.)
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <dirent.h>

#include <fstream>
#include <set>
#include <string>

namespace {

std::set<std::string> publicHeaders() {
  std::set<std::string> names;
  std::string dir = std::string(CORVID5_SOURCE_DIR) + "/include/corvid5";
  DIR* d = opendir(dir.c_str());
  if (!d) return names;
  while (dirent* e = readdir(d)) {
    std::string n = e->d_name;
    if (n.size() > 2 && n.compare(n.size() - 2, 2, ".h") == 0) names.insert(n);
  }
  closedir(d);
  return names;
}

TEST(PublicHeaders, UmbrellaIncludesEveryHeader) {
  std::ifstream umbrella(std::string(CORVID5_SOURCE_DIR) + "/include/corvid5/corvid5.h");
  std::string text((std::istreambuf_iterator<char>(umbrella)), std::istreambuf_iterator<char>());
  std::set<std::string> headers = publicHeaders();
  ASSERT_FALSE(headers.empty());
  for (const std::string& h : headers) {
    if (h == "corvid5.h" || h == "Export.h") continue;
    EXPECT_NE(text.find("<corvid5/" + h + ">"), std::string::npos) << h;
  }
}

}  // namespace
