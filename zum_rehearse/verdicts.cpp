#include "zum_rehearse/verdicts.h"

#include <algorithm>
#include <iterator>

namespace zum_rehearse {
namespace {

struct Entry {
  Verdict verdict;
  Tone tone;
  std::string_view id;
  std::string_view text;
  std::string_view advice;
};

constexpr Entry kEntries[] = {
    {Verdict::kFailsHere, Tone::kBad, "fails-here", "the correction fails at this product",
     "look into the trace; the products before it are changed all the same"},
    {Verdict::kNotReached, Tone::kBad, "not-reached",
     "untouched, since the correction fails at a product before it", ""},
    {Verdict::kNotListed, Tone::kDoubtful, "not-listed",
     "untouched, since the list of products ends before it", ""},
    {Verdict::kUnreadable, Tone::kDoubtful, "unreadable",
     "left alone: its records can't be read with these rights", "run elevated"},
    {Verdict::kPassedOver, Tone::kDoubtful, "passed-over",
     "would be passed over for lack of rights", "run /unblock elevated"},
    {Verdict::kPackageMissing, Tone::kBad, "package-missing",
     "would be repaired, yet the package it names isn't there",
     "the installer goes on with 1612: put the package of this very product and version at that "
     "path, or start the installer with it"},
    {Verdict::kWouldBeRepaired, Tone::kGood, "would-be-repaired", "would be repaired", ""},
    {Verdict::kNoInstallProperties, Tone::kDoubtful, "left-alone-no-install-properties",
     "left alone: marked, but its InstallProperties are missing", ""},
    {Verdict::kSourceListOnly, Tone::kDoubtful, "left-alone-source-list-only",
     "left alone: marked under SourceList only, and not in the list of products", ""},
    {Verdict::kNotAString, Tone::kDoubtful, "left-alone-not-a-string",
     "left alone: a marked value isn't of type REG_SZ", ""},
    {Verdict::kHalfMarked, Tone::kDoubtful, "half-marked",
     "half marked: only one of its two values", ""},
    {Verdict::kOverwritesOrdinaryValue, Tone::kDoubtful, "overwrites-ordinary-value",
     "an ordinary value stands beside the marked one and would be overwritten", ""},
    {Verdict::kPackageNameLost, Tone::kDoubtful, "package-name-lost",
     "the marked package name isn't zum_win.msi and would be lost", ""},
    {Verdict::kEmptyPath, Tone::kDoubtful, "empty-path", "the marked path is empty", ""},
    {Verdict::kSecondValueUnknown, Tone::kDoubtful, "second-value-unknown",
     "PackageName can't be judged: its branch isn't in the export", ""},
    {Verdict::kPackageNotKnownHere, Tone::kDoubtful, "package-not-known-here",
     "whether the package is there isn't known here", ""},
    {Verdict::kPackageUnreadable, Tone::kDoubtful, "package-unreadable",
     "whether the package is there isn't known: its path can't be looked at",
     "look there as a user who may: without the package the installer goes on with 1612"},
    {Verdict::kOrdinary, Tone::kPlain, "ordinary", "ordinary", ""},
};

const Entry& EntryOf(Verdict verdict) {
  return *std::find_if(std::begin(kEntries), std::end(kEntries),
                       [verdict](const Entry& entry) { return entry.verdict == verdict; });
}

}  // namespace

std::string_view VerdictId(Verdict verdict) { return EntryOf(verdict).id; }
std::string_view VerdictText(Verdict verdict) { return EntryOf(verdict).text; }
std::string_view VerdictAdvice(Verdict verdict) { return EntryOf(verdict).advice; }
Tone VerdictTone(Verdict verdict) { return EntryOf(verdict).tone; }

}  // namespace zum_rehearse
