#include "winapi/arguments.h"

#include <windows.h>

// The C runtime's own split of the wide command line; its headers declare it in some modes only.
extern "C" int __cdecl __wgetmainargs(int* argc, wchar_t*** argv, wchar_t*** environment,
                                      int expandWildcards, int* newMode);

namespace winapi {
namespace {

std::string Utf8(const wchar_t* text) {
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string utf8(static_cast<std::size_t>(size), '\0');
  (void)::WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
  utf8.pop_back();  // the terminator
  return utf8;
}

}  // namespace

std::vector<std::string> Utf8Arguments(int /*argc*/, char** /*argv*/) {
  int count = 0;
  wchar_t** words = nullptr;
  wchar_t** environment = nullptr;
  int newMode = 0;
  std::vector<std::string> arguments;
  if (__wgetmainargs(&count, &words, &environment, /*expandWildcards=*/0, &newMode) != 0) {
    return arguments;
  }
  for (int i = 1; i < count; ++i) arguments.push_back(Utf8(words[i]));
  return arguments;
}

}  // namespace winapi
