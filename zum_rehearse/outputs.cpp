#include "zum_rehearse/outputs.h"

#include <algorithm>
#include <iterator>
#include <system_error>

#include "zum_rehearse/files.h"
#include "zum_rehearse/places.h"

namespace zum_rehearse {
namespace {

namespace fs = std::filesystem;

// All files that the call would write, and the folders that it would make for them. The trace isn't
// among them: its name is made of the moment.
std::vector<fs::path> OutputsOf(const Options& options, const std::vector<Source>& sources) {
  std::vector<fs::path> outputs;
  if (!options.htmlFile.empty()) outputs.push_back(PathOf(options.htmlFile));
  const bool several = sources.size() > 1;
  for (const std::string& target : {options.changesPath, options.undoPath}) {
    if (target.empty()) continue;
    if (several) outputs.push_back(PathOf(target));
    for (const Source& source : sources) outputs.push_back(FileFor(source, target, several));
  }
  return outputs;
}

struct Inputs {
  Places files;
  Places folders;  // each is a machine
};

Inputs InputsOf(const Options& options, const std::vector<Source>& sources) {
  Inputs inputs;
  if (!options.listFile.empty()) inputs.files.Add(PathOf(options.listFile));
  for (const Source& source : sources) {
    if (!source.folder.empty()) inputs.folders.Add(PathOf(source.folder));
    for (const std::string& file : InputFiles(source)) inputs.files.Add(PathOf(file));
  }
  return inputs;
}

// A pipe or a device can take several outputs and keeps none of them.
bool IsKept(const fs::path& output) {
  std::error_code error;
  const fs::file_type type = fs::status(output, error).type();
  return type == fs::file_type::regular || type == fs::file_type::directory ||
         type == fs::file_type::not_found;
}

// By its own name or by that of the file behind its link.
bool WouldCountAmongExports(const fs::path& output, const Inputs& inputs) {
  std::error_code error;
  const fs::path names[] = {fs::absolute(output, error), Resolved(output)};
  return std::any_of(std::begin(names), std::end(names), [&inputs](const fs::path& path) {
    return IsNamedAsExport(path) && inputs.folders.Holds(path.parent_path());
  });
}

std::string WhyRefused(const fs::path& output, const Inputs& inputs, Places& taken) {
  if (inputs.files.Holds(output)) return "it is one of the files that are read";
  if (WouldCountAmongExports(output, inputs)) {
    return "in a machine's own folder a .reg file counts among its exports; choose another folder, "
           "or a name without .reg";
  }
  if (IsKept(output) && !taken.Add(output)) return "two of the outputs would have this name";
  return {};
}

}  // namespace

fs::path FileFor(const Source& source, const std::string& target, bool several) {
  const fs::path path = PathOf(target);
  std::error_code error;
  return several || fs::is_directory(path, error) ? path / PathOf(source.fileName + ".reg") : path;
}

std::string WhyOutputsAreRefused(const Options& options, const std::vector<Source>& sources) {
  const std::vector<fs::path> outputs = OutputsOf(options, sources);
  if (outputs.empty()) return {};  // nothing is looked for in vain
  const Inputs inputs = InputsOf(options, sources);
  Places taken;
  for (const fs::path& output : outputs) {
    const std::string reason = WhyRefused(output, inputs, taken);
    if (!reason.empty()) return Utf8Of(output) + ": " + reason;
  }
  return {};
}

}  // namespace zum_rehearse
