// How code traces: the record statement, and the scope that writes its begin and end.
//
//   ORU_TRACE(oru::kTraceLevelInfo, "setup\t[name] " << "path = " << path);
//
//   oru::TraceScope scope;
//   ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"setup\t[name] ");
//
// A refused statement evaluates none of its arguments. Tracing never changes the outcome of a run:
// what a statement or a scope throws on its way (a tracer, an argument, a channel) is dropped
// there, and a record that is open by then is committed with what it has. The thread's last error
// stays as it was, for the arguments too. An argument doesn't replace the process's tracer.
#ifndef ORU_RTL_TRACE_H_
#define ORU_RTL_TRACE_H_

#include "oru/rtl/trace_inserters.h"
#include "oru/rtl/trace_level.h"
#include "oru/rtl/trace_scope.h"
#include "oru/rtl/trace_statement.h"

#endif  // ORU_RTL_TRACE_H_
