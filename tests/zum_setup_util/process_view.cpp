#include "tests/zum_setup_util/process_view.h"

#ifdef _WIN32

#include <sstream>

#include "tests/support/program.h"

namespace tests {
namespace {

std::u16string UnitsOf(const std::string& digits) {
  std::u16string text;
  for (std::size_t i = 0; i + 4 <= digits.size(); i += 4) {
    text.push_back(static_cast<char16_t>(std::stoul(digits.substr(i, 4), nullptr, 16)));
  }
  return text;
}

std::string BytesOf(const std::string& digits) {
  std::string text;
  for (std::size_t i = 0; i + 2 <= digits.size(); i += 2) {
    text.push_back(static_cast<char>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return text;
}

}  // namespace

ProcessView ViewOf(const std::u16string& commandLine) {
  ProcessView view;
  std::istringstream lines(RunProgram(ZUM_COMMAND_LINE_PROBE, commandLine).output);
  std::string kind;
  std::string digits;
  while (lines >> kind >> digits) {
    if (kind == "argument") view.arguments.push_back(UnitsOf(digits));
    if (kind == "masked") view.maskedCommandLine = BytesOf(digits);
  }
  return view;
}

}  // namespace tests

#else

#include "winapi/host/control.h"
#include "zum_setup_util/trace_setup.h"

namespace tests {

ProcessView ViewOf(const std::u16string& commandLine) {
  winapi::host::SetCommandLine(commandLine);
  const oru::String8 masked = zum_setup_util::GetMaskedCommandLine();
  return {zum_setup_util::ReadCommandLineArguments(), std::string(masked.view())};
}

}  // namespace tests

#endif
