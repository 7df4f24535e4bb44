#include "zum_setup_util_lib/commands_msi.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "winapi/strings.h"
#include "zum_setup_util_lib/tool_result_codes.h"
#include "zum_setup_util_lib/trace_list.h"
#include "zum_setup_util_lib/wide_regex.h"

namespace correct_setup {
namespace {

using Arguments = std::vector<std::u16string>;

constexpr char kSourceFile[] = "zum_setup_util_lib/commands_msi";

// An argument may pass when it begins with one of these; so "/q" lets any word pass that begins
// like it, such as "/qb".
constexpr std::array<std::u16string_view, 20> allowedArguments = {u"ADDENVIRONMENT=",
                                                                  u"ALLOWREBOOT=",
                                                                  u"EULA=",
                                                                  u"PRIVACYPOLICY=",
                                                                  u"INSTALLDIR=",
                                                                  u"QVLOGIN=",
                                                                  u"QVPASSWD=",
                                                                  u"QVPASSWDHEX=",
                                                                  u"QVPASSWDAREA=",
                                                                  u"QVC=",
                                                                  u"SELFPROTECTION=",
                                                                  u"SKIPPRODUCTCHECK=",
                                                                  u"SKIPPRODUCTUNINSTALL=",
                                                                  u"SETUPREG=",
                                                                  u"ENABLETRACES=",
                                                                  u"TRACESLEVEL=",
                                                                  u"INSTALLLEVEL=",
                                                                  u"/qn",
                                                                  u"/q",
                                                                  u"/quiet"};

// QVPASSWDAREA= isn't one of them, and isn't meant to be.
constexpr std::array<std::u16string_view, 2> sensitiveArguments = {u"QVPASSWD=", u"QVPASSWDHEX="};

constexpr std::array<const char16_t*, 3> kSilentSwitches = {u"/qn", u"/q", u"/quiet"};

constexpr std::u16string_view kGuidSyntax =
    u"^[{]{1}[0-9a-fA-F]{8}-([0-9a-fA-F]{4}-){3}[0-9a-fA-F]{12}[}]{1}$";

// The first entry of `prefixes` that the argument begins with, or null. Case counts.
template <std::size_t N>
const std::u16string_view* FindPrefix(const std::array<std::u16string_view, N>& prefixes,
                                      std::u16string_view argument) {
  const auto found =
      std::find_if(prefixes.begin(), prefixes.end(),
                   [&](std::u16string_view prefix) { return argument.starts_with(prefix); });
  return found == prefixes.end() ? nullptr : &*found;
}

// The whole argument, case ignored: other than the allow list, which goes by beginnings and case.
bool IsSilentArgument(const std::u16string& argument) {
  return std::any_of(kSilentSwitches.begin(), kSilentSwitches.end(), [&](const char16_t* silent) {
    return winapi::lstrcmpiW(argument.c_str(), silent) == 0;
  });
}

void CheckSilentArguments(ArgumentIterator first, ArgumentIterator last) {
  if (std::any_of(first, last, IsSilentArgument)) return;
  throw oru::CheckResultFailedException(kSourceFile, __LINE__, rcSilentArgumentMissing)
      << u"[correct_setup::`anonymous-namespace'::CheckSilentArguments] "
      << u"not valid args, not silent mode";
}

void CheckAllowList(ArgumentIterator first, ArgumentIterator last) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] "
                                      << "call");
  Arguments refused;
  refused.reserve(static_cast<std::size_t>(last - first));
  std::copy_if(first, last, std::back_inserter(refused), [](const std::u16string& argument) {
    return FindPrefix(allowedArguments, argument) == nullptr;
  });
  if (refused.empty()) return;
  ORU_TRACE(oru::kTraceLevelError, "setup\t[correct_setup::`anonymous-namespace'::CheckAllowList] "
                                       << "not allowed args = "
                                       << TraceList{HideSensitiveArguments(refused)});
  throw oru::CheckResultFailedException(kSourceFile, __LINE__, rcArgumentNotAllowed)
      << u"not allowed args";
}

// The order decides which failure is seen where both apply.
void CheckArguments(ArgumentIterator first, ArgumentIterator last) {
  CheckSilentArguments(first, last);
  CheckAllowList(first, last);
}

