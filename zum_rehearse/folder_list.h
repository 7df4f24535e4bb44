// Lists of machines, as --folders-from takes them.
#ifndef ZUM_REHEARSE_FOLDER_LIST_H_
#define ZUM_REHEARSE_FOLDER_LIST_H_

#include <string>
#include <vector>

namespace zum_rehearse {

// Adds the names that stand in a file, one folder or file a line; blank lines are passed over. The
// file is UTF-8 with or without its mark, or UTF-16 with it, as PowerShell writes it. Without a
// mark a name's bytes are taken as they are, since a file's name needn't be UTF-8. On failure false
// with the reason, which begins with the file's name, and nothing is added.
[[nodiscard]] bool ReadFolderList(const std::string& file, std::vector<std::string>& names,
                                  std::string& reason);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_FOLDER_LIST_H_
