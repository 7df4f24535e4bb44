#include "zum_rehearse/json.h"

#include <gtest/gtest.h>

#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {
namespace {

TEST(JsonLineTest, NamesAreUtf8AndOtherBytesAreReplaced) {
  Report report;
  report.machine = "B\xC3\xBCro\xFC";
  const std::string line = JsonLine(report, /*all=*/false);
  EXPECT_NE(line.find("\"machine\":\"B\xC3\xBCro\xEF\xBF\xBD\""), std::string::npos) << line;
}

std::string LineOfPackage(PackageState state, winapi::Error error) {
  Report report;
  report.products.resize(1);
  Product& product = report.products[0];
  product.changes = true;
  product.verdicts = {Verdict::kWouldBeRepaired};
  product.package = state;
  product.packagePath = u"C:\\p\\zum_win.msi";
  product.packageError = error;
  return JsonLine(report, /*all=*/false);
}

// Where nobody asked, and each answer.
TEST(JsonLineTest, TellsWhetherThePackageIsThere) {
  struct Case {
    PackageState state;
    winapi::Error error;
    const char* package;
    const char* summary;
    const char* status;
  };
  const char* const none = R"("packages_missing":0)";
  const Case cases[] = {
      {PackageState::kNotAsked, 0, R"("package":null)", none, R"("status":1)"},
      {PackageState::kNotKnownHere, 0,
       R"("package":{"path":"C:\\p\\zum_win.msi","state":"not-known-here","error":null})", none,
       R"("status":1)"},
      {PackageState::kPresent, 0,
       R"("package":{"path":"C:\\p\\zum_win.msi","state":"present","error":null})", none,
       R"("status":1)"},
      {PackageState::kMissing, 0,
       R"("package":{"path":"C:\\p\\zum_win.msi","state":"missing","error":null})",
       R"("packages_missing":1)", R"("status":4)"},
      {PackageState::kUnreadable, 53,
       R"("package":{"path":"C:\\p\\zum_win.msi","state":"unreadable","error":53})", none,
       R"("status":1)"},
  };
  for (const Case& each : cases) {
    const std::string line = LineOfPackage(each.state, each.error);
    EXPECT_NE(line.find(each.package), std::string::npos) << line;
    EXPECT_NE(line.find(each.summary), std::string::npos) << line;
    EXPECT_NE(line.find(each.status), std::string::npos) << line;
    EXPECT_NE(line.find(R"("products":1,"changed":1,)"), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace zum_rehearse
