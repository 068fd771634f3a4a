#pragma once

#include <string>

#include "zesthost/session.h"
#include "zesthost/trace.h"

namespace zesthost {

// Runs a scenario file line by line, each line in the trace before it runs; false, with the
// file and line in the trace, at the first line that fails. Main thread.
bool run_scenario(Session& session, const std::string& path);

// The plug-in's log lines join `trace` (none: they go nowhere); its debug lines only when
// `verbose`.
void log_into(Trace* trace, bool verbose);

}  // namespace zesthost
