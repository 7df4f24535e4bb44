// The four installer operations, and the gate through which their arguments pass.
//
// A constructor checks the extra arguments (a silent switch must be there, each argument must begin
// with an entry of the allow list), then what its operation demands beyond that, and last that the
// path isn't empty. What is wrong with the arguments is an oru::CheckResultFailedException; a lack
// of memory is std::bad_alloc, and what the library's regular expressions can't do
// std::regex_error.
#ifndef ZUM_SETUP_UTIL_LIB_COMMANDS_MSI_H_
#define ZUM_SETUP_UTIL_LIB_COMMANDS_MSI_H_

#include <memory>
#include <string>
#include <vector>

#include "zum_setup_util_lib/icommand_msi.h"

namespace correct_setup {

using ArgumentIterator = std::vector<std::u16string>::const_iterator;

// "/norestart /i " and the package.
class CommandInstallMsi final : public ICommandMsi {
 public:
  CommandInstallMsi(const std::u16string& package, const std::vector<std::u16string>& arguments);
  [[nodiscard]] std::u16string GetMsiCommandLine() const override;
  [[nodiscard]] std::u16string GetFullPathToPackage() const override;
  void SetFullPathToPackage(const std::u16string& path) override;

 private:
  std::u16string m_fullPathToPackage;
  std::vector<std::u16string> m_arguments;
};

// "/norestart /update " and the patch.
class CommandInstallMsp final : public ICommandMsi {
 public:
  CommandInstallMsp(const std::u16string& package, const std::vector<std::u16string>& arguments);
  [[nodiscard]] std::u16string GetMsiCommandLine() const override;
  [[nodiscard]] std::u16string GetFullPathToPackage() const override;
  void SetFullPathToPackage(const std::u16string& path) override;

 private:
  std::u16string m_fullPathToPackage;
  std::vector<std::u16string> m_arguments;
};

// "/norestart /x " and the package.
class CommandUninstallMsi final : public ICommandMsi {
 public:
  CommandUninstallMsi(const std::u16string& package, const std::vector<std::u16string>& arguments);
  [[nodiscard]] std::u16string GetMsiCommandLine() const override;
  [[nodiscard]] std::u16string GetFullPathToPackage() const override;
  void SetFullPathToPackage(const std::u16string& path) override;

 private:
  std::u16string m_fullPathToPackage;
  std::vector<std::u16string> m_arguments;
};

// "/norestart /uninstall ", the patch, " /package " and the product's code in braces.
class CommandUninstallMsp final : public ICommandMsi {
 public:
  CommandUninstallMsp(const std::u16string& package, const std::u16string& guid,
                      const std::vector<std::u16string>& arguments);
  [[nodiscard]] std::u16string GetMsiCommandLine() const override;
  [[nodiscard]] std::u16string GetFullPathToPackage() const override;
  void SetFullPathToPackage(const std::u16string& path) override;

 private:
  std::u16string m_fullPathToPackage;
  std::u16string m_productGuid;
  std::vector<std::u16string> m_arguments;
};

// The command for an argument list without the program's name: operation, package or patch, for the
// patch removal the product's code, then the extra arguments. Never null; what is wrong is thrown.
[[nodiscard]] std::unique_ptr<ICommandMsi> CreateCommandMsi(ArgumentIterator first,
                                                            ArgumentIterator last);

// A copy in which each argument that begins with a password property keeps that beginning only.
// Stands here for its test: in a run no refused argument begins so, since the properties are
// allowed.
[[nodiscard]] std::vector<std::u16string> HideSensitiveArguments(
    const std::vector<std::u16string>& arguments);

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_COMMANDS_MSI_H_
