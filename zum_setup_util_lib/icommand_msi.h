// An installer operation that has passed all checks, and how it is written as the installer's
// command line. CreateCommandMsi of commands_msi.h makes the objects.
#ifndef ZUM_SETUP_UTIL_LIB_ICOMMAND_MSI_H_
#define ZUM_SETUP_UTIL_LIB_ICOMMAND_MSI_H_

#include <string>

namespace correct_setup {

// Slot order is declaration order.
class ICommandMsi {
 public:
  virtual ~ICommandMsi() = default;

  // The installer's arguments, without a program name in front, composed anew at each call. Nothing
  // is quoted or escaped; the tool's own property stands last.
  [[nodiscard]] virtual std::u16string GetMsiCommandLine() const = 0;
  // The package, or the patch for the two patch operations: as typed until it is replaced.
  [[nodiscard]] virtual std::u16string GetFullPathToPackage() const = 0;
  // Replaces that path. An empty one has replaced it by the time it is refused, with
  // oru::CheckResultFailedException and "Invalid argument".
  virtual void SetFullPathToPackage(const std::u16string& path) = 0;
};

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_ICOMMAND_MSI_H_
