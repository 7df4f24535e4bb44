// Writes the text form of a registry, "Windows Registry Editor Version 5.00", as Windows' export
// does.
#ifndef WINAPI_HOST_REG_FILE_WRITER_H_
#define WINAPI_HOST_REG_FILE_WRITER_H_

#include <functional>
#include <string>
#include <string_view>

#include "winapi/host/registry_tree.h"

namespace winapi::host {

// UTF-16, low byte first, with the byte-order mark; lines end in CR LF. ParseRegFile gives an equal
// tree back, byte for byte of all data. Every key below a hive is written, keys and values in
// enumeration order; a hive itself only where it holds values.
//
// A REG_SZ is written as "text" where that carries it exactly: an even number of bytes, one
// terminating zero, no other zero and no control character (what a line break in quotes means
// differs from reader to reader). Else it is hex(1):. A REG_DWORD of other than 4 bytes is hex(4):.
[[nodiscard]] std::string WriteRegFile(const RegistryTree& tree);

// The same in portions, so that a large registry needn't be in memory as text too. `write` gets
// them in their order and says whether to go on; false when it has said no.
bool WriteRegFile(const RegistryTree& tree, const std::function<bool(std::string_view)>& write);

}  // namespace winapi::host

#endif  // WINAPI_HOST_REG_FILE_WRITER_H_
