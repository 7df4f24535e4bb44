#include "zum_rehearse/beside.h"

#include <chrono>
#include <future>
#include <system_error>

namespace zum_rehearse {
namespace {

constexpr std::chrono::milliseconds kProgressInterval(250);

}  // namespace

void WorkBeside(const std::function<void()>& work, const std::function<void()>& progress) {
  std::future<void> done;
  try {
    done = std::async(std::launch::async, work);
  } catch (const std::system_error&) {
    return work();
  }
  while (done.wait_for(kProgressInterval) != std::future_status::ready) progress();
  done.get();
}

}  // namespace zum_rehearse
