// Counts of what is open, for the test face: each part of the host layer keeps its own number.
#ifndef WINAPI_HOST_LIVE_H_
#define WINAPI_HOST_LIVE_H_

#include <atomic>
#include <cstddef>

namespace winapi::host {

// Raised where an object comes into being and lowered where it goes, from any thread; read by
// tests, when nothing else runs.
struct LiveCounters {
  std::atomic<std::size_t> keys{0};
  std::atomic<std::size_t> handles{0};
  std::atomic<std::size_t> moduleReferences{0};
  std::atomic<std::size_t> heapBlocks{0};
  std::atomic<std::size_t> localBlocks{0};
  std::atomic<std::size_t> trustStates{0};
};

// Constant-initialised, so static initialisers may count already; never destroyed in effect.
inline constinit LiveCounters liveCounters;

}  // namespace winapi::host

#endif  // WINAPI_HOST_LIVE_H_
