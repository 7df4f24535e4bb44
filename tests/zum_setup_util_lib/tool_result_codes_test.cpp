#include "zum_setup_util_lib/tool_result_codes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <ostream>
#include <string>

#include "oru/rtl/result_text.h"
#include "tests/support/checks.h"
#include "tests/support/text.h"

namespace {

using correct_setup::GetResultText;
using oru::MakeResultCode;
using tests::Hexadecimal;

struct Row {
  const char* name;
  oru::ResultCode code;
  std::uint32_t pattern;
  const char16_t* text;
};

const Row kRows[] = {
    {"InvalidSelfDefense", correct_setup::rcInvalidSelfDefense, 0xA1780001,
     u"Invalid self defense"},
    {"DisableUpgradeFailed", correct_setup::rcDisableUpgradeFailed, 0xA1780003,
     u"Problem in disable protective upgrade registry"},
    {"SilentArgumentMissing", correct_setup::rcSilentArgumentMissing, 0xA1780004,
     u"Not exist require argument silent mode (/q, /qn, /quiet)"},
    {"LaunchPackageFailed", correct_setup::rcLaunchPackageFailed, 0xA1780005,
     u"Problem with launch msi package"},
    {"PendingCorrectionFailed", correct_setup::rcPendingCorrectionFailed, 0xA1780006,
     u"Problem with adjustment pending operation"},
    {"SignatureCheckFailed", correct_setup::rcSignatureCheckFailed, 0xA1780007,
     u"Problem with check signature"},
    {"DropFilesFailed", correct_setup::rcDropFilesFailed, 0xA1780008, u"Problem with drop files"},
    {"ArgumentNotAllowed", correct_setup::rcArgumentNotAllowed, 0xA1780009,
     u"Exist not allowed arguments"},
    {"OperationInvalid", correct_setup::rcOperationInvalid, 0xA178000A,
     u"Not correct operation, use (/installmsi, /installmsp, /uninstallmsi, /uninstallmsp)"},
    {"GuidSyntaxInvalid", correct_setup::rcGuidSyntaxInvalid, 0xA178000B,
     u"Error in syntax guid (format guid {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX})"},
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

std::string CaseName(const ::testing::TestParamInfo<Row>& info) { return info.param.name; }

class ToolResultCode : public ::testing::TestWithParam<Row> {};

TEST_P(ToolResultCode, HasItsPattern) {
  EXPECT_EQ(static_cast<std::uint32_t>(GetParam().code), GetParam().pattern);
  EXPECT_TRUE(ORU_FAILED(GetParam().code));
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(GetParam().code), correct_setup::ToolResultFacility);
}

TEST_P(ToolResultCode, HasItsText) {
  EXPECT_EQ(GetResultText(MakeResultCode(GetParam().pattern)).view(), GetParam().text);
}

TEST_P(ToolResultCode, IsUnknownToTheFramework) {
  EXPECT_EQ(oru::LookupResultText(GetParam().code), "Unknown result code");
}

TEST_P(ToolResultCode, IsUnknownWithoutTheSeverityBit) {
  EXPECT_EQ(GetResultText(MakeResultCode(GetParam().pattern & 0x7FFFFFFF)).view(),
            u"Unknown result code");
}

INSTANTIATE_TEST_SUITE_P(Table, ToolResultCode, ::testing::ValuesIn(kRows), CaseName);

TEST(ToolFacility, IsHexadecimal2178) { EXPECT_EQ(correct_setup::ToolResultFacility, 0x2178u); }

TEST(ToolResultText, NumberTwoIsUnassigned) {
  EXPECT_EQ(GetResultText(MakeResultCode(0xA1780002)).view(), u"Unknown result code");
}

TEST(ToolResultText, NumberBehindTheLastIsUnknown) {
  EXPECT_EQ(GetResultText(MakeResultCode(0xA178000C)).view(), u"Unknown result code");
}

TEST(ToolResultText, OtherNumbersAreUnknown) {
  for (const std::uint32_t facility : {0xA1780000u, 0x21780000u}) {
    for (std::uint32_t number = 0; number < 0x10000; ++number) {
      const std::uint32_t code = facility | number;
      if (std::any_of(std::begin(kRows), std::end(kRows),
                      [code](const Row& row) { return row.pattern == code; })) {
        continue;
      }
      ASSERT_EQ(GetResultText(MakeResultCode(code)).view(), u"Unknown result code")
          << Hexadecimal(code);
    }
  }
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(ToolResultText, OtherFacilitiesHaveTheTextsOfTheFramework) {
  EXPECT_EQ(GetResultText(0).view(), u"No error");
  EXPECT_EQ(GetResultText(1).view(), u"False");
  EXPECT_EQ(GetResultText(2).view(), u"Unknown result code");
  EXPECT_EQ(GetResultText(MakeResultCode(0x80000041)).view(), u"Out of memory");
  EXPECT_EQ(GetResultText(MakeResultCode(0x80000002)).view(), u"Unknown result code");
  EXPECT_EQ(GetResultText(MakeResultCode(0x80010102)).view(), u"File not found");
  EXPECT_EQ(GetResultText(MakeResultCode(0x8001010A)).view(), u"Unknown result code");
  EXPECT_EQ(GetResultText(MakeResultCode(0x80070005)).view(), u"Unknown result code");
  EXPECT_EQ(GetResultText(MakeResultCode(0xA0160001)).view(), u"Unknown result code");
  // Neighbours of the tool's facility.
  EXPECT_EQ(GetResultText(MakeResultCode(0xA1770001)).view(), u"Unknown result code");
  EXPECT_EQ(GetResultText(MakeResultCode(0xA1790001)).view(), u"Unknown result code");
}

}  // namespace
