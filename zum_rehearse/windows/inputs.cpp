#include "zum_rehearse/inputs.h"

#include "zum_rehearse/package_lookup.h"
#include "zum_rehearse/printable.h"

namespace zum_rehearse {

bool TakesFiles() noexcept { return false; }

std::vector<Source> SortInputs(const std::vector<std::string>& /*inputs*/, std::size_t /*named*/) {
  const std::string name = Utf8(winapi::rehearsal::NameOfThisMachine());
  return {{{}, {}, name, name}};
}

std::vector<std::string> InputFiles(const Source& /*source*/) { return {}; }

LoadedMachine Load(const Source& source) {
  LoadedMachine loaded;
  loaded.name = source.machine;
  loaded.machine = winapi::rehearsal::Machine::ThisOne();
  return loaded;
}

PackageLookup TheLookup() { return LookForPackage; }

}  // namespace zum_rehearse
