// Copies of exceptions in several threads at once. A program of its own, since it is also built and
// run under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"

namespace {

// What a chain's links share: how often one of them was copied, and what is run before each copy.
struct Account {
  std::uint32_t copies = 0;
  std::function<void()> beforeEach;
};

// A link that counts its copies, by an account that belongs to one thread.
class Counted : public oru::ExceptionBase<Counted, oru::Exception> {
 public:
  explicit Counted(Account& account) : m_account(&account) {}
  Counted(const Counted& other) : ExceptionBase(other), m_account(other.m_account) {
    ++m_account->copies;
  }
  [[nodiscard]] std::unique_ptr<oru::Exception> Clone() const override {
    if (m_account->beforeEach) m_account->beforeEach();
    return std::make_unique<Counted>(*this);
  }

 private:
  Account* m_account;
};

std::unique_ptr<oru::Exception> MakeChain(std::uint32_t links, Account& account) {
  std::unique_ptr<oru::Exception> chain;
  for (; links > 0; --links) {
    auto link = std::make_unique<Counted>(account);
    link->SetInner(std::move(chain));
    chain = std::move(link);
  }
  return chain;
}

std::uint32_t CountLinks(const oru::Exception& first) {
  std::uint32_t count = 0;
  for (const oru::Exception* link = &first; link != nullptr; link = link->Inner()) ++count;
  return count;
}

// Few: were each link copied with all its causes, the copies would double with each one.
constexpr std::uint32_t kLinks = 10;

// Between the moment in which a link's copy is asked for and the one in which it is made, another
// thread copies a chain of its own, from begin to end.
TEST(ExceptionThreads, ACopyCostsOneALinkWhatOtherThreadsCopyInBetween) {
  Account account;
  account.beforeEach = [] {
    std::thread([] {
      Account others;
      const std::unique_ptr<oru::Exception> chain = MakeChain(3, others);
      const std::unique_ptr<oru::Exception> clone = chain->Clone();
      EXPECT_EQ(CountLinks(*clone), 3u);
      EXPECT_EQ(others.copies, 3u);
    }).join();
  };
  const std::unique_ptr<oru::Exception> chain = MakeChain(kLinks, account);
  const std::unique_ptr<oru::Exception> clone = chain->Clone();
  EXPECT_EQ(account.copies, kLinks);
  EXPECT_EQ(CountLinks(*clone), kLinks);
  EXPECT_EQ(CountLinks(*chain), kLinks);
}

// No order between them: what they would share shows as a race under the sanitizer, and as a wrong
// count elsewhere.
TEST(ExceptionThreads, ThreadsThatCopyAtOnceDoNotMeet) {
  constexpr std::uint32_t kRounds = 200;
  constexpr std::uint32_t kThreads = 2;
  std::atomic<std::uint32_t> ready{0};
  std::vector<std::thread> threads;
  for (std::uint32_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&ready] {
      Account account;
      const std::unique_ptr<oru::Exception> chain = MakeChain(kLinks, account);
      ++ready;
      while (ready != kThreads) std::this_thread::yield();
      for (std::uint32_t round = 1; round <= kRounds; ++round) {
        const std::unique_ptr<oru::Exception> clone = chain->Clone();
        ASSERT_EQ(CountLinks(*clone), kLinks);
        ASSERT_EQ(account.copies, round * kLinks);
      }
      try {
        chain->Rethrow();
      } catch (const Counted& caught) {
        EXPECT_EQ(CountLinks(caught), kLinks);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
