// Runs code in a child that is a copy of this process.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace kelra_test {

// Forks, and returns the exit code that `run` gives in the child; -1 when a signal ends it. A child
// that hangs ends by an alarm.
template <class Run>
int ExitCodeOfFork(Run run) {
  constexpr unsigned kSeconds = 30;
  const pid_t child = fork();
  if (child == 0) {
    alarm(kSeconds);
    _exit(run());
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
    return -1;
  }
  return WEXITSTATUS(status);
}

}  // namespace kelra_test
