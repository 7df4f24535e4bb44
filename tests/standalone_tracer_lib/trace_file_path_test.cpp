#include "standalone_tracer_lib/trace_file_path.h"

#include <gtest/gtest.h>

#include <string>

#include "oru/rtl/string.h"
#include "oru/system/datetime/datetime.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/text.h"

namespace standalone::trace {
namespace {

using tests::Narrow;

TEST(JoinNameTest, PutsOneSeparatorWhereThereIsNone) {
  struct Case {
    const char* name;
    const char16_t* directory;
    const char16_t* file;
    const char16_t* expected;
  };
  const Case cases[] = {
      {"plain", u"C:\\t", u"n", u"C:\\t\\n"},
      {"trailing backslash", u"C:\\t\\", u"n", u"C:\\t\\n"},
      {"trailing slash", u"C:/t/", u"n", u"C:/t/n"},
      {"slashes inside", u"C:/t", u"n", u"C:/t\\n"},
      {"two separators", u"C:\\t\\\\", u"n", u"C:\\t\\\\n"},
      {"separator alone", u"\\", u"n", u"\\n"},
      {"drive alone", u"C:", u"n", u"C:\\n"},
      {"empty directory", u"", u"n", u"n"},
      {"relative", u"t", u"n", u"t\\n"},
      {"current", u".", u"n", u".\\n"},
      {"empty name", u"C:\\t", u"", u"C:\\t"},
      {"empty name, separator", u"C:\\t\\", u"", u"C:\\t\\"},
      {"both empty", u"", u"", u""},
      {"name with a separator in front", u"C:\\t", u"\\n", u"C:\\t\\\\n"},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(detail::JoinName(row.directory, row.file), row.expected) << row.name;
  }
}

TEST(JoinNameTest, CountsPastAnEmbeddedZero) {
  const oru::String16 directory(u"a\0b", 3);
  EXPECT_EQ(detail::JoinName(directory, u"n").view(), std::u16string_view(u"a\0b\\n", 5));
}

TEST(MakeFileTimeStampTest, PadsEachPart) {
  // The local zone moves the day and the hour; the form stays.
  const std::string stamp = MakeFileTimeStamp(tests::Instant(2026, 1, 2, 3, 4, 5));
  const winapi::SystemTime local =
      oru::datetime::ToLocalSystemTime(tests::Instant(2026, 1, 2, 3, 4, 5));
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d-%02d-%02d-%02d", local.wYear, local.wMonth,
                local.wDay, local.wHour, local.wMinute, local.wSecond);
  EXPECT_EQ(stamp, text);
  EXPECT_EQ(stamp.size(), 19u);
}

TEST(MakeTraceFilePathTest, HasPrefixTimeWordAndExtension) {
  for (const std::string word : {"all", "srv"}) {
    const oru::String16 component(std::u16string(word.begin(), word.end()));
    const std::string path = Narrow(MakeTraceFilePath(u"C:\\t", component).view());
    EXPECT_TRUE(tests::Matches(path, "C:\\t\\zum-setup-util-####-##-##-##-##-##-" + word + ".log"))
        << path;
  }
}

TEST(MakeTraceFilePathTest, TakesTheDirectoryAsItStands) {
  struct Case {
    const char16_t* directory;
    const char* before;
  };
  const Case cases[] = {{u"", ""},
                        {u"C:/t/", "C:/t/"},
                        {u"C:\\t\\", "C:\\t\\"},
                        {u"..\\t", "..\\t\\"},
                        {u"\"C:\\t\"", "\"C:\\t\"\\"}};
  for (const Case& row : cases) {
    const std::string path = Narrow(MakeTraceFilePath(row.directory, u"all").view());
    const std::string name = "zum-setup-util-####-##-##-##-##-##-all.log";
    EXPECT_TRUE(tests::Matches(path, row.before + name)) << path;
  }
}

TEST(MakeTraceFilePathTest, HasTheLocalTimeOfThisMoment) {
  constexpr char format[] = "zum-setup-util-%Y-%m-%d-%H-%M-%S-all.log";
  const std::string before = tests::LocalTime(format);
  const std::string name = Narrow(MakeTraceFilePath(u"", u"all").view());
  const std::string after = tests::LocalTime(format);
  EXPECT_GE(name, before);
  EXPECT_LE(name, after);
}

}  // namespace
}  // namespace standalone::trace
