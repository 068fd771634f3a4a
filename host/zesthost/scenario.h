#pragma once

#include <functional>
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

// The body of a host's main: loads the English texts and the plug-in into a session whose log
// joins a new trace, runs `body` on it, then checks the host contract. Its exit code: 0 when
// everything passed, 1 otherwise. Main thread.
int run_host(const char* english_table, const std::string& plugin, bool verbose,
             const std::function<bool(Session&)>& body);

}  // namespace zesthost
