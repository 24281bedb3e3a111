// corvid: the command-line face of the Corvid5 library.
#include <cstdio>
#include <cstring>

namespace {

const char kUsage[] = "usage: corvid [--version] [--help] <command> [<args>]\n";

const char kHelp[] =
    "corvid: look up words in a multilingual wordnet database\n"
    "\n"
    "options:\n"
    "  --version   print the version and exit\n"
    "  --help      print this help and exit\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
    std::printf("corvid %s\n", CORVID5_VERSION_STRING);
    return 0;
  }
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kUsage, stdout);
    std::fputs(kHelp, stdout);
    return 0;
  }
  std::fputs(kUsage, stderr);
  return 2;
}