void CheckGuidSyntax(const std::u16string& text) {
  const helpers::WideRegex syntax(kGuidSyntax);
  if (!text.empty() && syntax.MatchesWhole(text)) return;
  throw oru::CheckResultFailedException(kSourceFile, __LINE__, rcGuidSyntaxInvalid)
      << u"not correct guid = " << text;
}

void RequirePath(const std::u16string& path, std::uint32_t line, const char16_t* prefix) {
  if (!path.empty()) return;
  throw oru::CheckResultFailedException(kSourceFile, line, oru::errInvalidArgument)
      << prefix << u"empty path";
}

// What each constructor demands of its fields, in the order that its failures have. `guid` is null
// where the operation names no product. `line` and `prefix` are the constructor's own, for the
// path.
void CheckFields(const Arguments& arguments, const std::u16string* guid, const std::u16string& path,
                 std::uint32_t line, const char16_t* prefix) {
  CheckArguments(arguments.begin(), arguments.end());
  if (guid != nullptr) CheckGuidSyntax(*guid);
  RequirePath(path, line, prefix);
}

// Assigned before it is looked at: an empty path has replaced the old one when it is refused.
void ReplacePath(std::u16string& field, const std::u16string& path, std::uint32_t line,
                 const char16_t* prefix) {
  field = path;
  RequirePath(field, line, prefix);
}

// `line` is the caller's, so that each of the refusals has a position of its own.
[[noreturn]] void RefuseList(std::uint32_t line, oru::ResultCode rc, const char16_t* cause) {
  throw oru::CheckResultFailedException(kSourceFile, line, rc)
      << u"[correct_setup::CreateCommandMsi] " << cause;
}

// A blank before each. Nothing is quoted: whoever needs quotes has them in the argument.
std::u16string JoinArguments(ArgumentIterator first, ArgumentIterator last) {
  std::u16string joined;
  std::for_each(first, last, [&joined](const std::u16string& argument) {
    joined.append(u" ").append(argument);
  });
  return joined;
}

// Names a package, or a patch and behind it its product, then the user's arguments and the tool's
// own.
std::u16string ComposeCommandLine(std::u16string_view head, std::u16string_view target,
                                  const Arguments& arguments) {
  std::u16string line(head);
  line.append(target)
      .append(JoinArguments(arguments.begin(), arguments.end()))
      .append(u" SKIPREBOOTPENDING=1");
  return line;
}

}  // namespace

Arguments HideSensitiveArguments(const Arguments& arguments) {
  Arguments shown;
  shown.reserve(arguments.size());
  for (const std::u16string& argument : arguments) {
    const std::u16string_view* prefix = FindPrefix(sensitiveArguments, argument);
    shown.push_back(prefix == nullptr ? argument
                                      : std::u16string(*prefix) + u"<sensitive data was hidden>");
  }
  return shown;
}

CommandInstallMsi::CommandInstallMsi(const std::u16string& package, const Arguments& arguments)
    : m_fullPathToPackage(package), m_arguments(arguments) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::CommandInstallMsi::CommandInstallMsi] "
                                      << "call");
  CheckFields(m_arguments, /*guid=*/nullptr, m_fullPathToPackage, __LINE__,
              u"[correct_setup::CommandInstallMsi::CommandInstallMsi] ");
}

std::u16string CommandInstallMsi::GetMsiCommandLine() const {
  return ComposeCommandLine(u"/norestart /i ", m_fullPathToPackage, m_arguments);
}

std::u16string CommandInstallMsi::GetFullPathToPackage() const { return m_fullPathToPackage; }

void CommandInstallMsi::SetFullPathToPackage(const std::u16string& path) {
  ReplacePath(m_fullPathToPackage, path, __LINE__,
              u"[correct_setup::CommandInstallMsi::SetFullPathToPackage] ");
}

CommandInstallMsp::CommandInstallMsp(const std::u16string& package, const Arguments& arguments)
    : m_fullPathToPackage(package), m_arguments(arguments) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::CommandInstallMsp::CommandInstallMsp] "
                                      << "call");
  CheckFields(m_arguments, /*guid=*/nullptr, m_fullPathToPackage, __LINE__,
              u"[correct_setup::CommandInstallMsp::CommandInstallMsp] ");
}

