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

}  // namespace

int main(int argc, char** argv) {
  KELRA::tool::Console console;
  const KELRA::tool::CodecMessageCatcher catcher;
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
