// What the launch tests start: writes the command line that it was given into a file beside itself,
// as UTF-16, and its own process number into another one, and ends with the number behind "exit="
// in the line, else with 0.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#ifdef _WIN32
#include "winapi/modules.h"
#include "winapi/process.h"
#else
#include <unistd.h>
#endif

namespace {

#ifdef _WIN32
std::filesystem::path OwnPath() {
  char16_t path[1024];
  const winapi::Dword length = winapi::GetModuleFileNameW(nullptr, path, 1024);
  return std::filesystem::path(std::u16string(path, length));
}
std::u16string OwnCommandLine(char**) { return winapi::GetCommandLineW(); }
std::uint32_t OwnNumber() { return winapi::GetCurrentProcessId(); }
#else
std::filesystem::path OwnPath() { return std::filesystem::read_symlink("/proc/self/exe"); }
// The host hands the whole line over as one argument.
std::u16string OwnCommandLine(char** arguments) {
  return arguments[1] == nullptr ? std::u16string()
                                 : std::filesystem::path(arguments[1]).u16string();
}
std::uint32_t OwnNumber() { return static_cast<std::uint32_t>(::getpid()); }
#endif

std::uint32_t NumberBehind(const std::u16string& text, const std::u16string& word) {
  std::size_t at = text.find(word);
  if (at == std::u16string::npos) return 0;
  std::uint32_t number = 0;
  for (at += word.size(); at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
    number = number * 10 + (text[at] - u'0');
  }
  return number;
}

}  // namespace

int main(int, char** arguments) {
  const std::u16string line = OwnCommandLine(arguments);
  std::ofstream stream(OwnPath().replace_extension(".seen"), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(line.data()),
               static_cast<std::streamsize>(line.size() * sizeof(char16_t)));
  stream.close();
  std::ofstream(OwnPath().replace_extension(".pid")) << OwnNumber();
  return static_cast<int>(NumberBehind(line, u"exit="));
}
