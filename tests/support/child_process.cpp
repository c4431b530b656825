#include "child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace kelra_test {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File TemporaryFile() {
  File file(std::tmpfile(), &std::fclose);
  if (!file) {
    throw std::runtime_error("cannot make a temporary file");
  }
  return file;
}

std::string Contents(std::FILE* file) {
  std::rewind(file);
  std::string text;
  std::array<char, 4096> part{};
  while (const std::size_t got = std::fread(part.data(), 1, part.size(), file)) {
    text.append(part.data(), got);
  }
  return text;
}

// What the terminal's other end received until its last user went away.
std::string Contents(int terminal) {
  std::string text;
  std::array<char, 4096> part{};
  ssize_t got = 0;
  while ((got = read(terminal, part.data(), part.size())) > 0) {
    text.append(part.data(), static_cast<std::size_t>(got));
  }
  return text;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

std::string_view NameOf(std::string_view variable) {
  return variable.substr(0, variable.find('='));
}

std::vector<std::string> ChildEnvironment(const std::vector<std::string>& added) {
  std::vector<std::string> all = added;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view name = NameOf(*entry);
    const bool is_replaced = std::any_of(
        added.begin(), added.end(), [&](const auto& variable) { return NameOf(variable) == name; });
    if (!is_replaced && !name.starts_with("KELRA_")) {
      all.emplace_back(*entry);
    }
  }
  return all;
}

int Start(std::vector<std::string> command, const std::vector<std::string>& environment,
          const std::string& folder, int out, int err) {
  std::vector<std::string> variables = ChildEnvironment(environment);
  const std::vector<char*> arguments = Pointers(command);
  const std::vector<char*> environment_pointers = Pointers(variables);
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error("cannot fork");
  }
  if (child == 0) {
    // A shell that runs the tests in the background has these ignored.
    signal(SIGHUP, SIG_DFL);
    signal(SIGINT, SIG_DFL);
    const int in = open("/dev/null", O_RDONLY);
    if (dup2(in, STDIN_FILENO) < 0 || dup2(out, STDOUT_FILENO) < 0 ||
        dup2(err, STDERR_FILENO) < 0) {
      _exit(126);
    }
    if (!folder.empty() && chdir(folder.c_str()) != 0) {
      _exit(126);
    }
    execve(arguments[0], arguments.data(), environment_pointers.data());
    _exit(127);
  }
  return child;
}

void Await(int child, ChildResult* result) {
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status)) {
    result->exit_code = WEXITSTATUS(status);
  } else {
    result->signal = WTERMSIG(status);
  }
}

}  // namespace

ChildResult RunChild(const std::vector<std::string>& command,
                     const std::vector<std::string>& environment, const std::string& folder,
                     const std::function<void(int child)>& meanwhile) {
  const File out = TemporaryFile();
  const File err = TemporaryFile();
  const int child = Start(command, environment, folder, fileno(out.get()), fileno(err.get()));
  if (meanwhile) {
    meanwhile(child);
  }
  ChildResult result;
  Await(child, &result);
  result.out = Contents(out.get());
  result.err = Contents(err.get());
  return result;
}

ChildResult RunChildOnTerminal(const std::vector<std::string>& command,
                               const std::vector<std::string>& environment,
                               const std::string& folder) {
  const int ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (ours < 0 || grantpt(ours) != 0 || unlockpt(ours) != 0) {
    throw std::runtime_error("cannot open a terminal");
  }
  const int theirs = open(ptsname(ours), O_RDWR | O_NOCTTY | O_CLOEXEC);
  const File out = TemporaryFile();
  const int child = Start(command, environment, folder, fileno(out.get()), theirs);
  close(theirs);
  ChildResult result;
  result.err = Contents(ours);
  close(ours);
  Await(child, &result);
  result.out = Contents(out.get());
  return result;
}

}  // namespace kelra_test
