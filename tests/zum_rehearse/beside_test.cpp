#include "zum_rehearse/beside.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

using zum_rehearse::WorkBeside;

TEST(WorkBeside, ProgressIsToldWhileTheWorkGoesOn) {
  const auto caller = std::this_thread::get_id();
  std::atomic<int> told = 0;
  bool isCallers = true;
  bool isDone = false;
  // Without being told the work would never end.
  const auto work = [&] {
    while (told < 2) std::this_thread::yield();
    isDone = true;
  };
  WorkBeside(work, [&] {
    isCallers = isCallers && std::this_thread::get_id() == caller;
    ++told;
  });
  EXPECT_TRUE(isDone);
  EXPECT_TRUE(isCallers);
}

TEST(WorkBeside, WhatTheWorkThrowsComesThrough) {
  EXPECT_THROW(WorkBeside([] { throw std::runtime_error("x"); }, [] {}), std::runtime_error);
}

}  // namespace
