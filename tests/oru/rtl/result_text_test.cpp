#include "oru/rtl/result_text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/checks.h"
#include "tests/support/text.h"

namespace {

using oru::MakeResultCode;
using tests::Hexadecimal;

struct Row {
  std::uint32_t code;
  const char* text;
};

// The codes that have a name, by the text of what they are named after.
constexpr std::pair<oru::ResultCode, const char*> kNamed[] = {
    {oru::sOk, "No error"},
    {oru::sFalse, "False"},
    {oru::errNotSupportedInterface, "Interface not supported"},
    {oru::errUnexpected, "Unexpected"},
    {oru::errOutOfMemory, "Out of memory"},
    {oru::errNotImplemented, "Not implemented"},
    {oru::errBufferTooSmall, "Buffer too small"},
    {oru::errInvalidArgument, "Invalid argument"},
    {oru::errNotMatched, "Not matched"},
    {oru::errUnspecified, "Unspecified error"},
    {oru::errInvalidSignature, "Invalid signature"},
    {oru::errInvalidType, "Invalid type"},
    {oru::errInvalidState, "Invalid state"},
    {oru::errUnknownException, "Unknown exception"},
    {oru::errTraceLevelOk, "Trace level ok"},
    {oru::errTraceLevelProhibited, "Trace level prohibited"},
    {oru::errPlatformUnspecified, "Unspecified platform error"},
    {oru::errFileNotFound, "File not found"},
    {oru::errPathNotFound, "Path not found"},
    {oru::errInvalidPathName, "Invalid path name"},
    {oru::errWaitAbandoned, "Wait abandoned"},
};

constexpr Row kRtlRows[] = {
    {0x00000000, "No error"},
    {0x00000001, "False"},
    {0x80000001, "Interface not supported"},
    {0x80000040, "Unexpected"},
    {0x80000041, "Out of memory"},
    {0x80000042, "Not supported"},
    {0x80000043, "Not implemented"},
    {0x80000044, "Buffer too small"},
    {0x80000045, "Access denied"},
    {0x80000046, "Invalid argument"},
    {0x8000004A, "Not matched"},
    {0x8000004B, "Unspecified error"},
    {0x8000004C, "Not found"},
    {0x8000004D, "Found"},
    {0x8000004F, "Locked"},
    {0x80000050, "Not locked"},
    {0x80000051, "Operation cancelled"},
    {0x80000057, "Method not found"},
    {0x80000058, "Stack is empty"},
    {0x80000059, "Media error"},
    {0x8000005A, "Invalid signature"},
    {0x8000005B, "Invalid version"},
    {0x8000005C, "Invalid size"},
    {0x8000005D, "Invalid type"},
    {0x8000005E, "Invalid index"},
    {0x80000062, "Out of space"},
    {0x80000063, "Not ready"},
    {0x80000064, "Less than"},
    {0x80000065, "More than"},
    {0x80000066, "Prohibited"},
    {0x80000067, "Already done"},
    {0x80000068, "Need reboot"},
    {0x80000069, "Bases corrupted"},
    {0x8000006A, "Invalid state"},
    {0x8000006B, "Not initialized"},
    {0x8000006C, "Insufficient resources"},
    {0x80000071, "Invalid result"},
    {0x80000072, "Unknown exception"},
    {0x80000076, "Meta information not found"},
    {0x80000077, "Numerical type overflow"},
    {0x80000078, "File is too big"},
    {0x80000079, "Trace level ok"},
    {0x8000007A, "Trace level prohibited"},
    {0x80000100, "Class not found"},
    {0x80000101, "Settings are required"},
    {0x80000102, "Unexpected settings"},
    {0x80000103, "Wrong settings type"},
    {0x80000104, "Wrong settings revision"},
    {0x80000105, "Settings not found"},
    {0x80000106, "Object is untrusted"},
    {0x80000180, "Property not found"},
    {0x80000221, "Operation timeout"},
    {0x80000300, "Invalid symbol"},
    {0x80000301, "Non dec symbol"},
    {0x80000302, "Non hex symbol"},
    {0x80000303, "Non base64 symbol"},
    {0x80000310, "Syntax error"},
    {0x80000311, "GUID syntax error"},
    {0x80000312, "OID syntax error"},
    {0x80000313, "DateTime syntax error"},
};

constexpr Row kSystemRows[] = {
    {0x80010100, "Unspecified platform error"},
    {0x80010101, "Invalid handle"},
    {0x80010102, "File not found"},
    {0x80010103, "Path not found"},
    {0x80010104, "Sharing violation"},
    {0x80010105, "Already exists"},
    {0x80010106, "Wait abandoned"},
    {0x80010107, "Symbol not found"},
    {0x80010108, "Sxs is incorrect"},
    {0x80010109, "Invalid path name"},
    {0x80010110, "Cannot open an anonymous level security token"},
    {0x80010111, "Password is invalid"},
    {0x80010112, "Module not found"},
    {0x80010113, "System image bad signature"},
    {0x80010114, "Cloud file request aborted"},
    {0x80010115, "Memory mapping failed"},
    {0x80010116, "Network error"},
};

void PrintTo(const Row& row, std::ostream* out) { *out << Hexadecimal(row.code); }

std::string CaseName(const ::testing::TestParamInfo<Row>& info) {
  return "Code" + Hexadecimal(info.param.code);
}

void ExpectText(std::string_view found, const char* expected) {
  EXPECT_EQ(found, std::string_view(expected));
  EXPECT_EQ(found.size(), std::strlen(expected));
}

class RtlResultText : public ::testing::TestWithParam<Row> {};

TEST_P(RtlResultText, IsThatOfTheTable) {
  ExpectText(oru::GetRtlResultText(MakeResultCode(GetParam().code)), GetParam().text);
  ExpectText(oru::LookupResultText(MakeResultCode(GetParam().code)), GetParam().text);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

INSTANTIATE_TEST_SUITE_P(Table, RtlResultText, ::testing::ValuesIn(kRtlRows), CaseName);

class SystemResultText : public ::testing::TestWithParam<Row> {};

TEST_P(SystemResultText, IsThatOfTheTable) {
  ExpectText(oru::GetSystemResultText(MakeResultCode(GetParam().code)), GetParam().text);
  ExpectText(oru::LookupResultText(MakeResultCode(GetParam().code)), GetParam().text);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

INSTANTIATE_TEST_SUITE_P(Table, SystemResultText, ::testing::ValuesIn(kSystemRows), CaseName);

// A bare loop: it is asked a quarter of a million times, and tests aren't optimised.
template <std::size_t Count>
const Row* FindRow(const Row (&rows)[Count], std::uint32_t code) {
  for (const Row& row : rows) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

// Each code of a facility, as a success and as a failure, that its table doesn't hold.
template <std::size_t Count>
void ExpectGapsUnknown(const Row (&rows)[Count], std::uint32_t facility,
                       std::string_view (*lookUp)(oru::ResultCode)) {
  std::size_t held = 0;
  for (const std::uint32_t severity : {0u, 0x80000000u}) {
    for (std::uint32_t number = 0; number < 0x10000; ++number) {
      const std::uint32_t code = severity | facility << 16 | number;
      if (FindRow(rows, code) != nullptr) {
        ++held;
        continue;
      }
      ASSERT_EQ(lookUp(MakeResultCode(code)), "Unknown result code") << Hexadecimal(code);
    }
  }
  EXPECT_EQ(held, Count);
}

TEST(RtlResultText, EveryGapIsUnknown) {
  ExpectGapsUnknown(kRtlRows, 0, [](oru::ResultCode rc) { return oru::GetRtlResultText(rc); });
}

TEST(SystemResultText, EveryGapIsUnknown) {
  ExpectGapsUnknown(kSystemRows, 1,
                    [](oru::ResultCode rc) { return oru::GetSystemResultText(rc); });
}

TEST(LookupResultText, ZeroIsNoError) { EXPECT_EQ(oru::LookupResultText(0), "No error"); }

TEST(LookupResultText, OneIsFalse) { EXPECT_EQ(oru::LookupResultText(1), "False"); }

TEST(LookupResultText, TwoIsUnknown) { EXPECT_EQ(oru::LookupResultText(2), "Unknown result code"); }

TEST(LookupResultText, GapOfTheFirstTableIsUnknown) {
  EXPECT_EQ(oru::LookupResultText(MakeResultCode(0x80000002)), "Unknown result code");
}

TEST(LookupResultText, GapOfTheSecondTableIsUnknown) {
  EXPECT_EQ(oru::LookupResultText(MakeResultCode(0x8001010A)), "Unknown result code");
}

TEST(LookupResultText, WindowsErrorWithoutACodeIsUnknown) {
  EXPECT_EQ(oru::LookupResultText(MakeResultCode(0x80070005)), "Unknown result code");
}

TEST(LookupResultText, SeverityBitTakesPart) {
  EXPECT_EQ(oru::LookupResultText(0x00000041), "Unknown result code");
  EXPECT_EQ(oru::LookupResultText(MakeResultCode(0x80000000)), "Unknown result code");
  EXPECT_EQ(oru::LookupResultText(0x00010102), "Unknown result code");
}

TEST(LookupResultText, DoesNotKnowTheToolsFacility) {
  EXPECT_EQ(oru::LookupResultText(MakeResultCode(0xA1780005)), "Unknown result code");
}

TEST(LookupResultText, ForeignFacilitiesAreUnknownWithoutAReport) {
  for (const std::uint32_t code : {0x80020101u, 0x80070005u, 0xA0160001u, 0xA1780001u, 0xFFFFFFFFu,
                                   0x7FFFFFFFu, 0x00020000u}) {
    const std::string_view text = oru::LookupResultText(MakeResultCode(code));
    EXPECT_EQ(text, "Unknown result code") << Hexadecimal(code);
    EXPECT_EQ(text.size(), 19u);
  }
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(RtlResultTextOwnProcess, ForeignFacilityIsReportedAndLookedUp) {
  constexpr char kCheck[] = "ORU_GET_RESULT_FACILITY(rc) == result_facility::facRtl";
  EXPECT_EQ(oru::GetRtlResultText(MakeResultCode(0x80010101)), "Unknown result code");
  EXPECT_EQ(tests::CountReported(kCheck), 1u);
  EXPECT_EQ(oru::GetRtlResultText(MakeResultCode(0x80010101)), "Unknown result code");
  EXPECT_EQ(tests::CountReported(kCheck), 1u);
  EXPECT_EQ(oru::GetRtlResultText(MakeResultCode(0x80000045)), "Access denied");
}

TEST(SystemResultTextOwnProcess, ForeignFacilityIsReportedAndLookedUp) {
  constexpr char kCheck[] = "ORU_GET_RESULT_FACILITY(rc) == result_facility::facSystem";
  EXPECT_EQ(oru::GetSystemResultText(MakeResultCode(0x80000045)), "Unknown result code");
  EXPECT_EQ(tests::CountReported(kCheck), 1u);
  EXPECT_EQ(oru::GetSystemResultText(0), "Unknown result code");
  EXPECT_EQ(tests::CountReported(kCheck), 1u);
  EXPECT_EQ(oru::GetSystemResultText(MakeResultCode(0x80010101)), "Invalid handle");
}

std::u16string Widened(const char* text) { return std::u16string(text, text + std::strlen(text)); }

TEST(FrameworkResultText, IsTheLookedUpTextInSixteenBits) {
  for (const Row& row : kRtlRows) {
    EXPECT_EQ(oru::GetFrameworkResultText(MakeResultCode(row.code)).view(), Widened(row.text))
        << Hexadecimal(row.code);
  }
  for (const Row& row : kSystemRows) {
    EXPECT_EQ(oru::GetFrameworkResultText(MakeResultCode(row.code)).view(), Widened(row.text))
        << Hexadecimal(row.code);
  }
}

TEST(FrameworkResultText, IsNeverEmpty) {
  for (const std::uint32_t code : {0x00000002u, 0x80000002u, 0x8001010Au, 0x80070005u, 0xA0160001u,
                                   0xA1780001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(oru::GetFrameworkResultText(MakeResultCode(code)).view(), u"Unknown result code")
        << Hexadecimal(code);
  }
}

TEST(ResultCode, NamesMeanWhatTheirTextsSay) {
  for (const auto& [code, text] : kNamed) EXPECT_EQ(oru::LookupResultText(code), text);
}

TEST(ResultCode, FailureIsExactlyTheSeverityBit) {
  EXPECT_TRUE(ORU_FAILED(MakeResultCode(0x80000000)));
  EXPECT_TRUE(ORU_FAILED(MakeResultCode(0xFFFFFFFF)));
  EXPECT_TRUE(ORU_FAILED(MakeResultCode(0xA1780001)));
  EXPECT_FALSE(ORU_FAILED(oru::sOk));
  EXPECT_FALSE(ORU_FAILED(oru::sFalse));
  EXPECT_FALSE(ORU_FAILED(MakeResultCode(0x7FFFFFFF)));
}

TEST(ResultCode, FacilityIsBitsThirtyToSixteen) {
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(0), 0u);
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(MakeResultCode(0x80010100)), 1u);
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(MakeResultCode(0x80070005)), 7u);
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(MakeResultCode(0xA0160001)), 0x2016u);
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(MakeResultCode(0xA1780001)), 0x2178u);
  EXPECT_EQ(ORU_GET_RESULT_FACILITY(MakeResultCode(0xFFFFFFFF)), 0x7FFFu);
}

}  // namespace
