// Installer arguments to a command and its line, and what the trace shows of it all.
//
// The input is the arguments, with zeros between.
#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/masking_rule.h"
#include "fuzz/texts.h"
#include "fuzz/utf_rules.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/trace_level.h"
#include "oru/rtl/tracer.h"
#include "standalone_tracer_lib/simple_channel_tracer.h"
#include "standalone_tracer_lib/tracers.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/commands_msi.h"
#include "zum_setup_util_lib/installer_launch.h"

namespace {

using Texts = std::vector<std::u16string>;

// Keeps the texts that a trace file would have.
class Records : public oru::inherit_ifaces<oru::tracer::IChannel>,
                private oru::ObjectModuleAutoLockTyped<Records>,
                private oru::NonCopyable {
 public:
  oru::ResultCode WriteRecord(const oru::tracer::TraceRecord* record) override {
    texts.emplace_back(record->textBegin, record->textEnd);
    return oru::sOk;
  }
  std::vector<std::string> texts;

 protected:
  ~Records() = default;
};

// What a list of arguments must come to.
struct Expected {
  std::uint32_t code = 0;
  std::u16string message;  // of the failure
  std::string className;   // of the command, where one is begun
  bool checksList = false;
  Texts refused;
  std::u16string line;  // of the installer, with `package` in it
  std::u16string package;
};

Expected Failure(std::uint32_t code, std::u16string_view message) {
  Expected expected;
  expected.code = code;
  expected.message = message;
  return expected;
}

bool IsSilent(std::u16string argument) {
  for (char16_t& unit : argument) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
  }
  return argument == u"/q" || argument == u"/qn" || argument == u"/quiet";
}

bool IsAllowed(std::u16string_view argument) {
  static constexpr std::u16string_view kProperties =
      u" ADDENVIRONMENT ALLOWREBOOT EULA PRIVACYPOLICY INSTALLDIR QVLOGIN QVPASSWD QVPASSWDHEX "
      u"QVPASSWDAREA QVC "
      u"SELFPROTECTION SKIPPRODUCTCHECK SKIPPRODUCTUNINSTALL SETUPREG ENABLETRACES TRACESLEVEL "
      u"INSTALLLEVEL ";
  if (argument.starts_with(u"/q")) return true;  // "/qn" and "/quiet" begin so
  const std::size_t end = argument.find(u'=');
  if (end == std::u16string_view::npos ||
      argument.substr(0, end).find(u' ') != std::u16string_view::npos)
    return false;
  const std::u16string word = u" " + std::u16string(argument.substr(0, end)) + u" ";
  return end != 0 && kProperties.find(word) != std::u16string_view::npos;
}

