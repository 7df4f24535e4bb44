// What the tests of the installer commands share.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_COMMAND_LINE_FORMS_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_COMMAND_LINE_FORMS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/text.h"
#include "zum_setup_util_lib/commands_msi.h"

namespace tests {

using Words = std::vector<std::u16string>;

inline constexpr std::uint32_t kSilentMissing = 0xA1780004;
inline constexpr std::uint32_t kNotAllowed = 0xA1780009;

inline const std::u16string kGuid = u"{12345678-1234-1234-1234-1234567890ab}";

// What came of a list: the command, or the code and message of what was thrown.
struct CommandOutcome {
  std::unique_ptr<correct_setup::ICommandMsi> command;
  std::uint32_t code = 0;
  std::u16string message;
  std::string file;
  std::uint32_t line = 0;
};

inline CommandOutcome MakeCommand(const Words& words) {
  CommandOutcome outcome;
  try {
    outcome.command = correct_setup::CreateCommandMsi(words.begin(), words.end());
  } catch (const oru::CheckResultFailedException& exception) {
    outcome.code = static_cast<std::uint32_t>(exception.Code());
    outcome.message = exception.Message().view();
    outcome.file = exception.File();
    outcome.line = exception.Line();
  }
  return outcome;
}

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_COMMAND_LINE_FORMS_H_
