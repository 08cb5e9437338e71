#include "lomarind/process/blocked_signals.h"

#include <pthread.h>

#include <initializer_list>

namespace lomarind {

BlockedSignals::BlockedSignals() {
  sigset_t held;
  sigemptyset(&held);
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&held, signal);
  ::pthread_sigmask(SIG_BLOCK, &held, &previous_);
}

BlockedSignals::~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

}  // namespace lomarind
