#include <gtest/gtest.h>

#include <vector>

#include "winapi/exceptions.h"
#include "winapi/process.h"

namespace {

constexpr winapi::Dword kCode = 0xE0001234;

struct Seen {
  int handler;
  winapi::ExceptionRecord record;
};

std::vector<Seen>& TheSeen() {
  static std::vector<Seen> seen;
  return seen;
}

void Note(int handler, const winapi::ExceptionPointers* pointers) {
  TheSeen().push_back({handler, *pointers->Record});
}

std::int32_t WINAPI_STDCALL Passes(winapi::ExceptionPointers* pointers) {
  Note(1, pointers);
  return winapi::kExceptionContinueSearch;
}

std::int32_t WINAPI_STDCALL Takes(winapi::ExceptionPointers* pointers) {
  Note(2, pointers);
  return winapi::kExceptionContinueExecution;
}

class ExceptionContract : public ::testing::Test {
 protected:
  ExceptionContract() { TheSeen().clear(); }
  ~ExceptionContract() override {
    for (void* handle : m_handles) (void)winapi::RemoveVectoredExceptionHandler(handle);
  }

  void* Add(winapi::Dword first, winapi::VectoredHandler handler) {
    m_handles.push_back(winapi::AddVectoredExceptionHandler(first, handler));
    EXPECT_NE(nullptr, m_handles.back());
    return m_handles.back();
  }

 private:
  std::vector<void*> m_handles;
};

TEST_F(ExceptionContract, GoesOnBehindTheRaiseWhenAHandlerTakesIt) {
  Add(1, Takes);
  const std::uintptr_t parameters[] = {0x1122, 0x3344};
  winapi::RaiseException(kCode, 0, 2, parameters);
  ASSERT_EQ(1u, TheSeen().size());
  const winapi::ExceptionRecord& record = TheSeen()[0].record;
  EXPECT_EQ(kCode, record.ExceptionCode);
  EXPECT_EQ(0u, record.ExceptionFlags);
  EXPECT_EQ(nullptr, record.Next);
  ASSERT_EQ(2u, record.NumberParameters);
  EXPECT_EQ(0x1122u, record.ExceptionInformation[0]);
  EXPECT_EQ(0x3344u, record.ExceptionInformation[1]);
}

TEST_F(ExceptionContract, AsksTheHeadOfTheChainFirstAndStopsAtTheFirstThatTakesIt) {
  Add(1, Takes);
  Add(1, Passes);
  winapi::RaiseException(kCode, 0, 0, nullptr);
  ASSERT_EQ(2u, TheSeen().size());
  EXPECT_EQ(1, TheSeen()[0].handler);
  EXPECT_EQ(2, TheSeen()[1].handler);
}

TEST_F(ExceptionContract, HandlerAddedLastAtTheTailIsNotAskedBehindOneThatTakesIt) {
  Add(1, Takes);
  Add(0, Passes);
  winapi::RaiseException(kCode, 0, 0, nullptr);
  ASSERT_EQ(1u, TheSeen().size());
  EXPECT_EQ(2, TheSeen()[0].handler);
}

TEST_F(ExceptionContract, KeepsOfTheFlagsOnlyNoncontinuableAndContinuesAllTheSame) {
  Add(1, Takes);
  winapi::RaiseException(kCode, 7, 0, nullptr);
  ASSERT_EQ(1u, TheSeen().size());
  EXPECT_EQ(1u, TheSeen()[0].record.ExceptionFlags);
}

TEST_F(ExceptionContract, NullParametersCountAsNone) {
  Add(1, Takes);
  winapi::RaiseException(kCode, 0, 3, nullptr);
  ASSERT_EQ(1u, TheSeen().size());
  EXPECT_EQ(0u, TheSeen()[0].record.NumberParameters);
}

TEST_F(ExceptionContract, CutsTheParametersAtFifteen) {
  Add(1, Takes);
  std::uintptr_t parameters[20];
  for (std::uintptr_t i = 0; i < 20; ++i) parameters[i] = i + 100;
  winapi::RaiseException(kCode, 0, 20, parameters);
  ASSERT_EQ(1u, TheSeen().size());
  EXPECT_EQ(15u, TheSeen()[0].record.NumberParameters);
  EXPECT_EQ(114u, TheSeen()[0].record.ExceptionInformation[14]);
}

TEST_F(ExceptionContract, RemovedHandlerIsNotAskedAndIsRemovedOnce) {
  Add(1, Takes);
  void* passing = Add(1, Passes);
  EXPECT_NE(0u, winapi::RemoveVectoredExceptionHandler(passing));
  EXPECT_EQ(0u, winapi::RemoveVectoredExceptionHandler(passing));
  winapi::RaiseException(kCode, 0, 0, nullptr);
  ASSERT_EQ(1u, TheSeen().size());
  EXPECT_EQ(2, TheSeen()[0].handler);
}

TEST_F(ExceptionContract, NullIsNoHandler) {
  EXPECT_EQ(0u, winapi::RemoveVectoredExceptionHandler(nullptr));
}

std::int32_t WINAPI_STDCALL RaisesOnceMore(winapi::ExceptionPointers* pointers) {
  Note(3, pointers);
  if (pointers->Record->ExceptionCode == kCode) winapi::RaiseException(kCode + 1, 0, 0, nullptr);
  return winapi::kExceptionContinueExecution;
}

TEST_F(ExceptionContract, HandlerMayRaiseItself) {
  Add(1, RaisesOnceMore);
  winapi::RaiseException(kCode, 0, 0, nullptr);
  ASSERT_EQ(2u, TheSeen().size());
  EXPECT_EQ(kCode + 1, TheSeen()[1].record.ExceptionCode);
}

using ExceptionContractDeathTest = ExceptionContract;

TEST_F(ExceptionContractDeathTest, EndsTheProcessWithTheCodeWhenNobodyTakesIt) {
  for (const winapi::Dword code : {0xE0001234u, 0xE0000001u, 0xE0000100u}) {
    SCOPED_TRACE(code);
    EXPECT_EXIT(
        {
          Add(1, Passes);
          winapi::RaiseException(code, 0, 0, nullptr);
        },
        ::testing::ExitedWithCode(winapi::ProcessExitStatus(static_cast<std::int32_t>(code))), "");
  }
}

}  // namespace
