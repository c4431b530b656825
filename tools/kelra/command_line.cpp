#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "batch.h"
#include "commands/families.h"
#include "whole_file.h"

namespace KELRA::tool {
namespace {

class HelpLayout final : public CLI::Formatter {
 public:
  explicit HelpLayout(std::string usage) : usage_(std::move(usage)) {}

  std::string make_usage(const CLI::App*, std::string) const override {
    return "\n" + usage_ + "\n";
  }

 private:
  const std::string usage_;
};

std::shared_ptr<HelpLayout> Layout(std::string usage) {
  auto layout = std::make_shared<HelpLayout>(std::move(usage));
  layout->column_width(34);
  return layout;
}

constexpr const char* kFooter =
    "\nImages are PNG, TIFF, JPEG, BMP, PGM, PPM or PNM files, 8-bit or 16-bit; the ending of OUT\n"
    "decides its format. Of a TIFF file's pages the first is read. Files of samples alone are "
    "read\n"
    "with --raw and end in .raw when written.\n"
    "'kelra COMMAND --help' shows a command's formula and an example.\n"
    "Exit codes: 0 success, 1 an operation or a file failed, 2 the command line is wrong.\n";

std::string Footer(const Command& command) {
  std::string text;
  if (!command.region_option.empty()) {
    text += "\nREGION is one of\n" + RegionHelp();
  }
  if (command.form == Form::kEach) {
    text +=
        "\nWith several inputs, or when it is a folder, OUT is the folder that the results go "
        "to\nunder their inputs' names; one whose name ends with / is made.\n";
  }
  if (command.form == Form::kSplit) {
    text += "\nThe results go to FOLDER under their inputs' names, numbered from 0: name-0.png.\n";
  }
  return text + "\nExample:\n  " + command.example + "\n";
}

// Runs `parse` on an option's text, and begins what it complains about with the option.
template <class Parse>
void ParseOption(const std::string& name, const std::string& text, const Invocation& invocation,
                 Parse parse) {
  const std::string leader = invocation.command->name + ": " + name + " " + text + ": ";
  try {
    parse();
  } catch (const BadValue& problem) {
    throw UsageError(leader + problem.what());
  } catch (const FileError& problem) {
    throw std::runtime_error(leader + problem.what());
  }
}

// Sets the option both from the user's text and, before that, from its default.
void SetOption(const DeclaredOption& declared, const std::string& text, Invocation* invocation) {
  ParseOption(declared.name, text, *invocation, [&] { declared.parse(text, invocation->options); });
  invocation->texts[declared.name] = text;
}

void AddRawOption(CLI::App* app, Invocation* invocation) {
  const char* name = "--raw";
  app->add_option(
         name,
         [name, invocation](const CLI::results_t& texts) {
           ParseOption(name, texts.front(), *invocation,
                       [&] { ParseValue(texts.front(), &invocation->raw.emplace()); });
           return true;
         },
         "Inputs whose ending names no image format are samples alone, of this size;\n"
         "TYPE is u8, s8, u16, s16, s32, f32 or f64")
      ->type_name(Placeholder(static_cast<const RawLayout*>(nullptr)));
}

void AddOption(const DeclaredOption& declared, CLI::App* app, Invocation* invocation) {
  if (declared.placeholder.empty()) {
    app->add_flag_callback(
        declared.name, [&declared, invocation] { SetOption(declared, "", invocation); },
        declared.description);
    return;
  }
  CLI::Option* option = app->add_option(
      declared.name,
      [&declared, invocation](const CLI::results_t& texts) {
        SetOption(declared, texts.front(), invocation);
        return true;
      },
      declared.description);
  option->type_name(declared.placeholder)->required(declared.required);
  if (!declared.default_text.empty()) {
    option->default_str(declared.default_text);
    SetOption(declared, declared.default_text, invocation);
  }
}

// A command line under construction: the parser and where the values of each command go.
struct CommandLine {
  CLI::App app{"Image operations for machine vision.", "kelra"};
  std::vector<std::unique_ptr<Invocation>> invocations;

  void Add(const Command& command, const std::string& family) {
    Invocation* invocation = invocations.emplace_back(std::make_unique<Invocation>()).get();
    invocation->command = &command;
    invocation->options = command.defaults;

    CLI::App* sub = app.add_subcommand(command.name, command.summary);
    sub->group(family);
    sub->formatter(Layout("  " + command.formula + "\n\nUsage: kelra " + command.name + " " +
                          FilesText(command.form) + " [OPTIONS]"));
    sub->footer(Footer(command));
    sub->add_option("files", invocation->files)->group("");
    for (const DeclaredOption& declared : command.options) {
      AddOption(declared, sub, invocation);
    }
    if (command.form != Form::kCreate) {
      AddRawOption(sub, invocation);
    }
    sub->add_flag("--quiet", invocation->quiet, "No progress bar and no warnings");
    sub->add_flag("--verbose", invocation->verbose, "A line for each file written");
    sub->set_help_flag("-h,--help", "This help");
  }

  bool Has(std::string_view name) const {
    return std::any_of(invocations.begin(), invocations.end(),
                       [&](const auto& invocation) { return invocation->command->name == name; });
  }

  Invocation* Chosen() {
    for (const auto& invocation : invocations) {
      if (app.got_subcommand(invocation->command->name)) {
        return invocation.get();
      }
    }
    return nullptr;
  }
};

void PrintExamples() {
  for (const Family& family : Families()) {
    for (const Command& command : family.commands) {
      std::printf("%s\n", command.example.c_str());
    }
  }
}

}  // namespace

std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv) {
  CommandLine line;
  bool list_examples = false;
  line.app.formatter(Layout("Usage: kelra COMMAND FILES... [OPTIONS]"));
  line.app.footer(kFooter);
  line.app.set_help_flag("-h,--help", "This help");
  line.app.set_version_flag("--version", "kelra " KELRA_VERSION, "The program's version");
  line.app.add_flag("--list-examples", list_examples)->group("");
  for (const Family& family : Families()) {
    for (const Command& command : family.commands) {
      line.Add(command, family.title);
    }
  }

  if (argc > 1 && argv[1][0] != '-' && !line.Has(argv[1])) {
    throw UsageError(std::string(argv[1]) + ": no such command; 'kelra --help' lists them");
  }
  try {
    line.app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    line.app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError& problem) {
    const Invocation* chosen = line.Chosen();
    const std::string name = chosen != nullptr ? chosen->command->name : "";
    throw UsageError((name.empty() ? "" : name + ": ") + problem.what() + "; see 'kelra " +
                     (name.empty() ? "" : name + " ") + "--help'");
  }
  if (list_examples) {
    PrintExamples();
    return std::nullopt;
  }
  Invocation* chosen = line.Chosen();
  if (chosen == nullptr) {
    throw UsageError("no command given; 'kelra --help' lists them");
  }
  return std::move(*chosen);
}

}  // namespace KELRA::tool
