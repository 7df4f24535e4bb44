// From what the correction did, and what the records held before, to what is said of each product.
#ifndef ZUM_REHEARSE_JUDGE_H_
#define ZUM_REHEARSE_JUDGE_H_

#include <functional>
#include <string>
#include <vector>

#include "winapi/rehearsal.h"
#include "zum_rehearse/installer_records.h"
#include "zum_rehearse/report.h"

namespace zum_rehearse {

struct PackageAnswer {
  PackageState state = PackageState::kMissing;
  winapi::Error error = 0;  // with kUnreadable: why
};

// Whether the file of a path is there; empty where that isn't known.
using PackageLookup = std::function<PackageAnswer(const std::u16string& path)>;

struct Findings {
  std::vector<ProductRecord> records;    // in the order of the list
  winapi::rehearsal::Record correction;  // what the correction did and was refused
  bool failed = false;                   // it ended with a failure
  bool knowsSourceLists = true;          // false: the second branch isn't in the input
};

// The products of the report with values, flags and verdicts.
[[nodiscard]] std::vector<Product> Judge(const Findings& findings, const PackageLookup& lookup);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_JUDGE_H_
