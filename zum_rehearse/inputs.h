// Where the machines come from: on Windows the machine that the program runs on, elsewhere exported
// files.
#ifndef ZUM_REHEARSE_INPUTS_H_
#define ZUM_REHEARSE_INPUTS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "zum_rehearse/judge.h"
#include "zum_rehearse/rehearse.h"

namespace zum_rehearse {

// True where files can be given on the command line.
[[nodiscard]] bool TakesFiles() noexcept;

// One machine before it is loaded: a folder, or files. Neither: this machine.
struct Source {
  std::string folder;
  std::vector<std::string> files;
  std::string machine;   // its name
  std::string fileName;  // its name among the machines of this call, fit for a file
};

// The files of `inputs` are one machine, which comes where the first of them stands; each folder is
// one. The first `named` inputs stand on the command line. What isn't there is a machine of its
// own, whose loading fails; but a missing export of the command line belongs to the other files,
// which without it would be half a machine.
[[nodiscard]] std::vector<Source> SortInputs(const std::vector<std::string>& inputs,
                                             std::size_t named);

// The files that a machine is read from, and those that belong to them, as they are now.
[[nodiscard]] std::vector<std::string> InputFiles(const Source& source);

// Never fails: the reason why a machine can't be loaded stands in it.
[[nodiscard]] LoadedMachine Load(const Source& source);

// How it is found out whether a package is there; empty where it can't be.
[[nodiscard]] PackageLookup TheLookup();

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_INPUTS_H_
