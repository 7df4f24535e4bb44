#include "oru/rtl/exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "tests/support/text.h"
#include "tests/support/vtable_slot.h"

namespace {

using oru::MakeResultCode;
using tests::Text;

constexpr char kFile[] = "oru/rtl/somewhere";
constexpr oru::ResultCode kCode = MakeResultCode(0x80000046);

// As the time's exception is made: derives from a class that has Rethrow and Clone, and writes
// neither.
class LikeTimeSystemError : public oru::SystemException {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "TimeSystemError"; }
};

// Shows the fields that have no accessor.
class Open : public oru::ExceptionBase<Open, oru::Exception> {
 public:
  using ExceptionBase::ExceptionBase;
  void SetReserved(std::uint32_t value) { m_reserved = value; }
  [[nodiscard]] std::uint32_t Reserved() const { return m_reserved; }
  template <typename Member>
  [[nodiscard]] std::size_t Offset(const Member& member) const {
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&member) -
                                    reinterpret_cast<const char*>(this));
  }
  [[nodiscard]] std::vector<std::size_t> Offsets() const {
    return {Offset(m_file), Offset(m_line), Offset(m_reserved), Offset(m_message), Offset(m_inner)};
  }
};

// Fields as the test gave them.
template <typename E>
void ExpectFields(const E& exception, const std::string& name) {
  EXPECT_STREQ(exception.File(), kFile) << name;
  EXPECT_EQ(exception.Line(), 120u) << name;
  EXPECT_EQ(Text(exception.Message()), u"Bad path with a long text") << name;
  ASSERT_NE(exception.Inner(), nullptr) << name;
  EXPECT_EQ(Text(exception.Inner()->Message()), u"cause") << name;
  EXPECT_EQ(typeid(*exception.Inner()), typeid(oru::CheckFailedException)) << name;
  if constexpr (std::is_base_of_v<oru::ResultCodeException, E>) {
    EXPECT_EQ(exception.Code(), kCode) << name;
  }
}

template <typename E>
void FillFields(E& exception) {
  exception << oru::SetMessage(u"Bad path with a long text") << oru::SetFile(kFile)
            << oru::SetLine(120);
  if constexpr (std::is_base_of_v<oru::ResultCodeException, E>) {
    exception << oru::SetResultCode(kCode);
  }
  exception.SetInner(oru::CheckFailedException(kFile, 7) << u"cause");
}

// Rethrows and clones an E, and expects the copy to be a Copied with all fields.
template <typename E, typename Copied = E>
void ExpectRethrowAndClone(const std::string& name) {
  E exception;
  FillFields(exception);
  const oru::Exception& base = exception;
  try {
    base.Rethrow();
  } catch (const oru::Exception& caught) {
    EXPECT_EQ(typeid(caught), typeid(Copied)) << name;
    ExpectFields(dynamic_cast<const Copied&>(caught), name);
    EXPECT_NE(caught.Inner(), exception.Inner()) << name;
  }
  const std::unique_ptr<oru::Exception> clone = base.Clone();
  const oru::Exception& copy = *clone;
  EXPECT_EQ(typeid(copy), typeid(Copied)) << name;
  ExpectFields(dynamic_cast<const Copied&>(copy), name);
  EXPECT_NE(clone->Inner(), exception.Inner()) << name;
}

TEST(Exception, WhatIsTheNameOfTheClass) {
  EXPECT_STREQ(oru::Exception().what(), "Unknown exception");
  EXPECT_STREQ(oru::ResultCodeException().what(), "ResultCodeException");
  EXPECT_STREQ(oru::CheckResultFailedException().what(), "CheckResultFailedException");
  EXPECT_STREQ(oru::CheckFailedException().what(), "CheckFailedException");
  EXPECT_STREQ(oru::SystemException().what(), "SystemException");
  EXPECT_STREQ(oru::CreateInstanceException().what(), "CreateInstanceException");
}

TEST(Exception, WithoutArgumentsNamesNoClass) {
  EXPECT_EQ(oru::CreateInstanceException().ClassId(), 0u);
}

TEST(Exception, AClassWithoutItsOwnWhatInheritsThatOfItsBase) {
  EXPECT_STREQ(Open().what(), "Unknown exception");
}

