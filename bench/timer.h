// Times cases where Google Benchmark isn't there. Takes those of its options that matter here
// (--benchmark_filter, --benchmark_repetitions, --benchmark_out) and writes its JSON, so that
// scripts needn't know which of the two it was.
//
// A case is timed in slices of half a millisecond by the system's clock, all cases in turn; a slice
// that another process interrupts is longer than the others, and the median of the slices doesn't
// see it. One repetition is the median of a few slices.
#ifndef BENCH_TIMER_H_
#define BENCH_TIMER_H_

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace bench::timer {

struct Case {
  std::string name;
  std::function<double(std::uint64_t)> time;  // nanoseconds for so many runs
  std::uint64_t runs = 1;                     // in a slice
  std::vector<double> repetitions = {};       // nanoseconds a run
};

inline std::vector<Case>& Cases() {
  static std::vector<Case> cases;
  return cases;
}

inline std::string& Failed() {
  static std::string name;
  return name;
}

inline void Fail(const std::string& name) { Failed() = name; }

inline double Nanoseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::nano>(duration).count();
}

template <typename Body>
void Register(const std::string& name, Body body) {
  Cases().push_back({name, [body = std::move(body)](std::uint64_t runs) {
                       const auto start = std::chrono::steady_clock::now();
                       for (std::uint64_t i = 0; i < runs; ++i) body();
                       return Nanoseconds(std::chrono::steady_clock::now() - start);
                     }});
}

// `ready` runs before each body, and isn't timed.
template <typename Body, typename Ready>
void Register(const std::string& name, Body body, Ready ready) {
  Cases().push_back({name, [body = std::move(body), ready = std::move(ready)](std::uint64_t runs) {
                       double sum = 0;
                       for (std::uint64_t i = 0; i < runs; ++i) {
                         ready();
                         const auto start = std::chrono::steady_clock::now();
                         body();
                         sum += Nanoseconds(std::chrono::steady_clock::now() - start);
                       }
                       return sum;
                     }});
}

// So many runs that they take a slice.
inline void Calibrate(Case& one) {
  constexpr double kSlice = 500'000;
  while (one.runs < 1'000'000 && one.time(one.runs) < kSlice) one.runs *= 2;
}

// Nine slices, or as many as a fifth of a second has: what takes longer isn't lengthened much by an
// interruption.
inline double MedianOfSlices(Case& one) {
  constexpr double kEnough = 200'000'000;
  std::vector<double> slices;
  for (double sum = 0; slices.size() < 9 && sum < kEnough; sum += slices.back()) {
    slices.push_back(one.time(one.runs));
  }
  const auto middle = slices.begin() + static_cast<std::ptrdiff_t>(slices.size() / 2);
  std::nth_element(slices.begin(), middle, slices.end());
  return *middle / static_cast<double>(one.runs);
}

inline void Write(const char* file, const std::vector<Case*>& chosen) {
  std::FILE* const out = file != nullptr ? std::fopen(file, "w") : stdout;
  if (out == nullptr) return;
  std::fputs("{\"benchmarks\": [", out);
  const char* separator = "\n";
  for (const Case* one : chosen) {
    for (const double time : one->repetitions) {
      std::fprintf(out, "%s{\"name\": \"%s\", \"run_name\": \"%s\", \"run_type\": \"iteration\", ",
                   separator, one->name.c_str(), one->name.c_str());
      std::fprintf(out, "\"cpu_time\": %.3f, \"time_unit\": \"ns\"}", time);
      separator = ",\n";
    }
  }
  std::fputs("\n]}\n", out);
  if (file != nullptr) std::fclose(out);
}

inline int Run(int argc, char** argv) {
  std::regex filter(".*");
  int repetitions = 5;
  const char* file = nullptr;
  for (int i = 1; i < argc; ++i) {
    const char* const value = std::strchr(argv[i], '=');
    const std::string name(argv[i], value != nullptr ? value - argv[i] : std::strlen(argv[i]));
    if (value == nullptr) continue;
    if (name == "--benchmark_filter") filter = value + 1;
    if (name == "--benchmark_repetitions") repetitions = std::atoi(value + 1);
    if (name == "--benchmark_out") file = value + 1;
  }
  if (!Failed().empty()) {
    std::fprintf(stderr, "%s: the sides don't agree\n", Failed().c_str());
    return 1;
  }
  std::vector<Case*> chosen;
  for (Case& one : Cases()) {
    if (std::regex_search(one.name, filter)) chosen.push_back(&one);
  }
  for (Case* one : chosen) Calibrate(*one);
  for (int i = 0; i < repetitions; ++i) {
    for (Case* one : chosen) one->repetitions.push_back(MedianOfSlices(*one));
  }
  Write(file, chosen);
  return 0;
}

}  // namespace bench::timer

#endif  // BENCH_TIMER_H_
