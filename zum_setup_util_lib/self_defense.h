// Whether the product's self-defence is out of the way.
#ifndef ZUM_SETUP_UTIL_LIB_SELF_DEFENSE_H_
#define ZUM_SETUP_UTIL_LIB_SELF_DEFENSE_H_

namespace correct_setup::detail {

// Tries to create a file in the product's data directory, for some 10 seconds, and deletes it
// again. Throws oru::CheckResultFailedException with rcInvalidSelfDefense when no file can be
// created, or at once when there is no such directory: a machine without the product fails like one
// that still defends itself.
void CheckSelfDefense();

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_SELF_DEFENSE_H_
