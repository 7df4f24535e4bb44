// A machine of the host: a tree of its own that files made, or the store's.
#ifndef WINAPI_REHEARSAL_HOST_MACHINE_H_
#define WINAPI_REHEARSAL_HOST_MACHINE_H_

#include "winapi/host/registry_tree.h"
#include "winapi/rehearsal.h"
#include "winapi/types.h"

namespace winapi::rehearsal {

class MachineContent {
 public:
  host::RegistryTree tree;  // unused for the store's
  bool isStore = false;
};

}  // namespace winapi::rehearsal

#endif  // WINAPI_REHEARSAL_HOST_MACHINE_H_
