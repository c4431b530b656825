#include <cstdio>
#include <exception>

#include "batch.h"
#include "codec_messages.h"
#include "command_line.h"
#include "console.h"
#include "interruption.h"

namespace {

constexpr int kFailure = 1;
constexpr int kWrongUsage = 2;

int Run(int argc, char** argv, KELRA::tool::Console& console) {
  const auto invocation = KELRA::tool::ParseCommandLine(argc, argv);
  if (!invocation) {
    return 0;
  }
  try {
    return KELRA::tool::RunCommand(*invocation, console) ? 0 : kFailure;
  } catch (const KELRA::tool::UsageError& problem) {
    throw KELRA::tool::UsageError(invocation->command->name + ": " + problem.what());
  }
}

// Runs the program and tells what went wrong; returns its exit code.
int RunAndTell(int argc, char** argv, KELRA::tool::Console& console) {
  try {
    KELRA::tool::EndCleanlyOnSignals();
    return Run(argc, argv, console);
  } catch (const KELRA::tool::UsageError& problem) {
    console.Say(problem.what());
    return kWrongUsage;
  } catch (const std::exception& problem) {
    console.Say(problem.what());
  } catch (...) {
    console.Say("an unknown error");
  }
  return kFailure;
}

// Whether all that was printed has left the program, in this moment or before.
bool OutputIsWritten() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }

}  // namespace

int main(int argc, char** argv) {
  KELRA::tool::Console console;
  const KELRA::tool::CodecMessageCatcher catcher;
  const int exit_code = RunAndTell(argc, argv, console);
  if (!OutputIsWritten()) {
    console.Say("standard output cannot be written");
    return exit_code == 0 ? kFailure : exit_code;
  }
  return exit_code;
}