TEST(Exception, BasesAreThoseOfTheFamily) {
  using namespace oru;  // NOLINT(google-build-using-namespace)
  EXPECT_TRUE((std::is_base_of_v<std::exception, Exception>));
  EXPECT_TRUE((std::is_base_of_v<Exception, ResultCodeException>));
  EXPECT_TRUE((std::is_base_of_v<ResultCodeException, CheckResultFailedException>));
  EXPECT_TRUE((std::is_base_of_v<ResultCodeException, SystemException>));
  EXPECT_TRUE((std::is_base_of_v<ResultCodeException, CreateInstanceException>));
  EXPECT_TRUE((std::is_base_of_v<Exception, CheckFailedException>));
  EXPECT_FALSE((std::is_base_of_v<ResultCodeException, CheckFailedException>));
}

TEST(Exception, DefaultMadeSystemExceptionIsEmpty) {
  const oru::SystemException exception;
  EXPECT_EQ(exception.File(), nullptr);
  EXPECT_EQ(exception.Line(), 0u);
  EXPECT_EQ(exception.Code(), 0);
  EXPECT_TRUE(exception.Message().empty());
  EXPECT_EQ(exception.Inner(), nullptr);
}

TEST(Exception, CheckFailedTakesFileAndLine) {
  const oru::CheckFailedException exception(kFile, 31);
  EXPECT_STREQ(exception.File(), kFile);
  EXPECT_EQ(exception.Line(), 31u);
  EXPECT_TRUE(exception.Message().empty());
}

TEST(Exception, ResultCodeTakesFileLineCodeAndMessage) {
  const oru::ResultCodeException with(kFile, 31, kCode, u"text");
  EXPECT_STREQ(with.File(), kFile);
  EXPECT_EQ(with.Line(), 31u);
  EXPECT_EQ(with.Code(), kCode);
  EXPECT_EQ(Text(with.Message()), u"text");
  const oru::CheckResultFailedException without(kFile, 32, kCode);
  EXPECT_EQ(without.Line(), 32u);
  EXPECT_EQ(without.Code(), kCode);
  EXPECT_TRUE(without.Message().empty());
}

TEST(Exception, CreateInstanceTakesTheClassNumberFirst) {
  const oru::CreateInstanceException exception(0x9CCA5603, kFile, 185, MakeResultCode(0x80000041));
  EXPECT_EQ(exception.ClassId(), 0x9CCA5603u);
  EXPECT_STREQ(exception.File(), kFile);
  EXPECT_EQ(exception.Line(), 185u);
  EXPECT_EQ(exception.Code(), MakeResultCode(0x80000041));
  EXPECT_TRUE(exception.Message().empty());
}

TEST(Exception, ASuccessCodeStays) {
  EXPECT_EQ(oru::ResultCodeException(kFile, 1, oru::sFalse).Code(), 1);
}

TEST(Exception, SettersChainInAnyOrderAndGiveTheExceptionsOwnType) {
  auto&& exception = LikeTimeSystemError() << oru::SetMessage(u"text") << oru::SetResultCode(kCode)
                                           << oru::SetFile(kFile) << oru::SetLine(67);
  static_assert(std::is_same_v<decltype(exception), LikeTimeSystemError&&>);
  oru::CheckFailedException named(kFile, 1);
  static_assert(std::is_same_v<decltype(named << oru::SetLine(2)), oru::CheckFailedException&>);
  named << oru::SetFile("b") << oru::SetLine(2) << oru::SetMessage(u"m");
  EXPECT_STREQ(named.File(), "b");
  EXPECT_EQ(named.Line(), 2u);
  EXPECT_EQ(Text(named.Message()), u"m");
}

TEST(Exception, WhatIsThrownBehindSettersIsntCut) {
  try {
    throw LikeTimeSystemError() << oru::SetMessage(u"text") << oru::SetResultCode(kCode)
                                << oru::SetFile(kFile) << oru::SetLine(67);
  } catch (const std::exception& caught) {
    ASSERT_EQ(typeid(caught), typeid(LikeTimeSystemError));
    const auto& error = dynamic_cast<const LikeTimeSystemError&>(caught);
    EXPECT_EQ(Text(error.Message()), u"text");
    EXPECT_EQ(error.Code(), kCode);
    EXPECT_STREQ(error.File(), kFile);
    EXPECT_EQ(error.Line(), 67u);
  }
}

