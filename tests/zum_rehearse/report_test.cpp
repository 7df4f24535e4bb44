#include "zum_rehearse/report.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using zum_rehearse::PackageState;
using zum_rehearse::Product;
using zum_rehearse::Report;
using zum_rehearse::StatusOf;
using zum_rehearse::Verdict;
using zum_rehearse::VerdictLine;
using zum_rehearse::WeightierStatus;

Product Changed(PackageState package, bool refused) {
  Product product;
  product.changes = true;
  product.package = package;
  product.refused = refused;
  return product;
}

TEST(StatusOf, FollowsTheWeight) {
  Report report;
  EXPECT_EQ(StatusOf(report), 0);
  report.products = {Product()};
  EXPECT_EQ(StatusOf(report), 0);
  report.products.push_back(Changed(PackageState::kPresent, false));
  EXPECT_EQ(StatusOf(report), 1);
  report.products.push_back(Changed(PackageState::kMissing, false));
  EXPECT_EQ(StatusOf(report), 4);
  report.products.push_back(Changed(PackageState::kPresent, true));
  EXPECT_EQ(StatusOf(report), 5);
  report.outcome.code = 0xA1780003;
  EXPECT_EQ(StatusOf(report), 3);
  report.error = "torn";
  EXPECT_EQ(StatusOf(report), 2);
}

TEST(StatusOf, ARefusalWhereNothingChangesIsNone) {
  Report report;
  report.products.resize(1);
  report.products[0].refused = true;
  EXPECT_EQ(StatusOf(report), 0);
}

TEST(StatusOf, APackageThatCanNotBeLookedAtIsAsOneThatIsNotKnownHere) {
  Report report;
  report.products = {Changed(PackageState::kUnreadable, false)};
  EXPECT_EQ(StatusOf(report), 1);
  EXPECT_EQ(report.MissingPackages(), 0U);
}

TEST(VerdictLine, TellsWhyThePackageCanNotBeLookedAt) {
  Product product = Changed(PackageState::kUnreadable, false);
  product.packageError = 53;
  EXPECT_EQ(VerdictLine(product, Verdict::kPackageUnreadable),
            "whether the package is there isn't known: its path can't be looked at (error 53)");
  EXPECT_EQ(VerdictLine(product, Verdict::kWouldBeRepaired), "would be repaired");
}

TEST(WeightierStatus, TakesTheFirstOfTheOrder) {
  const std::vector<int> order = {2, 3, 5, 4, 1, 0};
  for (std::size_t i = 0; i < order.size(); ++i) {
    for (std::size_t j = i; j < order.size(); ++j) {
      EXPECT_EQ(WeightierStatus(order[i], order[j]), order[i]);
      EXPECT_EQ(WeightierStatus(order[j], order[i]), order[i]);
    }
  }
}

}  // namespace
