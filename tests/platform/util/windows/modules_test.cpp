#include "platform/util/windows/modules.h"

#include <gtest/gtest.h>

#include "winapi/errors.h"
#include "winapi/modules.h"

namespace windows_helpers {
namespace {

void NotWhatIsLookedFor() {}

TEST(FindProcedureTest, InAModuleThatIsNotLoaded) {
  winapi::Procedure procedure = &NotWhatIsLookedFor;
  EXPECT_EQ(FindProcedure(u"zum_no_such_module.dll", "RegOpenKeyExW", procedure),
            winapi::kErrorModuleNotFound);
  EXPECT_EQ(procedure, nullptr);
}

TEST(FindProcedureTest, ThatTheModuleHasNot) {
  winapi::Procedure procedure = &NotWhatIsLookedFor;
  EXPECT_EQ(FindProcedure(u"kernel32.dll", "ZumNoSuchFunction", procedure),
            winapi::kErrorProcedureNotFound);
  EXPECT_EQ(procedure, nullptr);
}

}  // namespace
}  // namespace windows_helpers
