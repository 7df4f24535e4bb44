#include "winapi/arguments.h"

namespace winapi {

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return argc < 2 ? std::vector<std::string>() : std::vector<std::string>(argv + 1, argv + argc);
}

}  // namespace winapi
