// The cases of a benchmark: "ROW/SIDE/NUMBER", where the side "ours" is the product and every other
// one is a named peer, and what is run again and again under that name. Natively Google Benchmark
// times them; it isn't packaged for the Windows target, where timer.h does.
#ifndef BENCH_CASES_H_
#define BENCH_CASES_H_

#include <cstddef>
#include <string>
#include <utility>

#ifdef _WIN32
#include "bench/timer.h"
#else
#include <benchmark/benchmark.h>
#endif

namespace bench {

// What was computed counts as used, and memory as read and written.
template <typename T>
void Keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

inline std::string CaseName(const std::string& row, const char* side, std::size_t number) {
  return row + "/" + side + "/" + std::to_string(number);
}

template <typename Body>
void Add(const std::string& row, const char* side, std::size_t number, Body body) {
  const std::string name = CaseName(row, side, number);
#ifdef _WIN32
  timer::Register(name, std::move(body));
#else
  benchmark::RegisterBenchmark(name.c_str(), [body = std::move(body)](benchmark::State& state) {
    while (state.KeepRunning()) body();
  });
#endif
}

// The same where each run needs something that is made ready before it, and not timed.
template <typename Ready, typename Body>
void AddPrepared(const std::string& row, const char* side, std::size_t number, Ready ready,
                 Body body) {
  const std::string name = CaseName(row, side, number);
#ifdef _WIN32
  timer::Register(name, std::move(body), std::move(ready));
#else
  benchmark::RegisterBenchmark(
      name.c_str(), [ready = std::move(ready), body = std::move(body)](benchmark::State& state) {
        while (state.KeepRunning()) {
          state.PauseTiming();
          ready();
          state.ResumeTiming();
          body();
        }
      });
#endif
}

// A case whose result isn't the peer's: the run ends with an error.
inline void AddFailure(const std::string& row, const char* side, std::size_t number) {
  const std::string name = CaseName(row, side, number);
#ifdef _WIN32
  timer::Fail(name);
#else
  benchmark::RegisterBenchmark(
      name.c_str(), [](benchmark::State& state) { state.SkipWithError("the sides don't agree"); });
#endif
}

inline int Run(int argc, char** argv) {
#ifdef _WIN32
  return timer::Run(argc, argv);
#else
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
#endif
}

}  // namespace bench

#endif  // BENCH_CASES_H_
