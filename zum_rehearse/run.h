// The program's run.
#ifndef ZUM_REHEARSE_RUN_H_
#define ZUM_REHEARSE_RUN_H_

#include <string>
#include <vector>

namespace zum_rehearse {

// Runs with UTF-8 arguments, without the program's name, and gives the exit status. Reports go to
// the standard output, what is wrong with the call to the standard error stream.
[[nodiscard]] int RunRehearse(const std::vector<std::string>& arguments);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_RUN_H_
