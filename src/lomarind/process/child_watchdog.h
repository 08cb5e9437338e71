// Keeping children from outliving this process, however it ends.
//
// Children are started with posix_spawn, which never copies a large host's
// page tables nor needs memory for a copy under strict overcommit, but
// offers no hook between fork and exec where the kernel's parent-death
// signal (prctl) could be set. So every exit path we see kills the child's
// process group (ChildProcess), and for the paths we cannot see (SIGKILL, a
// crash) one small watchdog process per host process, /bin/sh running a
// short script, holds the far end of a socket that only we hold open: when
// we end, the socket closes, and the watchdog kills every group still
// registered with it. It ignores the signals a terminal sends and leads a
// group of its own.
//
// One watchdog serves the whole process: started on first use, started
// again after a fork (a forked child does not own its parent's children)
// or when it died. Registration is best effort: when no watchdog can be
// started, children are still killed on every exit path we see. Internal
// to subprocess; thread-safe.
#pragma once

#include <sys/types.h>

namespace lomarind::subprocess {

// The group led by `pid`, a child of ours, is killed should this process
// end before unwatch_group(pid).
void watch_group(pid_t pid);

// Call before reaping `pid`, so that the watchdog can never kill a group
// whose number a new process may reuse.
void unwatch_group(pid_t pid);

}  // namespace lomarind::subprocess
