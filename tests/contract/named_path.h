// A row of a table of paths that an operation is given, one after the other.
#ifndef TESTS_CONTRACT_NAMED_PATH_H_
#define TESTS_CONTRACT_NAMED_PATH_H_

#include <string>

#include "tests/support/answers.h"
#include "winapi/types.h"

namespace tests {

struct NamedPath {
  const char* name;
  std::u16string path;
  Answers<winapi::Error> error;
};

}  // namespace tests

#endif  // TESTS_CONTRACT_NAMED_PATH_H_
