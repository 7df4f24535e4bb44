// What is said of a product.
#ifndef ZUM_REHEARSE_VERDICTS_H_
#define ZUM_REHEARSE_VERDICTS_H_

#include <string_view>

namespace zum_rehearse {

// The weightiest first.
enum class Verdict {
  kFailsHere,
  kNotReached,
  kNotListed,
  kUnreadable,
  kPassedOver,
  kPackageMissing,
  kWouldBeRepaired,
  kNoInstallProperties,
  kSourceListOnly,
  kNotAString,
  kHalfMarked,
  kOverwritesOrdinaryValue,
  kPackageNameLost,
  kEmptyPath,
  kSecondValueUnknown,
  kPackageNotKnownHere,
  kPackageUnreadable,
  kOrdinary,
};

inline constexpr Verdict kAllVerdicts[] = {
    Verdict::kFailsHere,           Verdict::kNotReached,          Verdict::kNotListed,
    Verdict::kUnreadable,          Verdict::kPassedOver,          Verdict::kPackageMissing,
    Verdict::kWouldBeRepaired,     Verdict::kNoInstallProperties, Verdict::kSourceListOnly,
    Verdict::kNotAString,          Verdict::kHalfMarked,          Verdict::kOverwritesOrdinaryValue,
    Verdict::kPackageNameLost,     Verdict::kEmptyPath,           Verdict::kSecondValueUnknown,
    Verdict::kPackageNotKnownHere, Verdict::kPackageUnreadable,   Verdict::kOrdinary,
};

// How bad it is for the one who wants to upgrade: what colours go by.
enum class Tone { kPlain, kGood, kDoubtful, kBad };

// The name in JSON, CSV and HTML, such as "would-be-repaired".
[[nodiscard]] std::string_view VerdictId(Verdict verdict);
// For readers, one line without a full stop.
[[nodiscard]] std::string_view VerdictText(Verdict verdict);
// What the reader can do about it; empty where there is nothing to do.
[[nodiscard]] std::string_view VerdictAdvice(Verdict verdict);
[[nodiscard]] Tone VerdictTone(Verdict verdict);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_VERDICTS_H_
