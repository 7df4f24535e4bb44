#include "oru/rtl/exception_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace_stream.h"
#include "tests/support/recording_tracer.h"
#include "tests/support/text.h"

namespace {

using oru::MakeResultCode;
using tests::Text;

std::string Traced(const oru::Exception& exception) {
  tests::RecordingTracer tracer;
  oru::RecordHandle record;
  EXPECT_TRUE(record.Open(&tracer, 300));
  oru::TraceStream stream(record);
  stream << exception;
  stream.Commit();
  return tracer.Records().at(0).text;
}

class WithoutText : public oru::ExceptionBase<WithoutText, oru::Exception> {
 public:
  [[nodiscard]] oru::String16 GetDescription() const override { throw std::bad_alloc(); }
};

TEST(ExceptionDescription, OfTheRootIsItsMessage) {
  oru::Exception exception;
  EXPECT_EQ(Text(exception.GetDescription()), u"");
  exception.SetMessage(u"only this");
  EXPECT_EQ(Text(exception.GetDescription()), u"only this");
}

TEST(ExceptionDescription, WithAMessage) {
  EXPECT_EQ(Text(oru::ResultCodeException("f", 1, MakeResultCode(0x80000046), u"Bad path")
                     .GetDescription()),
            u"Bad path: 0x80000046 (Invalid argument)");
}

TEST(ExceptionDescription, WithoutAMessage) {
  EXPECT_EQ(Text(oru::ResultCodeException("f", 1, MakeResultCode(0x80000046)).GetDescription()),
            u"0x80000046 (Invalid argument)");
}

TEST(ExceptionDescription, LeavesTheMessageAlone) {
  const oru::ResultCodeException exception("f", 1, 0, u"m");
  EXPECT_EQ(Text(exception.GetDescription()), u"m: 0x00000000 (No error)");
  EXPECT_EQ(Text(exception.Message()), u"m");
}

TEST(ExceptionDescription, DoesntKnowTheToolsOwnCodes) {
  EXPECT_EQ(
      Text(oru::CheckResultFailedException("f", 1, MakeResultCode(0xA1780005)).GetDescription()),
      u"0xa1780005 (Unknown result code)");
}

TEST(ExceptionDescription, OfAPlatformCode) {
  EXPECT_EQ(Text(oru::SystemException("f", 1, MakeResultCode(0x80010102)).GetDescription()),
            u"0x80010102 (File not found)");
}

TEST(ExceptionDescription, OfAFailedCreationShowsTheClassNumber) {
  oru::CreateInstanceException exception(0, "oru/rtl/objclient", 185, MakeResultCode(0x80000041));
  EXPECT_EQ(Text(exception.GetDescription()), u"0x80000041 (Out of memory): iid:00000000");
  exception.SetMessage(u"why");
  EXPECT_EQ(Text(exception.GetDescription()), u"why: 0x80000041 (Out of memory): iid:00000000");
  EXPECT_EQ(Text(oru::CreateInstanceException(0x9CCA5603, "f", 1, 0).GetDescription()),
            u"0x00000000 (No error): iid:9cca5603");
}

TEST(ExceptionDisplayText, OfAResultCodeException) {
  EXPECT_EQ(Text(oru::GetDisplayText(oru::ResultCodeException(
                "c:\\work\\helpers", 120, MakeResultCode(0x80000046), u"Bad path"))),
            u"ResultCodeException - Bad path: 0x80000046 (Invalid argument). At "
            u"c:\\work\\helpers(120) ");
}

TEST(ExceptionDisplayText, OfACheckWithFileAndLineAlone) {
  EXPECT_EQ(Text(oru::GetDisplayText(oru::CheckFailedException("dir/file", 42))),
            u"CheckFailedException - . At dir/file(42) ");
}

TEST(ExceptionDisplayText, WithoutAFile) {
  EXPECT_EQ(Text(oru::GetDisplayText(oru::SystemException())),
            u"SystemException - 0x00000000 (No error). At (0) ");
}

TEST(ExceptionDisplayText, ShowsTheLargestLineWithoutASign) {
  EXPECT_EQ(Text(oru::GetDisplayText(oru::CheckFailedException("f", 0xFFFFFFFF))),
            u"CheckFailedException - . At f(4294967295) ");
}

TEST(ExceptionDisplayText, HasNoCauses) {
  oru::CheckFailedException outer("f", 1);
  outer.SetInner(oru::SystemException());
  EXPECT_EQ(Text(oru::GetDisplayText(outer)), u"CheckFailedException - . At f(1) ");
}

TEST(ExceptionDisplayChain, OfOneIsItsDisplayTextInUtf8) {
  EXPECT_EQ(Traced(oru::CheckFailedException("f", 1) << u"\u00E4\u20AC\U0001F600"),
            "CheckFailedException - \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80. At f(1) ");
}

TEST(ExceptionDisplayChain, OfTwoIsJoinedWithoutABlank) {
  oru::ResultCodeException outer("dir/outer", 10, MakeResultCode(0x80000072), u"first");
  outer.SetInner(oru::CheckFailedException("dir/inner", 20) << u"second");
  EXPECT_EQ(Traced(outer),
            "ResultCodeException - first: 0x80000072 (Unknown exception). At dir/outer(10) ;"
            "CheckFailedException - second. At dir/inner(20) ");
}

TEST(ExceptionDisplayChain, OfThree) {
  oru::CheckFailedException middle("b", 2);
  middle.SetInner(oru::CheckFailedException("c", 3));
  oru::CheckFailedException outer("a", 1);
  outer.SetInner(middle);
  EXPECT_EQ(Traced(outer),
            "CheckFailedException - . At a(1) ;CheckFailedException - . At b(2) ;"
            "CheckFailedException - . At c(3) ");
}

TEST(ExceptionDisplayChain, ALinkWithoutATextIsReplacedAndTheRestStays) {
  oru::CheckFailedException outer("a", 1);
  WithoutText middle;
  middle.SetInner(oru::CheckFailedException("c", 3));
  outer.SetInner(middle);
  EXPECT_EQ(Traced(outer),
            "CheckFailedException - . At a(1) ;<Exception display text conversion error>;"
            "CheckFailedException - . At c(3) ");
}

TEST(ExceptionDisplayChain, AMessageOfOnlySurrogatesIsNoFailure) {
  EXPECT_EQ(Traced(oru::CheckFailedException("f", 1) << u"\xD800"),
            "CheckFailedException - \xED\xA0\x80. At f(1) ");
}

TEST(ExceptionDisplayChain, HasNoDepthLimit) {
  constexpr std::size_t kLinks = 2'000;
  std::unique_ptr<oru::Exception> chain;
  for (std::size_t i = 0; i < kLinks; ++i) {
    auto link = std::make_unique<oru::CheckFailedException>("f", 1);
    link->SetInner(std::move(chain));
    chain = std::move(link);
  }
  const std::string text = Traced(*chain);
  EXPECT_EQ(text.size(), kLinks * sizeof("CheckFailedException - . At f(1) ;") - kLinks - 1);
  EXPECT_EQ(std::count(text.begin(), text.end(), ';'), static_cast<std::ptrdiff_t>(kLinks - 1));
}

}  // namespace