std::u16string CommandInstallMsp::GetMsiCommandLine() const {
  return ComposeCommandLine(u"/norestart /update ", m_fullPathToPackage, m_arguments);
}

std::u16string CommandInstallMsp::GetFullPathToPackage() const { return m_fullPathToPackage; }

void CommandInstallMsp::SetFullPathToPackage(const std::u16string& path) {
  ReplacePath(m_fullPathToPackage, path, __LINE__,
              u"[correct_setup::CommandInstallMsp::SetFullPathToPackage] ");
}

CommandUninstallMsi::CommandUninstallMsi(const std::u16string& package, const Arguments& arguments)
    : m_fullPathToPackage(package), m_arguments(arguments) {
  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::CommandUninstallMsi::CommandUninstallMsi] "
                << "call");
  CheckFields(m_arguments, /*guid=*/nullptr, m_fullPathToPackage, __LINE__,
              u"[correct_setup::CommandUninstallMsi::CommandUninstallMsi] ");
}

std::u16string CommandUninstallMsi::GetMsiCommandLine() const {
  return ComposeCommandLine(u"/norestart /x ", m_fullPathToPackage, m_arguments);
}

std::u16string CommandUninstallMsi::GetFullPathToPackage() const { return m_fullPathToPackage; }

void CommandUninstallMsi::SetFullPathToPackage(const std::u16string& path) {
  ReplacePath(m_fullPathToPackage, path, __LINE__,
              u"[correct_setup::CommandUninstallMsi::SetFullPathToPackage] ");
}

CommandUninstallMsp::CommandUninstallMsp(const std::u16string& package, const std::u16string& guid,
                                         const Arguments& arguments)
    : m_fullPathToPackage(package), m_productGuid(guid), m_arguments(arguments) {
  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::CommandUninstallMsp::CommandUninstallMsp] "
                << "call");
  CheckFields(m_arguments, &m_productGuid, m_fullPathToPackage, __LINE__,
              u"[correct_setup::CommandUninstallMsp::CommandUninstallMsp] ");
}

std::u16string CommandUninstallMsp::GetMsiCommandLine() const {
  return ComposeCommandLine(u"/norestart /uninstall ",
                            m_fullPathToPackage + u" /package " + m_productGuid, m_arguments);
}

std::u16string CommandUninstallMsp::GetFullPathToPackage() const { return m_fullPathToPackage; }

void CommandUninstallMsp::SetFullPathToPackage(const std::u16string& path) {
  ReplacePath(m_fullPathToPackage, path, __LINE__,
              u"[correct_setup::CommandUninstallMsp::SetFullPathToPackage] ");
}

// The tail is copied where the operation is known, so that an unknown one costs no copy.
std::unique_ptr<ICommandMsi> CreateCommandMsi(ArgumentIterator first, ArgumentIterator last) {
  const auto count = last - first;
  if (count == 0) RefuseList(__LINE__, rcOperationInvalid, u"empty operation");
  // Before the operation is looked at, so a lone word that is none is refused with this too.
  if (count == 1) RefuseList(__LINE__, oru::errInvalidArgument, u"not valid argument");
  const std::u16string& operation = first[0];
  if (operation == u"/installmsi") {
    return std::make_unique<CommandInstallMsi>(first[1], Arguments(first + 2, last));
  }
  if (operation == u"/installmsp") {
    return std::make_unique<CommandInstallMsp>(first[1], Arguments(first + 2, last));
  }
  if (operation == u"/uninstallmsi") {
    return std::make_unique<CommandUninstallMsi>(first[1], Arguments(first + 2, last));
  }
  if (operation == u"/uninstallmsp") {
    if (count == 2) RefuseList(__LINE__, rcOperationInvalid, u"not guid for operation");
    return std::make_unique<CommandUninstallMsp>(first[1], first[2], Arguments(first + 3, last));
  }
  RefuseList(__LINE__, rcOperationInvalid, u"not valid operation for msi");
}

}  // namespace correct_setup
