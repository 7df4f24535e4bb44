// A trace file as a test looks at it.
#ifndef TESTS_STANDALONE_TRACER_LIB_TRACE_FILE_H_
#define TESTS_STANDALONE_TRACER_LIB_TRACE_FILE_H_

#include <initializer_list>
#include <string>
#include <string_view>

#include "oru/rtl/string.h"
#include "tests/support/temporary_folder.h"

namespace tests {

// A whole file, typed by hand: of a process 4660 with a thread 0x1a2c, in a zone three hours ahead.
inline constexpr char kExampleFile[] =
    "TVX TRACE FILE\tTime: 15.11.2026 05:27  PID: 4660(0x1234)\r\n"
    "Command line: Command line: zum_setup_util.exe --trace-output=C:\\t /unblock\r\n"
    "Time(UTC) : 15.11.2026 02:27  \r\n"
    "\r\n"
    "\r\n"
    "05:27:41.031\t0x1a2c\tINF\tzs_util\t[main]  begin\r\n"
    "05:27:41.094\t0x1a2c\tINF\tzs_util\t[main]  end\r\n"
    "05:27:41.095\t0x1a2c\tINF\tzs_util\t[main] exit with result = 0x00000000\r\n"
    "End of trace file, time: 15.11.2026 05:27:41\r\n";

// True when the text is the pattern, in which "#" stands for a decimal digit.
[[nodiscard]] bool Matches(std::string_view text, std::string_view pattern);

// The text with its times replaced by what they are: "<day minute>", "<day second>", "<time of
// day>".
[[nodiscard]] std::string MaskTimes(const std::string& text);

// The text with the numbers of a process and its threads replaced: "PID: <process>(0x<process>)"
// and "0x<thread>".
[[nodiscard]] std::string MaskIdentity(const std::string& text);

// What a file looks like with its times masked: header, the lines between, footer. A line is what
// stands behind the thread, from the level on.
[[nodiscard]] std::string ExpectedFile(const std::string& commandLine,
                                       const std::initializer_list<std::string>& lines);

// This moment in local and in UTC, by the C library, in the words of strftime.
[[nodiscard]] std::string LocalTime(const char* format);
[[nodiscard]] std::string UtcTime(const char* format);

// A path of the folder as the product takes it.
[[nodiscard]] oru::String16 PathIn(const TemporaryFolder& folder, const char16_t* name);

}  // namespace tests

#endif  // TESTS_STANDALONE_TRACER_LIB_TRACE_FILE_H_
