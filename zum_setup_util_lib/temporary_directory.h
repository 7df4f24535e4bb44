// Where temporary files go.
#ifndef ZUM_SETUP_UTIL_LIB_TEMPORARY_DIRECTORY_H_
#define ZUM_SETUP_UTIL_LIB_TEMPORARY_DIRECTORY_H_

#include <string>

namespace correct_setup::helpers {

// The temporary directory with a separator behind it; empty when the system asks for a larger
// buffer each time. Throws oru::CheckResultFailedException when it can't be told.
[[nodiscard]] std::u16string GetTempDirectory();

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_TEMPORARY_DIRECTORY_H_
