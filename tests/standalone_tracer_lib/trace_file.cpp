#include "tests/standalone_tracer_lib/trace_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iterator>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

#include "winapi/process.h"

namespace tests {
namespace {

unsigned ProcessNumber() {
#ifdef _WIN32
  return static_cast<unsigned>(::_getpid());
#else
  return static_cast<unsigned>(::getpid());
#endif
}

// Replaces each run of `characters` behind `prefix`.
void ReplaceBehind(std::string& text, const std::string& prefix, const char* characters,
                   const std::string& name) {
  for (std::size_t at = 0; (at = text.find(prefix, at)) != std::string::npos;) {
    at += prefix.size();
    const std::size_t end = std::min(text.find_first_not_of(characters, at), text.size());
    if (end != at) text.replace(at, end - at, name);
  }
}

std::tm BrokenDown(bool local) {
#ifdef _WIN32
  // The runtime would take this for a zone of its own form; without it, it asks the system.
  ::_putenv("TZ=");
  ::_tzset();
#endif
  const std::time_t now = std::time(nullptr);
  return local ? *std::localtime(&now) : *std::gmtime(&now);
}

std::string Formatted(const std::tm& time, const char* format) {
  char text[80];
  return std::string(text, std::strftime(text, sizeof text, format, &time));
}

}  // namespace

bool Matches(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (pattern[i] == '#' ? !isDigit : text[i] != pattern[i]) return false;
  }
  return true;
}

std::string MaskTimes(const std::string& text) {
  struct Mask {
    std::string_view pattern, name;
  };
  static constexpr Mask kMasks[] = {{"##.##.#### ##:##:##", "<day second>"},
                                    {"##.##.#### ##:##", "<day minute>"},
                                    {"##:##:##.###", "<time of day>"}};
  std::string masked;
  for (std::string_view rest = text; !rest.empty();) {
    const auto* const mask =
        std::find_if(std::begin(kMasks), std::end(kMasks), [rest](const Mask& candidate) {
          return Matches(rest.substr(0, candidate.pattern.size()), candidate.pattern);
        });
    const bool found = mask != std::end(kMasks);
    masked.append(found ? mask->name : rest.substr(0, 1));
    rest.remove_prefix(found ? mask->pattern.size() : 1);
  }
  return masked;
}

std::string MaskIdentity(const std::string& text) {
  constexpr char hexDigits[] = "0123456789abcdef";
  std::string masked = text;
  ReplaceBehind(masked, "PID: ", "0123456789", "<process>");
  ReplaceBehind(masked, "(0x", hexDigits, "<process>");
  ReplaceBehind(masked, "\t0x", hexDigits, "<thread>");
  return masked;
}

std::string ExpectedFile(const std::string& commandLine,
                         const std::initializer_list<std::string>& lines) {
  char process[40];
  std::snprintf(process, sizeof process, "%u(0x%x)", ProcessNumber(), ProcessNumber());
  char thread[40];
  std::snprintf(thread, sizeof thread, "0x%x", static_cast<unsigned>(winapi::GetCurrentThreadId()));
  std::string text = "TVX TRACE FILE\tTime: <day minute>  PID: ";
  text.append(process).append("\r\nCommand line: ").append(commandLine);
  text.append("\r\nTime(UTC) : <day minute>  \r\n\r\n\r\n");
  for (const std::string& line : lines) {
    text.append("<time of day>\t").append(thread).append("\t").append(line).append("\r\n");
  }
  return text.append("End of trace file, time: <day second>\r\n");
}

std::string LocalTime(const char* format) { return Formatted(BrokenDown(true), format); }
std::string UtcTime(const char* format) { return Formatted(BrokenDown(false), format); }

oru::String16 PathIn(const TemporaryFolder& folder, const char16_t* name) {
  const std::u16string path = folder.WindowsPath() + u"\\" + name;
  return oru::String16(path);
}

}  // namespace tests
