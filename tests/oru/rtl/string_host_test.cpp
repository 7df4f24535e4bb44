// Strings and conversions on the process heap when it has no memory.
#include <gtest/gtest.h>

#include <new>
#include <sstream>
#include <string>

#include "oru/rtl/compact_string.h"
#include "oru/rtl/host_stream_sink.h"
#include "oru/rtl/string.h"
#include "oru/rtl/string_sink.h"
#include "oru/rtl/text_conversion.h"
#include "oru/rtl/vector.h"
#include "tests/support/checks.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"

namespace {

using oru::CompactString;
using oru::String16;
using oru::String8;
namespace host = winapi::host;

constexpr char kLong[] = "a text that needs a block of its own";

class StringFaults : public ::testing::Test {
 protected:
  StringFaults() { m_before = host::Live().heapBlocks; }
  ~StringFaults() override {
    EXPECT_EQ(host::Live().heapBlocks, m_before);
    EXPECT_TRUE(tests::ReportedChecks().empty());
  }
  // The next allocation fails; gives whether it was tried.
  template <typename Operation>
  static bool FailsFor(Operation operation) {
    host::FailCall("HeapAlloc", 1, winapi::kErrorNotEnoughMemory);
    operation();
    const bool tried = host::InjectedFaultCount() == 1;
    host::ClearFaults();
    return tried;
  }
  std::size_t m_before;
};

TEST_F(StringFaults, CompactStringIsLeftAlone) {
  CompactString string("old");
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(string.append(kLong), std::bad_alloc); }));
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(string.resize_for_overwrite(12), std::bad_alloc); }));
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(CompactString other(kLong), std::bad_alloc); }));
  EXPECT_EQ(string.view(), "old");
  string.append(kLong);
  CompactString target("target");
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(target = string, std::bad_alloc); }));
  EXPECT_EQ(target.view(), "target");
}

TEST_F(StringFaults, CompactStringAsATargetIsLeftAlone) {
  CompactString target("old");
  const std::u16string source(12, u'x');
  EXPECT_TRUE(FailsFor(
      [&] { EXPECT_EQ(oru::Utf16ToAnsi(source, target), oru::MakeResultCode(0x80000041)); }));
  EXPECT_EQ(target.view(), "old");
}

TEST_F(StringFaults, StringIsLeftAlone) {
  String16 string(u"old");
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(string << kLong, std::bad_alloc); }));
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(string.resize(8), std::bad_alloc); }));
  EXPECT_EQ(string.view(), u"old");
  String8 narrow("old");
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(narrow.append(kLong), std::bad_alloc); }));
  EXPECT_EQ(narrow.view(), "old");
}

TEST_F(StringFaults, VectorIsLeftAlone) {
  using Vector =
      oru::vector<int,
                  oru::memory::stateless_allocator<oru::memory::windows::default_heap_resource>>;
  Vector vector;
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(vector.push_back(1), std::bad_alloc); }));
  EXPECT_TRUE(vector.empty());
}

TEST_F(StringFaults, StreamGetsNothingOfATextThatCouldNotBeConverted) {
  std::ostringstream stream;
  const String16 text(u"a text that needs a block of its own");
  EXPECT_TRUE(FailsFor([&] { EXPECT_THROW(stream << text, std::bad_alloc); }));
  EXPECT_EQ(stream.str(), "");
}

// The largest block of a CompactString: its 0xFFFFFFFD characters, plus 2, rounded down to even.
TEST_F(StringFaults, LargestCompactStringAsksForTheLargestEvenBlock) {
  CompactString string("old");
  host::StartCallLog();
  EXPECT_TRUE(
      FailsFor([&] { EXPECT_THROW(string.resize_for_overwrite(0xFFFFFFFD), std::bad_alloc); }));
  const auto calls = host::CallsOf("HeapAlloc");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Argument("bytes"), "4294967294");
}

}  // namespace