bool IsGuid(std::u16string_view text) {
  static constexpr std::u16string_view kForm = u"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
  return std::equal(
      text.begin(), text.end(), kForm.begin(), kForm.end(), [](char16_t unit, char16_t form) {
        const bool isDigit = (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f') ||
                             (unit >= u'A' && unit <= u'F');
        return form == u'x' ? isDigit : unit == form;
      });
}

struct Operation {
  std::u16string_view word;
  const char* className;
  std::u16string_view head;
  bool namesProduct;
};

constexpr Operation kOperations[] = {
    {u"/installmsi", "CommandInstallMsi", u"/norestart /i ", false},
    {u"/installmsp", "CommandInstallMsp", u"/norestart /update ", false},
    {u"/uninstallmsi", "CommandUninstallMsi", u"/norestart /x ", false},
    {u"/uninstallmsp", "CommandUninstallMsp", u"/norestart /uninstall ", true}};

constexpr std::u16string_view kFactory = u"[correct_setup::CreateCommandMsi] ";

void CheckTail(const Operation& operation, const Texts& arguments, const Texts& tail,
               Expected& expected) {
  expected.className = operation.className;
  if (std::none_of(tail.begin(), tail.end(), IsSilent)) {
    expected.code = 0xA1780004;
    expected.message =
        u"[correct_setup::`anonymous-namespace'::CheckSilentArguments] not valid args, not silent "
        u"mode";
    return;
  }
  expected.checksList = true;
  for (const std::u16string& argument : tail) {
    if (!IsAllowed(argument)) expected.refused.push_back(argument);
  }
  if (!expected.refused.empty()) {
    expected.code = 0xA1780009;
    expected.message = u"not allowed args";
  } else if (operation.namesProduct && !IsGuid(arguments[2])) {
    expected.code = 0xA178000B;
    expected.message = u"not correct guid = " + arguments[2];
  } else if (arguments[1].empty()) {
    const std::u16string name(expected.className.begin(), expected.className.end());
    expected.code = 0x80000046;
    expected.message = u"[correct_setup::" + name + u"::" + name + u"] empty path";
  }
}

Expected Expect(const Texts& arguments) {
  if (arguments.empty()) return Failure(0xA178000A, std::u16string(kFactory) + u"empty operation");
  if (arguments.size() == 1)
    return Failure(0x80000046, std::u16string(kFactory) + u"not valid argument");
  const auto* const operation =
      std::find_if(std::begin(kOperations), std::end(kOperations),
                   [&](const Operation& each) { return each.word == arguments[0]; });
  if (operation == std::end(kOperations)) {
    return Failure(0xA178000A, std::u16string(kFactory) + u"not valid operation for msi");
  }
  if (operation->namesProduct && arguments.size() == 2) {
    return Failure(0xA178000A, std::u16string(kFactory) + u"not guid for operation");
  }
  const Texts tail(arguments.begin() + (operation->namesProduct ? 3 : 2), arguments.end());
  Expected expected;
  expected.package = arguments[1];
  expected.line = std::u16string(operation->head) + expected.package;
  if (operation->namesProduct) expected.line += u" /package " + arguments[2];
  for (const std::u16string& argument : tail) expected.line += u" " + argument;
  expected.line += u" SKIPREBOOTPENDING=1";
  CheckTail(*operation, arguments, tail, expected);
  return expected;
}

std::string RefusedList(const Texts& refused) {
  std::u16string list = u"[ ";
  for (std::size_t i = 0; i < refused.size(); ++i) list += (i == 0 ? u"" : u",") + refused[i];
  return fuzz::Utf8ByRule(list + u" ]");
}

// The records of the command's making.
std::vector<std::string> ExpectedRecords(const Expected& expected) {
  std::vector<std::string> records;
  if (expected.className.empty()) return records;
  const std::string& name = expected.className;
  records.push_back("setup\t[correct_setup::" + name + "::" + name + "] call");
  if (expected.checksList) {
    records.emplace_back("setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] call");
  }
  if (!expected.refused.empty()) {
    records.push_back(
        "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] not allowed args = " +
        RefusedList(expected.refused));
  }
  return records;
}

std::unique_ptr<correct_setup::ICommandMsi> Create(const Texts& arguments,
                                                   const Expected& expected) {
  try {
    auto command = correct_setup::CreateCommandMsi(arguments.begin(), arguments.end());
    fuzz::Require(expected.code == 0, "these arguments are refused");
    return command;
  } catch (const oru::CheckResultFailedException& failure) {
    fuzz::Require(static_cast<std::uint32_t>(failure.Code()) == expected.code,
                  "the code is the rule's");
    fuzz::Require(failure.Message().view() == expected.message, "the message is the rule's");
    return nullptr;
  }
}

// What a launch traces. The program isn't there, so that nothing is started; its line is traced
// before that shows.
std::vector<std::string> RecordsOfLaunch(const std::u16string& line, Records& records) {
  records.texts.clear();
  winapi::host::FailCall("CreateProcessW", 1, 2);
  try {
    (void)correct_setup::detail::LaunchMsiPackage(line);
    fuzz::Require(false, "a launch that fails throws");
  } catch (const oru::CheckResultFailedException& failure) {
    fuzz::Require(static_cast<std::uint32_t>(failure.Code()) == 0xA1780005,
                  "a launch that fails has its code");
  }
  return records.texts;
}

bool IsIn(const std::vector<std::string>& records, const std::string& bytes) {
  return std::any_of(records.begin(), records.end(), [&bytes](const std::string& record) {
    return record.find(bytes) != std::string::npos;
  });
}

// No secret is in the records, unless the same text may be shown in another place of the line, or
// is traced whatever the line is.
void CheckLaunch(const std::u16string& line, Records& records) {
  static const std::vector<std::string> own = RecordsOfLaunch(u"", records);
  const std::vector<std::string> found = RecordsOfLaunch(line, records);
  const fuzz::Masked masked = fuzz::Mask(line);
  const std::string shown = "; arguments = '" + fuzz::Utf8ByRule(masked.text) + "'";
  fuzz::Require(found.size() >= 2 && found[1].ends_with(shown), "the line is shown masked");
  for (const std::u16string& secret : masked.secrets) {
    const std::string bytes = fuzz::Utf8ByRule(secret);
    if (masked.text.find(secret) != std::u16string::npos || IsIn(own, bytes)) continue;
    fuzz::Require(!IsIn(found, bytes), "no secret is in the trace");
  }
}

Texts Split(std::string_view bytes) {
  Texts arguments;
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\0'), bytes.size());
    std::u16string argument = fuzz::WideText(bytes.substr(0, end));
    argument.resize(std::min(argument.find(u'\0'), argument.size()));
    arguments.push_back(std::move(argument));
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  return arguments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Records& records = *oru::CreateObject<Records>().Detach();
  using standalone::trace::detail::SimpleChannelTracer;
  static const bool isInstalled =
      (standalone::trace::TracerHolder::Instance().Install(
           oru::CreateObject<SimpleChannelTracer>(&records, oru::kTraceLevelInfo)),
       true);
  (void)isInstalled;
  winapi::host::StopCallLog();
  winapi::host::ClearFaults();
  records.texts.clear();
  const Texts arguments = Split({reinterpret_cast<const char*>(data), size});
  const Expected expected = Expect(arguments);
  const auto command = Create(arguments, expected);
  fuzz::Require(records.texts == ExpectedRecords(expected), "the records are the rule's");
  if (command == nullptr) return 0;
  fuzz::Require(command->GetFullPathToPackage() == expected.package, "the path is the argument");
  fuzz::Require(command->GetMsiCommandLine() == expected.line, "the line is the rule's");
  command->SetFullPathToPackage(u"D\\p.msi");
  std::u16string moved = expected.line;
  const std::size_t place = moved.find(u' ', sizeof "/norestart") + 1;
  moved.replace(place, expected.package.size(), u"D\\p.msi");
  fuzz::Require(command->GetMsiCommandLine() == moved, "the line has the new path");
  CheckLaunch(moved, records);
  return 0;
}
