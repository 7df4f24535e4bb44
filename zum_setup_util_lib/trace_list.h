// Lists in the trace: "[ ", the items joined by ",", " ]".
#ifndef ZUM_SETUP_UTIL_LIB_TRACE_LIST_H_
#define ZUM_SETUP_UTIL_LIB_TRACE_LIST_H_

#include <vector>

#include "oru/rtl/trace_inserters.h"

namespace correct_setup {

// Refers to a list that is to be inserted: `stream << TraceList{arguments}`. A list that is a
// temporary lives to the end of that full expression, so a TraceList is never kept beyond it.
template <typename T>
struct TraceList {
  const std::vector<T>& items;
};
template <typename T>
TraceList(const std::vector<T>&) -> TraceList<T>;

template <typename T>
oru::TraceStream& operator<<(oru::TraceStream& stream, const TraceList<T>& list) {
  return oru::InsertList(stream, list.items);
}

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_TRACE_LIST_H_
