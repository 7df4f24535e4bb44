// The writers of the rehearsal's reports, on reports of any content: what is written parses back to
// the same.
#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/report_checks.h"
#include "fuzz/report_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool all = input.ConsumeBool();
  const zum_rehearse::Report report = fuzz::TakeReport(input);
  fuzz::CheckJson(report, all);
  fuzz::CheckCsv(report, all);
  fuzz::CheckHtml(report, all);
  fuzz::CheckRegFiles(report);
  return 0;
}
