// A machine of the host layer on which the whole correction passes: the product's self-defence is
// off, its values are marked, a package by the right signer lies there, the list of renames has a
// pair to correct, and a stand-in for the installer keeps what it was started with. Natively only.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_MACHINE_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_MACHINE_H_

#include <cstddef>
#include <string>
#include <vector>

namespace tests {

class PipelineMachine {
 public:
  static constexpr char16_t kPackage[] = u"C:\\pkg\\p.msi";
  static constexpr char kPackageContent[] = "the package that was checked";

  // Sets all of it up, on a clock that stands still.
  static void SetUp();
  // Removes what the set-up made, and lets the clock go.
  static void TearDown();

  // Those that install the package silently.
  [[nodiscard]] static std::vector<std::u16string> Arguments();

  // The states of the product's two values, package and source: each "marked", "restored", "half"
  // (under both names) or "lost" (under neither). One word where they are the same, "first" where
  // the package alone is restored, else both words.
  [[nodiscard]] static std::string Records();
  // The list of renames: "as it was", "corrected", or "damaged".
  [[nodiscard]] static std::string Renames();
  // What is left in the directory for temporary files, and in the product's data directory.
  [[nodiscard]] static std::size_t DropDirectories();
  [[nodiscard]] static std::size_t ProbeFiles();
  // The command lines that the installer was started with, each with the content of the private
  // copies that were there, as "LINE|CONTENT".
  [[nodiscard]] static std::vector<std::string> InstallerRuns();
};

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_MACHINE_H_
