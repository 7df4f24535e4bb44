// What threads may share: the tracer and its holder, memory, the locator, and the counters of
// reported checks. A program of its own, since it is also built and run under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "oru/rtl/alloc_std.h"
#include "oru/rtl/check.h"
#include "oru/rtl/memory_resource.h"
#include "oru/rtl/object_impl.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/service_locator.h"
#include "oru/rtl/trace.h"
#include "oru/rtl/tracer.h"
#include "standalone_tracer_lib/empty_tracer.h"
#include "standalone_tracer_lib/simple_channel_tracer.h"
#include "standalone_tracer_lib/tracer_holder.h"
#include "tests/support/checks.h"
#include "tests/support/object_stub.h"

namespace {

constexpr int kThreads = 4;
constexpr int kTimes = 500;

// Runs `work` in all threads, which begin together; each is told its number. They wait by asking
// again: whoever sleeps would begin late, and the C++ library's barrier, which is no system call of
// Windows', may leave a thread asleep there for ever.
void InThreads(const std::function<void(int)>& work) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ++ready;
      while (ready < kThreads) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Takes records of several threads: whether a tracer may be shared is up to its channel.
class LockedChannel : public oru::inherit_ifaces<oru::tracer::IChannel>,
                      private oru::ObjectModuleAutoLockTyped<LockedChannel>,
                      private oru::NonCopyable {
 public:
  using oru::ObjectModuleAutoLockTyped<LockedChannel>::LiveCount;

  oru::ResultCode WriteRecord(const oru::tracer::TraceRecord* record) override {
    const std::lock_guard lock(mutex);
    ++texts[std::string(record->textBegin, record->textEnd)];
    return oru::sOk;
  }

  std::mutex mutex;
  std::map<std::string, int> texts;

 protected:
  ~LockedChannel() = default;
};

std::string TextOf(int thread, int number) {
  return "record " + std::to_string(number) + " of thread " + std::to_string(thread) + ' ' +
         std::string(600,
                     static_cast<char>('a' + thread));  // more than a record's first area holds
}

// Each record of each thread once.
void ExpectAll(const std::map<std::string, int>& texts) {
  EXPECT_EQ(texts.size(), std::size_t{kThreads} * kTimes);
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int number = 0; number < kTimes; ++number) {
      const auto found = texts.find(TextOf(thread, number));
      ASSERT_NE(found, texts.end()) << number << " of " << thread;
      EXPECT_EQ(found->second, 1);
    }
  }
}

// First: the holder is made by whoever asks first.
TEST(TracerThreadsOwnProcess, TheFirstUseMakesOneTracerForAll) {
  std::vector<oru::ITracer*> seen(kThreads);
  InThreads([&](int thread) { seen[static_cast<std::size_t>(thread)] = GetTracer(); });
  EXPECT_NE(seen[0], nullptr);
  EXPECT_EQ(seen, std::vector<oru::ITracer*>(kThreads, seen[0]));
}

TEST(TracerThreadsOwnProcess, ASiteReportsOnceForAllThreads) {
  constexpr int kFailures = 100000;  // enough for the threads to meet on a single core, too
  oru::CheckCounter counter{0};
  InThreads([&](int) {
    for (int i = 0; i < kFailures; ++i) {
      oru::FailCheck(counter, "a site of threads");
      ORU_CHECK_RESULT(counter == 0u);
    }
  });
  EXPECT_EQ(counter, std::uint32_t{kThreads} * kFailures);
  EXPECT_EQ(oru::ExpressionResultCounter(), std::uint32_t{kThreads} * kFailures);
  EXPECT_EQ(tests::CountReported("a site of threads"), 1u);
  EXPECT_EQ(tests::CountReported("expressionResult"), 1u);
}

TEST(TracerThreads, StatementsOfThreadsWriteTheirOwnRecords) {
  const auto channel = oru::CreateObject<LockedChannel>();
  auto& holder = standalone::trace::TracerHolder::Instance();
  holder.Install(oru::CreateObject<standalone::trace::detail::SimpleChannelTracer>(
      channel.Get(), std::uint32_t{700}));
  InThreads([&](int thread) {
    for (int number = 0; number < kTimes; ++number) {
      ORU_TRACE(700, TextOf(thread, number));
      ORU_TRACE(800, "refused");
    }
  });
  holder.Install(standalone::trace::CreateEmptyTracer());
  ExpectAll(channel->texts);
}

TEST(TracerThreads, ReferencesOfThreadsAreCounted) {
  const std::int32_t before = LockedChannel::LiveCount();
  const auto channel = oru::CreateObject<LockedChannel>();
  InThreads([&](int) {
    for (int i = 0; i < kTimes; ++i) {
      const oru::ObjectPtr<LockedChannel> own = channel;
      const auto another = oru::CreateObject<LockedChannel>();
    }
  });
  EXPECT_EQ(LockedChannel::LiveCount(), before + 1);
  EXPECT_EQ(channel->AddRef(), 2u);
  EXPECT_EQ(channel->Release(), 1u);
}

TEST(TracerThreads, MemoryOfOneThreadIsGivenBackByAnother) {
  const auto standard = oru::CreateObject<oru::AllocStd>();
  std::vector<std::atomic<char*>> places(kThreads);
  InThreads([&](int thread) {
    for (int i = 0; i < kTimes; ++i) {
      auto* const block = static_cast<char*>(standard->Alloc(64));
      ASSERT_NE(block, nullptr);
      std::memset(block, thread, 64);
      char* const old = places[static_cast<std::size_t>((thread + i) % kThreads)].exchange(block);
      if (old != nullptr) standard->Free(old);
      using Heap = oru::memory::windows::default_heap_resource;
      void* const own = Heap::allocate(24, 8);
      ASSERT_NE(own, nullptr);
      std::memset(own, thread, 24);
      Heap::deallocate(own, 24, 8);
    }
  });
  for (std::atomic<char*>& place : places) {
    for (int i = 1; i < 64; ++i) EXPECT_EQ(place.load()[i], place.load()[0]);
    standard->Free(place.load());
  }
}

// Gives itself out under any number.
class CountingLocator final : public tests::ObjectStub<oru::IServiceLocator> {
 public:
  [[nodiscard]] oru::ResultCode GetInterface(oru::InterfaceNumber, std::uint32_t,
                                             void** out) noexcept override {
    ++asked;
    *out = this;
    return oru::sOk;
  }
  std::atomic<int> asked{0};
};

TEST(TracerThreads, ALocatorIsAskedByAll) {
  CountingLocator locator;
  InThreads([&](int) {
    for (int i = 0; i < kTimes; ++i) {
      void* found = nullptr;
      EXPECT_EQ(oru::GetService(&locator, 1, 2, &found), oru::sOk);
      EXPECT_EQ(found, &locator);
    }
  });
  EXPECT_EQ(locator.asked, kThreads * kTimes);
}

}  // namespace
