#include "interruption.h"

#if !defined(_WIN32)

#include <pthread.h>

#include <csignal>
#include <thread>

#include "whole_file.h"

namespace KELRA::tool {
namespace {

bool IsIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// A thread of its own can take locks, as a signal handler cannot.
void EndOnSignal(sigset_t awaited) {
  int signal = 0;
  sigwait(&awaited, &signal);
  const auto no_more_writes = AbandonWrites();
  pthread_sigmask(SIG_UNBLOCK, &awaited, nullptr);
  raise(signal);
}

}  // namespace

void EndCleanlyOnSignals() {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
  sigset_t awaited;
  sigemptyset(&awaited);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    if (!IsIgnored(signal)) {
      sigaddset(&awaited, signal);
    }
  }
  // Threads inherit what is blocked, so that only the one that waits gets these signals.
  pthread_sigmask(SIG_BLOCK, &awaited, nullptr);
  std::thread(EndOnSignal, awaited).detach();
}

}  // namespace KELRA::tool

#else

namespace KELRA::tool {

void EndCleanlyOnSignals() {}

}  // namespace KELRA::tool

#endif
