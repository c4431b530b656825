// What a command is: one declaration, from which the command line, the help, the run over files and
// the messages follow.
#pragma once

#include <KELRA/KelImageOperation.h>

#include <any>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "value_parsing.h"

namespace KELRA::tool {

// What a command makes of the files on its command line.
enum class Form {
  kEach,     // IN OUT, or IN... FOLDER: a result per input
  kPair,     // A B OUT: one result of two inputs
  kReduce,   // IN... OUT: one result of all inputs
  kCreate,   // OUT: one result of no input
  kSplit,    // IN... FOLDER: several results per input
  kMeasure,  // IN...: a printed line per input
};

// One run of a command's library method.
struct Call {
  KelImageOperation operation;
  std::vector<KelImage> inputs;
  KelImage output;        // to be written to the output file
  KelImageArray outputs;  // to be written to the output files, by commands that split
  std::string text;       // to be printed, by commands that measure
};

// What a status that is about an option expected of it, for the images at hand: it follows "must
// be".
using Expectation = std::function<std::string(const std::vector<KelImage>& inputs)>;

Expectation Always(std::string text);

// `lowest` to the largest sample value of the first input's depth.
Expectation SampleRange(int lowest);

struct DeclaredOption {
  std::string name;  // with its dashes
  std::string placeholder;
  std::string description;
  std::string default_text;  // parsed as if the user had given it
  bool required = false;
  // Sets the member that the option stands for.
  std::function<void(std::string_view text, std::any& options)> parse;
};

struct CheckedOption {
  std::string option;
  Expectation expectation;
};

struct Command {
  Form form = Form::kEach;
  std::string name;
  std::string summary;
  std::string formula;
  std::string example;  // runs from the repository's root
  std::vector<DeclaredOption> options;
  std::string region_option;  // the option that holds a region, if there is one
  std::function<const KelROI&(const std::any&)> region;  // its value among the options
  std::map<KelLong, CheckedOption> checked;              // the statuses that tell of an option
  std::any defaults;                                     // the options, before any text is parsed
  std::function<KelLong(Call&, std::any&)> run;  // `any` holds the options of this call alone
};

// Builds the command whose options are the members of `Options`. A member's type decides how its
// text is read; a bool is a flag.
template <class Options>
class CommandBuilder {
 public:
  CommandBuilder(Form form, std::string name, std::string summary) {
    command_.form = form;
    command_.name = std::move(name);
    command_.summary = std::move(summary);
    command_.defaults = Options{};
  }

  CommandBuilder& Formula(std::string text) {
    command_.formula = std::move(text);
    return *this;
  }

  CommandBuilder& Example(std::string text) {
    command_.example = std::move(text);
    return *this;
  }

  template <class Value>
  CommandBuilder& Required(std::string name, Value Options::*member, std::string description) {
    Add(std::move(name), member, std::move(description)).required = true;
    return *this;
  }

  template <class Value>
  CommandBuilder& Optional(std::string name, Value Options::*member,
                           const std::string& default_text, std::string description) {
    Add(std::move(name), member, std::move(description)).default_text = default_text;
    return *this;
  }

  CommandBuilder& Flag(std::string name, bool Options::*member, std::string description) {
    DeclaredOption declared;
    declared.name = std::move(name);
    declared.description = std::move(description);
    declared.parse = [member](std::string_view, std::any& options) {
      std::any_cast<Options&>(options).*member = true;
    };
    command_.options.push_back(std::move(declared));
    return *this;
  }

  // --roi, the whole image unless given.
  CommandBuilder& Region(KelROI Options::*member) {
    command_.region_option = "--roi";
    command_.region = [member](const std::any& options) -> const KelROI& {
      return std::any_cast<const Options&>(options).*member;
    };
    return Optional("--roi", member, "whole", "Where to work; the rest stays as it is");
  }

  // `status` says that `option` is outside what the method accepts.
  CommandBuilder& Checked(KelLong status, std::string option, Expectation expectation) {
    command_.checked[status] = {std::move(option), std::move(expectation)};
    return *this;
  }

  // `method` is called as KelLong(Call&, Options&), possibly by several threads at once; the call
  // and the options are its own.
  template <class Method>
  Command Run(Method method) {
    command_.run = [method](Call& call, std::any& options) {
      return method(call, std::any_cast<Options&>(options));
    };
    return std::move(command_);
  }

 private:
  template <class Value>
  DeclaredOption& Add(std::string name, Value Options::*member, std::string description) {
    static_assert(!std::is_same_v<Value, bool>, "a bool is a flag");
    DeclaredOption declared;
    declared.name = std::move(name);
    declared.placeholder = std::string(Placeholder(static_cast<const Value*>(nullptr)));
    declared.description = std::move(description);
    declared.parse = [member](std::string_view text, std::any& options) {
      ParseValue(text, &(std::any_cast<Options&>(options).*member));
    };
    return command_.options.emplace_back(std::move(declared));
  }

  Command command_;
};

// A command as the user called it.
struct Invocation {
  const Command* command = nullptr;
  std::vector<std::string> files;
  std::any options;
  std::map<std::string, std::string> texts;  // the options' texts, given or default
  std::optional<RawLayout> raw;              // of the inputs that do not tell it
  bool quiet = false;
  bool verbose = false;
};

}  // namespace KELRA::tool
