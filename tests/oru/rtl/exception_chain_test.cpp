#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/text.h"

namespace {

using tests::Text;

// Chains of causes, the outermost first: "0", "1" and so on.
std::unique_ptr<oru::Exception> MakeChain(std::uint32_t links) {
  std::unique_ptr<oru::Exception> chain;
  while (links-- > 0) {
    auto link = std::make_unique<oru::CheckFailedException>("file", links);
    link->SetInner(std::move(chain));
    chain = std::move(link);
  }
  return chain;
}

std::uint32_t CountLinks(const oru::Exception& first) {
  std::uint32_t count = 0;
  for (const oru::Exception* link = &first; link != nullptr; link = link->Inner()) {
    if (link->Line() == count) ++count;
  }
  return count;
}

// Far more than the stack holds when each link takes a frame or two (1 MB and more on the 32-bit
// target).
constexpr std::uint32_t kManyLinks = 50'000;

TEST(ExceptionChain, SetInnerTakesACopy) {
  oru::CheckFailedException cause("a", 1);
  oru::CheckFailedException outer("b", 2);
  outer.SetInner(cause);
  cause << u"later";
  ASSERT_NE(outer.Inner(), nullptr);
  EXPECT_NE(outer.Inner(), &cause);
  EXPECT_TRUE(outer.Inner()->Message().empty());
}

TEST(ExceptionChain, SetInnerTakesOverAndNullTakesAway) {
  auto cause = std::make_unique<oru::SystemException>();
  const oru::Exception* const address = cause.get();
  oru::CheckFailedException outer("b", 2);
  outer.SetInner(std::move(cause));
  EXPECT_EQ(outer.Inner(), address);
  outer.SetInner(nullptr);
  EXPECT_EQ(outer.Inner(), nullptr);
}

TEST(ExceptionChain, AnExceptionCanBeItsOwnCause) {
  oru::CheckFailedException exception("a", 1);
  exception << u"self";
  exception.SetInner(exception);
  ASSERT_NE(exception.Inner(), nullptr);
  EXPECT_NE(exception.Inner(), &exception);
  EXPECT_EQ(Text(exception.Inner()->Message()), u"self");
  EXPECT_EQ(exception.Inner()->Inner(), nullptr);
}

TEST(ExceptionChain, CopyingLeavesTheSourceAsItWas) {
  const std::unique_ptr<oru::Exception> chain = MakeChain(4);
  std::vector<const oru::Exception*> before;
  for (const auto* link = chain.get(); link != nullptr; link = link->Inner()) {
    before.push_back(link);
  }
  const oru::Exception copy(*chain);
  const std::unique_ptr<oru::Exception> clone = chain->Clone();
  std::vector<const oru::Exception*> after;
  for (const auto* link = chain.get(); link != nullptr; link = link->Inner()) {
    after.push_back(link);
  }
  EXPECT_EQ(after, before);
  EXPECT_EQ(after.size(), 4u);
}

TEST(ExceptionChain, CopiesAreDeep) {
  const std::unique_ptr<oru::Exception> chain = MakeChain(4);
  const oru::Exception copy(*chain);
  EXPECT_EQ(CountLinks(copy), 4u);
  const oru::Exception* other = chain->Inner();
  for (const oru::Exception* link = copy.Inner(); link != nullptr; link = link->Inner()) {
    EXPECT_NE(link, other);
    EXPECT_STREQ(link->what(), "CheckFailedException");
    other = other->Inner();
  }
  EXPECT_EQ(other, nullptr);
}

TEST(ExceptionChain, MovingLeavesTheChainWhereItIs) {
  std::unique_ptr<oru::Exception> chain = MakeChain(3);
  const oru::Exception* const cause = chain->Inner();
  const oru::Exception moved(std::move(*chain));
  EXPECT_EQ(moved.Inner(), cause);
}

// A link whose copy fails.
class Uncopyable : public oru::ExceptionBase<Uncopyable, oru::Exception> {
 public:
  Uncopyable() = default;
  Uncopyable(const Uncopyable& other) : ExceptionBase(other) { throw std::bad_alloc(); }
};

TEST(ExceptionChain, AFailureOfOneLinkPassesAndSpoilsNothing) {
  oru::CheckFailedException middle("file", 1);
  auto uncopyable = std::make_unique<Uncopyable>();
  uncopyable->SetInner(MakeChain(3));
  middle.SetInner(std::move(uncopyable));
  oru::CheckFailedException outer("file", 0);
  EXPECT_THROW(outer.SetInner(middle), std::bad_alloc);
  EXPECT_EQ(outer.Inner(), nullptr);
  EXPECT_THROW((void)middle.Clone(), std::bad_alloc);
  // The source has all its causes still, those of the link that failed too.
  ASSERT_NE(middle.Inner(), nullptr);
  ASSERT_NE(middle.Inner()->Inner(), nullptr);
  EXPECT_EQ(CountLinks(*middle.Inner()->Inner()), 3u);
  // Later copies hold their causes again.
  EXPECT_EQ(CountLinks(*MakeChain(4)->Clone()), 4u);
}

// A type without new data and without an ExceptionBase of its own.
class PlainDerived : public oru::SystemException {
 public:
  using SystemException::SystemException;
  [[nodiscard]] const char* what() const noexcept override { return "PlainDerived"; }
};

TEST(ExceptionChain, ALinkWithoutItsOwnBaseIsCopiedAsTheTypeAboveIt) {
  oru::CheckFailedException outer("file", 0);
  outer.SetInner(
      std::make_unique<PlainDerived>("inner", 7u, oru::MakeResultCode(0x80000045), u"text"));
  const oru::Exception& original = *outer.Inner();
  ASSERT_EQ(typeid(original), typeid(PlainDerived));
  const oru::CheckFailedException copy(outer);
  ASSERT_NE(copy.Inner(), nullptr);
  const oru::Exception& copied = *copy.Inner();
  ASSERT_EQ(typeid(copied), typeid(oru::SystemException));
  const auto& inner = static_cast<const oru::SystemException&>(copied);
  EXPECT_STREQ(inner.what(), "SystemException");
  EXPECT_STREQ(inner.File(), "inner");
  EXPECT_EQ(inner.Line(), 7u);
  EXPECT_EQ(inner.Code(), oru::MakeResultCode(0x80000045));
  EXPECT_EQ(Text(inner.Message()), u"text");
}

// A link that holds another exception as a member: that one is copied with its own cause.
class Holder : public oru::ExceptionBase<Holder, oru::Exception> {
 public:
  explicit Holder(const oru::Exception& held) : m_held(held) {}
  [[nodiscard]] const oru::Exception& Held() const { return m_held; }

