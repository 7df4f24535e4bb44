// The rehearsal on this machine.
#include "tests/windows_check/child.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"

namespace windows_check {

void CheckRehearsal(Findings& findings, const Scratch& scratch) {
  const ChildOutcome outcome =
      RunChild(ProgramFolder() + L"\\zum_rehearse.exe", L"--all", scratch.Folder(), 300);
  if (!outcome.started || !outcome.ended) {
    findings.Fail("zum_rehearse", outcome.started ? "didn't end in 5 minutes" : "wasn't started");
    return;
  }
  // 2 is for wrong usage; the others tell of the machine.
  const Accepted told{{"status 0", "status 1", "status 3", "status 4", "status 5"},
                      {"status 0", "status 1", "status 3", "status 4", "status 5"}};
  findings.Judge("zum_rehearse", "status " + Decimal(outcome.status), told);
  findings.Append("zum_rehearse --all", outcome.output);
}

}  // namespace windows_check
