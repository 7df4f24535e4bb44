#include "zum_rehearse/report.h"

#include <algorithm>
#include <array>

namespace zum_rehearse {
namespace {

constexpr std::array kByWeight = {2, 3, 5, 4, 1, 0};

template <typename Condition>
std::size_t Count(const Report& report, Condition condition) {
  return static_cast<std::size_t>(
      std::count_if(report.products.begin(), report.products.end(), condition));
}

}  // namespace

std::string_view PackageStateName(PackageState state) {
  switch (state) {
    case PackageState::kNotKnownHere:
      return "not-known-here";
    case PackageState::kPresent:
      return "present";
    case PackageState::kMissing:
      return "missing";
    case PackageState::kUnreadable:
      return "unreadable";
    default:
      return {};
  }
}

std::string VerdictLine(const Product& product, Verdict verdict) {
  std::string line(VerdictText(verdict));
  if (verdict == Verdict::kPackageUnreadable) {
    line += " (error " + std::to_string(product.packageError) + ")";
  }
  return line;
}

std::size_t Report::ChangedProducts() const {
  return Count(*this, [](const Product& product) { return product.changes; });
}

std::size_t Report::MissingPackages() const {
  return Count(*this,
               [](const Product& product) { return product.package == PackageState::kMissing; });
}

bool Report::LacksRights() const {
  return Count(*this, [](const Product& product) { return product.changes && product.refused; }) !=
         0;
}

int StatusOf(const Report& report) {
  if (!report.error.empty()) return 2;
  if (report.outcome.code != 0) return 3;
  if (report.ChangedProducts() == 0) return 0;
  if (report.LacksRights()) return 5;
  return report.MissingPackages() != 0 ? 4 : 1;
}

int WeightierStatus(int left, int right) {
  return *std::find_if(kByWeight.begin(), kByWeight.end(),
                       [=](int status) { return status == left || status == right; });
}

}  // namespace zum_rehearse
