// What the documents say of reports, once more: the names of the verdicts and the exit status.
#ifndef FUZZ_REPORT_RULES_H_
#define FUZZ_REPORT_RULES_H_

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "zum_rehearse/report.h"

namespace fuzz {

// The weightiest first, as the verdicts themselves.
inline constexpr std::string_view kVerdictNames[] = {"fails-here",
                                                     "not-reached",
                                                     "not-listed",
                                                     "unreadable",
                                                     "passed-over",
                                                     "package-missing",
                                                     "would-be-repaired",
                                                     "left-alone-no-install-properties",
                                                     "left-alone-source-list-only",
                                                     "left-alone-not-a-string",
                                                     "half-marked",
                                                     "overwrites-ordinary-value",
                                                     "package-name-lost",
                                                     "empty-path",
                                                     "second-value-unknown",
                                                     "package-not-known-here",
                                                     "package-unreadable",
                                                     "ordinary"};

inline std::string_view NameOf(zum_rehearse::Verdict verdict) {
  return kVerdictNames[static_cast<std::size_t>(verdict)];
}

inline std::size_t Changed(const zum_rehearse::Report& report) {
  return static_cast<std::size_t>(
      std::count_if(report.products.begin(), report.products.end(),
                    [](const auto& product) { return product.changes; }));
}

inline std::size_t Missing(const zum_rehearse::Report& report) {
  return static_cast<std::size_t>(std::count_if(
      report.products.begin(), report.products.end(),
      [](const auto& product) { return product.package == zum_rehearse::PackageState::kMissing; }));
}

inline int Status(const zum_rehearse::Report& report) {
  if (!report.error.empty()) return 2;
  if (report.outcome.code != 0) return 3;
  if (Changed(report) == 0) return 0;
  const bool lacksRights =
      std::any_of(report.products.begin(), report.products.end(),
                  [](const auto& product) { return product.changes && product.refused; });
  if (lacksRights) return 5;
  return Missing(report) != 0 ? 4 : 1;
}

inline bool IsShown(const zum_rehearse::Product& product, bool all) {
  return all || product.verdicts.front() != zum_rehearse::Verdict::kOrdinary;
}

// "present" and the like; empty where nobody asked.
inline std::string StateName(zum_rehearse::PackageState state) {
  switch (state) {
    case zum_rehearse::PackageState::kNotKnownHere:
      return "not-known-here";
    case zum_rehearse::PackageState::kPresent:
      return "present";
    case zum_rehearse::PackageState::kMissing:
      return "missing";
    case zum_rehearse::PackageState::kUnreadable:
      return "unreadable";
    default:
      return "";
  }
}

}  // namespace fuzz

#endif  // FUZZ_REPORT_RULES_H_
