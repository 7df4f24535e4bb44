// The program's run, from its first act to the code that it ends with.
#ifndef ZUM_SETUP_UTIL_RUN_H_
#define ZUM_SETUP_UTIL_RUN_H_

#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"

namespace zum_setup_util {

// Runs what the process's command line asks for, and gives the outcome, whose 32 bits are the exit
// status: 0 for success, else the code of the failure. Reports it on std::cout, as "Completed" or
// "Failed: " with the code and its text, without a line end and without a flush.
//
// Does in this order: narrows the search for modules, arms the handler of reported checks, reads
// the arguments, installs a file tracer for "--trace-output=", rewrites the installer's records for
// "/unblock", reports, traces the outcome, removes the handler. The tracer stays installed.
//
// An exception of the standard base becomes the outcome. One that is thrown behind the action is
// given back as a code with nothing printed or traced. All other exceptions pass through.
[[nodiscard]] oru::ResultCode RunSetupUtil();

namespace detail {

// What the program prints for an outcome, in the C library's 8-bit encoding.
[[nodiscard]] oru::String8 MakeReport(oru::ResultCode result);

}  // namespace detail

}  // namespace zum_setup_util

#endif  // ZUM_SETUP_UTIL_RUN_H_
