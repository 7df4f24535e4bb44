// A program to be planted as "msiexec.exe". That it was started is told by a line in the file that
// the environment variable ZUM_PLANTED names: its own path.

#include "tests/e2e/helpers/common.h"

int main() {
  const char* report = std::getenv("ZUM_PLANTED");
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::FILE* file = report == nullptr ? nullptr : std::fopen(report, "a");
  if (file == nullptr) return 1;
  const bool written = std::fprintf(file, "%s\n", path) > 0;
  return std::fclose(file) == 0 && written ? 0 : 1;
}
