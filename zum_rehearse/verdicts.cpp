#include "zum_rehearse/verdicts.h"

#include <algorithm>
#include <iterator>

namespace zum_rehearse {
namespace {

struct Entry {
  Verdict verdict;
  std::string_view id;
  std::string_view text;
  std::string_view advice;
};

constexpr Entry kEntries[] = {
    {Verdict::kFailsHere, "fails-here", "the correction fails at this product",
     "look into the trace; the products before it are changed all the same"},
    {Verdict::kNotReached, "not-reached",
     "untouched, since the correction fails at a product before it", ""},
    {Verdict::kNotListed, "not-listed", "untouched, since the list of products ends before it", ""},
    {Verdict::kUnreadable, "unreadable", "left alone: its records can't be read with these rights",
     "run elevated"},
    {Verdict::kPassedOver, "passed-over", "would be passed over for lack of rights",
     "run /unblock elevated"},
    {Verdict::kPackageMissing, "package-missing",
     "would be repaired, yet the package it names isn't there",
     "the installer goes on with 1612: put the package of this very product and version at that "
     "path, or start the installer with it"},
    {Verdict::kWouldBeRepaired, "would-be-repaired", "would be repaired", ""},
    {Verdict::kNoInstallProperties, "left-alone-no-install-properties",
     "left alone: marked, but its InstallProperties are missing", ""},
    {Verdict::kSourceListOnly, "left-alone-source-list-only",
     "left alone: marked under SourceList only, and not in the list of products", ""},
    {Verdict::kNotAString, "left-alone-not-a-string",
     "left alone: a marked value isn't of type REG_SZ", ""},
    {Verdict::kHalfMarked, "half-marked", "half marked: only one of its two values", ""},
    {Verdict::kOverwritesOrdinaryValue, "overwrites-ordinary-value",
     "an ordinary value stands beside the marked one and would be overwritten", ""},
    {Verdict::kPackageNameLost, "package-name-lost",
     "the marked package name isn't zum_win.msi and would be lost", ""},
    {Verdict::kEmptyPath, "empty-path", "the marked path is empty", ""},
    {Verdict::kSecondValueUnknown, "second-value-unknown",
     "PackageName can't be judged: its branch isn't in the export", ""},
    {Verdict::kPackageNotKnownHere, "package-not-known-here",
     "whether the package is there isn't known here", ""},
    {Verdict::kPackageUnreadable, "package-unreadable",
     "whether the package is there isn't known: its path can't be looked at",
     "look there as a user who may: without the package the installer goes on with 1612"},
    {Verdict::kOrdinary, "ordinary", "ordinary", ""},
};

const Entry& EntryOf(Verdict verdict) {
  return *std::find_if(std::begin(kEntries), std::end(kEntries),
                       [verdict](const Entry& entry) { return entry.verdict == verdict; });
}

}  // namespace

Tone VerdictTone(Verdict verdict) {
  switch (verdict) {
    case Verdict::kFailsHere:
    case Verdict::kNotReached:
    case Verdict::kPackageMissing:
      return Tone::kBad;
    case Verdict::kWouldBeRepaired:
      return Tone::kGood;
    case Verdict::kOrdinary:
      return Tone::kPlain;
    default:
      return Tone::kDoubtful;
  }
}

std::string_view VerdictId(Verdict verdict) { return EntryOf(verdict).id; }
std::string_view VerdictText(Verdict verdict) { return EntryOf(verdict).text; }
std::string_view VerdictAdvice(Verdict verdict) { return EntryOf(verdict).advice; }

}  // namespace zum_rehearse
