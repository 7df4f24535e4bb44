#include "oru/rtl/error_mapping.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "oru/rtl/result_text.h"
#include "tests/support/text.h"
#include "winapi/errors.h"

namespace {

using oru::MakeResultCode;
using tests::Hexadecimal;

struct Row {
  std::uint32_t error;
  std::uint32_t result;
  const char* text;
};

constexpr Row kWin32Rows[] = {
    {0, 0x00000000, "No error"},
    {1, 0x80000042, "Not supported"},
    {50, 0x80000042, "Not supported"},
    {2, 0x80010102, "File not found"},
    {3, 0x80010103, "Path not found"},
    {53, 0x80010103, "Path not found"},
    {267, 0x80010103, "Path not found"},
    {5, 0x80000045, "Access denied"},
    {6, 0x80010101, "Invalid handle"},
    {8, 0x80000041, "Out of memory"},
    {21, 0x80000063, "Not ready"},
    {24, 0x8000005C, "Invalid size"},
    {31, 0x8000004B, "Unspecified error"},
    {32, 0x80010104, "Sharing violation"},
    {33, 0x80010104, "Sharing violation"},
    {80, 0x80010105, "Already exists"},
    {183, 0x80010105, "Already exists"},
    {87, 0x80000046, "Invalid argument"},
    {160, 0x80000046, "Invalid argument"},
    {111, 0x80000044, "Buffer too small"},
    {122, 0x80000044, "Buffer too small"},
    {234, 0x80000044, "Buffer too small"},
    {112, 0x80000062, "Out of space"},
    {123, 0x80010109, "Invalid path name"},
    {126, 0x80010112, "Module not found"},
    {127, 0x80010107, "Symbol not found"},
    {393, 0x80010114, "Cloud file request aborted"},
    {637, 0x80010113, "System image bad signature"},
    {995, 0x80000051, "Operation cancelled"},
    {1168, 0x8000004C, "Not found"},
    {1347, 0x80010110, "Cannot open an anonymous level security token"},
    {1413, 0x8000005E, "Invalid index"},
    {1450, 0x8000006C, "Insufficient resources"},
    {1460, 0x80000221, "Operation timeout"},
    {1630, 0x8000005D, "Invalid type"},
    {14001, 0x80010108, "Sxs is incorrect"},
};

constexpr Row kStatusRows[] = {
    {0x80000005, 0x80000044, "Buffer too small"},
    {0xC0000023, 0x80000044, "Buffer too small"},
    {0x8000000A, 0x80000063, "Not ready"},
    {0x80310000, 0x8000004F, "Locked"},
    {0x80310068, 0x8000005C, "Invalid size"},
    {0x80310080, 0x8000005C, "Invalid size"},
    {0x803100B5, 0x80000001, "Interface not supported"},
    {0xC0000008, 0x80010101, "Invalid handle"},
    {0xC000000D, 0x80000046, "Invalid argument"},
    {0xC000090B, 0x80000046, "Invalid argument"},
    {0xC0000017, 0x80000041, "Out of memory"},
    {0xC0000022, 0x80000045, "Access denied"},
    {0xC0000043, 0x80010104, "Sharing violation"},
    {0xC0000055, 0x80010104, "Sharing violation"},
    {0xC000007F, 0x80000062, "Out of space"},
    {0xC00000A6, 0x80010110, "Cannot open an anonymous level security token"},
    {0xC00000BB, 0x80000042, "Not supported"},
    {0xC00002D1, 0x80010113, "System image bad signature"},
    {0xC0150002, 0x80010108, "Sxs is incorrect"},
    {0, 0x00000000, "No error"},
    {258, 0x80000221, "Operation timeout"},
    {1115, 0x8000006A, "Invalid state"},
    {1503, 0xA0160001, "Unknown result code"},
};

std::uint32_t FromWin32(std::uint32_t error) {
  return static_cast<std::uint32_t>(oru::Win32ErrorToResult(error));
}

std::uint32_t FromStatus(std::uint32_t status) {
  return static_cast<std::uint32_t>(oru::SystemErrorToResult(status));
}

std::string_view TextOf(std::uint32_t result) {
  return oru::LookupResultText(MakeResultCode(result));
}

void PrintTo(const Row& row, std::ostream* out) { *out << Hexadecimal(row.error); }

std::string CaseName(const ::testing::TestParamInfo<Row>& info) {
  return "Error" + Hexadecimal(info.param.error);
}

class Win32ErrorToResult : public ::testing::TestWithParam<Row> {};

TEST_P(Win32ErrorToResult, FollowsTheTable) {
  EXPECT_EQ(FromWin32(GetParam().error), GetParam().result);
  EXPECT_EQ(TextOf(GetParam().result), GetParam().text);
}

// In the form of an HRESULT the number gives the same.
TEST_P(Win32ErrorToResult, UnwrapsAnHresultOfTheTable) {
  EXPECT_EQ(FromWin32(0x80070000 + GetParam().error), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Table, Win32ErrorToResult, ::testing::ValuesIn(kWin32Rows), CaseName);

class SystemErrorToResult : public ::testing::TestWithParam<Row> {};

TEST_P(SystemErrorToResult, FollowsTheTable) {
  EXPECT_EQ(FromStatus(GetParam().error), GetParam().result);
  EXPECT_EQ(TextOf(GetParam().result), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, SystemErrorToResult, ::testing::ValuesIn(kStatusRows), CaseName);

// The lower halves of the tables' numbers, which tell of most numbers at once that no row has them:
// a loop over the rows for each of a million takes seconds, since tests aren't optimised.
struct LowerHalves {
  LowerHalves() {
    for (const Row& row : kWin32Rows) held[row.error & 0xFFFF] = true;
    for (const Row& row : kStatusRows) held[row.error & 0xFFFF] = true;
  }

  bool held[0x10000] = {};
};

template <std::size_t Count>
const Row* FindRow(const Row (&rows)[Count], std::uint32_t error) {
  static const LowerHalves known;
  if (!known.held[error & 0xFFFF]) return nullptr;
  for (const Row& row : rows) {
    if (row.error == error) return &row;
  }
  return nullptr;
}

bool IsInWin32Table(std::uint32_t error) { return FindRow(kWin32Rows, error) != nullptr; }

// The rule, by the tables that are typed here.
std::uint32_t RuleOfWin32(std::uint32_t error) {
  if (const Row* const row = FindRow(kWin32Rows, error)) return row->result;
  if (error < 0x10000) return 0x80070000 | error;
  if (error < 0x80000000) return 0;
  return (error >> 16 & 0xFFF) == 7 ? RuleOfWin32(error & 0xFFFF) : 0x80010100;
}

std::uint32_t RuleOfStatus(std::uint32_t status) {
  const Row* const row = FindRow(kStatusRows, status);
  return row != nullptr ? row->result : RuleOfWin32(status);
}

// Numbers of every facility, and all of those to which Windows' own statuses belong.
std::vector<std::uint32_t> NumbersOfAllKinds() {
  std::vector<std::uint32_t> numbers;
  for (const std::uint32_t high :
       {0u, 7u, 0x8000u, 0x8001u, 0x8007u, 0x8031u, 0xA016u, 0xA178u, 0xC000u, 0xC007u, 0xC015u}) {
    for (std::uint32_t low = 0; low < 0x10000; ++low) numbers.push_back(high << 16 | low);
  }
  for (std::uint32_t high = 0; high < 0x10000; ++high) {
    for (const std::uint32_t low : {0u, 1u, 2u, 5u, 8u, 10u, 87u, 258u, 0xFFFFu}) {
      numbers.push_back(high << 16 | low);
    }
  }
  return numbers;
}

TEST(Win32ErrorToResult, EveryOtherErrorNumberGetsFacilitySeven) {
  int others = 0;
  for (std::uint32_t error = 0; error < 0x10000; ++error) {
    if (IsInWin32Table(error)) continue;
    ++others;
    ASSERT_EQ(FromWin32(error), 0x80070000 + error) << error;
  }
  EXPECT_EQ(others, 0x10000 - 36);
}

TEST(Win32ErrorToResult, AccessDeniedHasACodeOfItsOwn) {
  EXPECT_EQ(FromWin32(5), 0x80000045u);
  EXPECT_EQ(TextOf(FromWin32(5)), "Access denied");
  EXPECT_EQ(FromWin32(0x80070005), 0x80000045u);
}

TEST(Win32ErrorToResult, UnknownErrorNumberHasNoText) {
  EXPECT_EQ(FromWin32(1000), 0x800703E8u);
  EXPECT_EQ(TextOf(0x800703E8), "Unknown result code");
}

TEST(Win32ErrorToResult, LastErrorNumberGetsFacilitySeven) {
  EXPECT_EQ(FromWin32(0xFFFF), 0x8007FFFFu);
}

TEST(Win32ErrorToResult, ForeignHresultIsUnspecified) {
  EXPECT_EQ(FromWin32(0x80040154), 0x80010100u);
  EXPECT_EQ(TextOf(0x80010100), "Unspecified platform error");
}

TEST(Win32ErrorToResult, HresultOfAnUnknownErrorNumberStaysAsItIs) {
  EXPECT_EQ(FromWin32(0x800703E8), 0x800703E8u);
}

TEST(Win32ErrorToResult, HresultOfNumberZeroIsASuccess) { EXPECT_EQ(FromWin32(0x80070000), 0u); }

TEST(Win32ErrorToResult, FacilityOfAnHresultHasTwelveBits) {
  EXPECT_EQ(FromWin32(0xC0070005), 0x80000045u);
  EXPECT_EQ(FromWin32(0xF0070005), 0x80000045u);
  EXPECT_EQ(FromWin32(0x80170005), 0x80010100u);
  EXPECT_EQ(FromWin32(0x88070005), 0x80010100u);
  EXPECT_EQ(FromWin32(0x80060005), 0x80010100u);
}

TEST(Win32ErrorToResult, FailureOutsideTheFacilityIsUnspecified) {
  for (const std::uint32_t error :
       {0x80000000u, 0x80000045u, 0xC0000022u, 0xA1780005u, 0xFFFFFFFFu}) {
    EXPECT_EQ(FromWin32(error), 0x80010100u) << Hexadecimal(error);
  }
}

TEST(Win32ErrorToResult, PositiveNumberAboveTheErrorsIsASuccess) {
  EXPECT_EQ(FromWin32(0x00012345), 0u);
  for (const std::uint32_t error : {0x00010000u, 0x00070005u, 0x7FFFFFFFu}) {
    EXPECT_EQ(FromWin32(error), 0u) << Hexadecimal(error);
  }
}

TEST(SystemErrorToResult, ChangedLogFileHasACodeWithoutAText) {
  EXPECT_EQ(FromStatus(1503), 0xA0160001u);
  EXPECT_EQ(TextOf(0xA0160001), "Unknown result code");
}

TEST(SystemErrorToResult, WhatItsTableDoesNotHoldIsAWindowsError) {
  for (const Row& row : kWin32Rows) EXPECT_EQ(FromStatus(row.error), row.result) << row.error;
  EXPECT_EQ(FromStatus(1000), 0x800703E8u);
  EXPECT_EQ(FromStatus(0x80070005), 0x80000045u);
  EXPECT_EQ(FromStatus(0x80040154), 0x80010100u);
  EXPECT_EQ(FromStatus(0x00012345), 0u);
}

TEST(SystemErrorToResult, OnlyItsOwnTableKnowsTheStatuses) {
  EXPECT_EQ(FromWin32(258), 0x80070102u);
  EXPECT_EQ(FromWin32(1115), 0x8007045Bu);
  EXPECT_EQ(FromWin32(1503), 0x800705DFu);
  EXPECT_EQ(FromWin32(0xC0000022), 0x80010100u);
}

// A row too many shows here, in whichever table.
TEST(SystemErrorToResult, BothTablesHoldNoOtherRows) {
  for (const std::uint32_t number : NumbersOfAllKinds()) {
    const bool isRight =
        FromWin32(number) == RuleOfWin32(number) && FromStatus(number) == RuleOfStatus(number);
    if (isRight) continue;  // an assertion costs more than the rest
    ASSERT_EQ(FromWin32(number), RuleOfWin32(number)) << Hexadecimal(number);
    ASSERT_EQ(FromStatus(number), RuleOfStatus(number)) << Hexadecimal(number);
  }
}

TEST(FailureOf, IsWhatTheErrorStandsFor) {
  for (const Row& row : kWin32Rows) {
    if (row.error == 0) continue;
    EXPECT_EQ(static_cast<std::uint32_t>(oru::FailureOf(row.error)), row.result) << row.error;
  }
  EXPECT_EQ(static_cast<std::uint32_t>(oru::FailureOf(1000)), 0x800703E8u);
  EXPECT_EQ(static_cast<std::uint32_t>(oru::FailureOf(0x80070005)), 0x80000045u);
}

TEST(FailureOf, IsUnspecifiedWhereTheErrorStandsForASuccess) {
  for (const std::uint32_t error : {0u, 0x80070000u, 0x00010000u, 0x7FFFFFFFu}) {
    EXPECT_EQ(static_cast<std::uint32_t>(oru::FailureOf(error)), 0x8000004Bu) << Hexadecimal(error);
  }
}

TEST(LastFailure, IsThatOfTheLastError) {
  winapi::SetLastError(5);
  EXPECT_EQ(static_cast<std::uint32_t>(oru::LastFailure()), 0x80000045u);
  winapi::SetLastError(0);
  EXPECT_EQ(static_cast<std::uint32_t>(oru::LastFailure()), 0x8000004Bu);
}

TEST(SystemErrorToResult, UnwrappedNumberIsNotAStatus) {
  // The number inside an HRESULT is looked up as a Windows error alone.
  EXPECT_EQ(FromStatus(0x80070102), 0x80070102u);
}

}  // namespace
