// An operator new that throws something outside the standard library's family, once, when told to.
#ifndef TESTS_STANDALONE_TRACER_LIB_THROWING_NEW_H_
#define TESTS_STANDALONE_TRACER_LIB_THROWING_NEW_H_

namespace tests {

struct ForeignException {};

// The next allocation outside the seam throws a ForeignException and sets this back.
extern bool throwForeignException;

}  // namespace tests

#endif  // TESTS_STANDALONE_TRACER_LIB_THROWING_NEW_H_