TEST(Exception, WhatIsThrownBehindAppendsIsntCut) {
  const oru::String16 path(u"c:\\x");
  try {
    throw oru::CheckFailedException(kFile, 5)
        << u"path = " << path << ", count = " << std::uint32_t{12};
  } catch (const std::exception& caught) {
    ASSERT_EQ(typeid(caught), typeid(oru::CheckFailedException));
    EXPECT_EQ(Text(dynamic_cast<const oru::Exception&>(caught).Message()),
              u"path = c:\\x, count = 12");
  }
}

TEST(Exception, AppendsTakeWhatASixteenBitStringTakes) {
  oru::CheckFailedException exception(kFile, 5);
  // The null text puts in nothing; 0xE9 stands for itself.
  exception << "\xE9" << static_cast<const char*>(nullptr)
            << oru::Format(std::uint32_t{255}, {.width = 4, .base = 16, .fill = u'0'})
            << oru::ResultCodeText{kCode};
  EXPECT_EQ(Text(exception.Message()), u"\u00E900ff0x80000046");
}

TEST(Exception, EachClassIsRethrownAndClonedAsItself) {
  ExpectRethrowAndClone<oru::Exception>("Exception");
  ExpectRethrowAndClone<oru::ResultCodeException>("ResultCodeException");
  ExpectRethrowAndClone<oru::CheckResultFailedException>("CheckResultFailedException");
  ExpectRethrowAndClone<oru::CheckFailedException>("CheckFailedException");
  ExpectRethrowAndClone<oru::SystemException>("SystemException");
  ExpectRethrowAndClone<oru::CreateInstanceException>("CreateInstanceException");
}

TEST(Exception, AClassThatGoesWithoutBecomesItsBase) {
  ExpectRethrowAndClone<LikeTimeSystemError, oru::SystemException>("LikeTimeSystemError");
}

TEST(Exception, ACatchOfTheClassThatGoesWithoutMissesItsRethrow) {
  bool missed = false;
  try {
    LikeTimeSystemError().Rethrow();
  } catch (const LikeTimeSystemError&) {
  } catch (const oru::SystemException& caught) {
    missed = true;
    EXPECT_STREQ(caught.what(), "SystemException");
  }
  EXPECT_TRUE(missed);
}

TEST(Exception, CreateInstanceKeepsTheClassNumberInCopies) {
  const oru::CreateInstanceException exception(0x6EF3329B, kFile, 1, kCode);
  const std::unique_ptr<oru::Exception> clone = exception.Clone();
  EXPECT_EQ(dynamic_cast<const oru::CreateInstanceException&>(*clone).ClassId(), 0x6EF3329Bu);
}

TEST(Exception, CopiesHoldTheReservedWordToo) {
  Open exception(kFile, 1);
  EXPECT_EQ(exception.Reserved(), 0u);
  exception.SetReserved(5);
  const Open copy(exception);
  EXPECT_EQ(copy.Reserved(), 5u);
}

TEST(Exception, SlotsStandInTheirOrder) {
  using E = oru::Exception;
  EXPECT_EQ(tests::VtableSlot(&E::what), 2);  // behind the destructor's two
  EXPECT_EQ(tests::VtableSlot(&E::GetDescription), 3);
  EXPECT_EQ(tests::VtableSlot(&E::Rethrow), 4);
  EXPECT_EQ(tests::VtableSlot(&E::Clone), 5);
}

TEST(Exception, FieldsStandInTheirOrder) {
  const std::vector<std::size_t> offsets = Open().Offsets();
#ifdef _WIN32
  // The message is a string of 32 bytes.
  EXPECT_EQ(offsets, (std::vector<std::size_t>{4, 8, 12, 16, 48}));
  EXPECT_EQ(sizeof(oru::Exception), 52u);
  EXPECT_EQ(sizeof(oru::ResultCodeException), 56u);
  EXPECT_EQ(sizeof(oru::CreateInstanceException), 60u);
#else
  EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
  EXPECT_EQ(offsets.front(), sizeof(void*));
#endif
}

}  // namespace
