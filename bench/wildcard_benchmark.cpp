// Matching a name against a mask, against the C library's fnmatch and, where there is none, a plain
// walk with the same one level of backtracking.
#include <cstddef>
#include <string>
#include <string_view>

#include "bench/cases.h"
#include "platform/util/windows/filesystem/path_mask.h"

#ifndef _WIN32
#include <fnmatch.h>
#endif

namespace {

using product_platform::filesystem::MatchWildcard;

void AddMatch(const std::string& row, std::size_t number, const std::string& name,
              const std::string& mask) {
  const std::u16string wideName(name.begin(), name.end());
  const std::u16string wideMask(mask.begin(), mask.end());
  bench::Add(row, "ours", number, [=] { bench::Keep(MatchWildcard(wideName, wideMask)); });
#ifndef _WIN32
  // FNM_CASEFOLD, since ours ignores case too.
  const auto peer = [=] { return fnmatch(mask.c_str(), name.c_str(), FNM_CASEFOLD) == 0; };
  if (peer() != MatchWildcard(wideName, wideMask)) bench::AddFailure(row, "fnmatch", number);
  bench::Add(row, "fnmatch", number, [=] { bench::Keep(peer()); });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  // The number is the name's length.
  AddMatch("wildcard_plain", /*number=*/23, "LocalPackageBackup7.msi", "local*backup?.msi");
  for (const std::size_t length : {100u, 1000u, 10'000u}) {
    AddMatch("wildcard_literal", length, std::string(length, 'a'), std::string(length, 'a'));
    AddMatch("wildcard_case", length, std::string(length, 'a'), std::string(length, 'A'));
    AddMatch("wildcard_star", length, std::string(length - 4, 'a') + ".msi", "*.msi");
    // Every start of the last run is tried to its end: half of the name times half of the mask.
    AddMatch("wildcard_hostile", length, std::string(length, 'a'),
             "*" + std::string(length / 2, 'a') + "b");
  }
  return bench::Run(argc, argv);
}
