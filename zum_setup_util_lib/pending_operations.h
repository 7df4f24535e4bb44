// The correction of the list of renames that Windows performs at its next start.
#ifndef ZUM_SETUP_UTIL_LIB_PENDING_OPERATIONS_H_
#define ZUM_SETUP_UTIL_LIB_PENDING_OPERATIONS_H_

#include <string>
#include <vector>

namespace correct_setup::detail {

// The list in which each rename between two absolute paths is preceded by a deletion of its target
// (the target and an empty string), unless the target stands somewhere before it already. A string
// is an absolute path when it begins with a backslash, and two neighbours that are make a rename;
// whatever isn't part of one is copied over. A list that went through once comes out of a second
// time as it went in. Takes time in proportion to the list.
[[nodiscard]] std::vector<std::u16string> RewritePendingList(
    const std::vector<std::u16string>& list);

// One attempt, in one kernel transaction: reads the value, rewrites it, and writes it back when
// that changed something. A key or value that can't be opened or read is a success. Throws when the
// write or the commit fails; nothing is changed then.
void CorrectPendingOperations();

// The stage: attempts for as long as they fail, 301 at the most with 100 ms between two. Throws
// oru::CheckResultFailedException with rcPendingCorrectionFailed behind the last one.
void TryCorrectPendingOperations();

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_PENDING_OPERATIONS_H_
