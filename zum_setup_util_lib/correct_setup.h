// The whole correction as one run: the library's entry.
#ifndef ZUM_SETUP_UTIL_LIB_CORRECT_SETUP_H_
#define ZUM_SETUP_UTIL_LIB_CORRECT_SETUP_H_

#include <cstdint>
#include <string>
#include <vector>

namespace correct_setup {

// Makes sure that the product's self-defence is out of the way, turns the arguments (operation,
// package, extra arguments; no program name) into one installer command, takes a private copy of
// the package, verifies the copy's signer, puts the installer's records right, runs the installer,
// and corrects the list of pending renames when it ended with 0.
//
// Gives the installer's exit code as it stands, 0 when all went well. A stage that fails leaves by
// an exception with that stage's one code; the private copy is gone then, the records stay as they
// are. Only 0 counts as the installer's success: for 3010 and 1641 the pending renames aren't
// corrected.
//
// What the caller has done before, and undoes behind the call at the earliest:
// - armed oru::AssertionHandler (oru/rtl/check.h) at the head of the chain. Without a handler the
//   first failed check ends the process with 0x42849FD0, and one fails in an ordinary case: where
//   the self-defence protects the product's data directory.
// - narrowed the search for modules to the system directory (zum_setup_util/dll_search.h). The
//   modules that are loaded here are named by full paths, but what they load themselves isn't.
// - set TMP to a directory that only administrators may write to, with no blank in its path.
//   Nothing of the installer's command line is quoted: with a blank the installer reads another
//   file than the one whose signer was checked.
// docs/pipeline.md says what else could interfere.
[[nodiscard]] std::uint32_t ExecuteCorrectSetup(std::vector<std::u16string> args);

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_CORRECT_SETUP_H_
