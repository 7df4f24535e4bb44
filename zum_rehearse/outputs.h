// Where the files of a call go, and whether they may.
#ifndef ZUM_REHEARSE_OUTPUTS_H_
#define ZUM_REHEARSE_OUTPUTS_H_

#include <filesystem>
#include <string>
#include <vector>

#include "zum_rehearse/inputs.h"
#include "zum_rehearse/options.h"

namespace zum_rehearse {

// The file of a machine's own below the path that --changes or --undo names: a folder where there
// are several machines or where one is there, else the file itself.
[[nodiscard]] std::filesystem::path FileFor(const Source& source, const std::string& target,
                                            bool several);

// Why the files that are asked for can't be written: one is read by this call, two would have one
// name, or one would lie among a machine's exports. Empty: they can. Nothing is written, so that a
// call which is refused leaves everything as it was.
[[nodiscard]] std::string WhyOutputsAreRefused(const Options& options,
                                               const std::vector<Source>& sources);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_OUTPUTS_H_