 private:
  oru::Exception m_held;
};

TEST(ExceptionChain, ALinkThatHoldsAnExceptionIsCopiedWhole) {
  auto holder = std::make_unique<Holder>(*MakeChain(3));
  holder->SetInner(MakeChain(2));
  oru::CheckFailedException outer("file", 9);
  outer.SetInner(std::move(holder));
  const oru::CheckFailedException copy(outer);
  const auto& copied = dynamic_cast<const Holder&>(*copy.Inner());
  EXPECT_EQ(CountLinks(copied.Held()), 3u);
  ASSERT_NE(copied.Inner(), nullptr);
  EXPECT_EQ(CountLinks(*copied.Inner()), 2u);
}

TEST(ExceptionChain, HasNoDepthLimit) {
  std::unique_ptr<oru::Exception> chain = MakeChain(kManyLinks);
  EXPECT_EQ(CountLinks(*chain), kManyLinks);
  std::unique_ptr<oru::Exception> clone = chain->Clone();
  EXPECT_EQ(CountLinks(*clone), kManyLinks);
  chain.reset();
  const oru::CheckFailedException copy(dynamic_cast<const oru::CheckFailedException&>(*clone));
  EXPECT_EQ(CountLinks(copy), kManyLinks);
  clone->SetInner(nullptr);
  try {
    copy.Rethrow();
  } catch (const oru::Exception& caught) {
    EXPECT_EQ(CountLinks(caught), kManyLinks);
  }
}

}  // namespace
