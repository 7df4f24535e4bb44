// The program's command line.
#ifndef ZUM_REHEARSE_OPTIONS_H_
#define ZUM_REHEARSE_OPTIONS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zum_rehearse {

struct Options {
  std::vector<std::string> inputs;  // files and folders, in the order of the output
  std::size_t named = 0;            // so many of them stand on the command line itself
  std::string listFile;             // where the others stand; empty: there is none
  bool all = false;
  bool json = false;
  bool csv = false;
  // Empty: no such file. The last two are folders where there are several machines.
  std::string htmlFile;
  std::string changesPath;
  std::string undoPath;
  std::string traceFolder;  // empty: no trace
};

struct ParsedOptions {
  std::optional<Options> options;  // nullopt: end with `status` and print `text`
  int status = 0;
  std::string text;
};

// Of UTF-8 arguments without the program's name. Status 0 for a question such as --help, 2 for what
// can't be understood.
[[nodiscard]] ParsedOptions ParseOptions(const std::vector<std::string>& arguments);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_OPTIONS_H_
