#include "batch.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <system_error>
#include <variant>

#include "image_files.h"
#include "status_text.h"
#include "whole_file.h"

namespace KELRA::tool {
namespace {

namespace fs = std::filesystem;

// One call of the library: the files that go in and the one that comes out.
struct Job {
  std::vector<std::string> inputs;
  fs::path output;  // empty when nothing is written
};

bool NamesFolder(const std::string& path) {
  std::error_code error;
  return path.ends_with('/') || path.ends_with(static_cast<char>(fs::path::preferred_separator)) ||
         fs::is_directory(path, error);
}

void MakeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (!fs::is_directory(folder)) {
    throw FileError(folder, "cannot make the folder" + (error ? ": " + error.message() : ""));
  }
}

fs::path InFolder(const fs::path& folder, const std::string& input) {
  return folder / fs::path(input).filename();
}

// "name-3.png" for "name.png".
fs::path Numbered(const fs::path& path, int number) {
  fs::path name = path.stem();
  name += "-";
  name += std::to_string(number);
  name += path.extension();
  return path.parent_path() / name;
}

// "name.png" for "name-3.png"; nothing for names that Numbered does not give.
fs::path Unnumbered(const fs::path& path) {
  const std::string stem = path.stem().string();
  const std::size_t dash = stem.rfind('-');
  if (dash == std::string::npos) {
    return {};
  }
  int number = 0;
  std::from_chars(stem.data() + dash + 1, stem.data() + stem.size(), number);
  fs::path name = path.parent_path() / stem.substr(0, dash);
  name += path.extension();
  return Numbered(name, number) == path ? name : fs::path();
}

std::vector<Job> JobsIntoFolder(const std::vector<std::string>& inputs, const std::string& folder) {
  std::vector<Job> jobs;
  std::map<fs::path, std::string> input_of;
  for (const std::string& input : inputs) {
    const fs::path output = InFolder(folder, input);
    const auto [other, is_new] = input_of.emplace(output, input);
    if (!is_new) {
      throw UsageError(input + " and " + other->second + " would both be written to " +
                       output.string() + ", expected inputs of different names");
    }
    jobs.push_back({{input}, output});
  }
  MakeFolder(folder);
  return jobs;
}

std::vector<Job> JobsOfEach(std::vector<std::string> files, bool several_outputs) {
  const std::string output = files.back();
  files.pop_back();
  if (NamesFolder(output)) {
    return JobsIntoFolder(files, output);
  }
  if (files.size() > 1 || several_outputs) {
    throw UsageError(
        output + " is not a folder, expected for " +
        (several_outputs ? "several outputs" : std::to_string(files.size()) + " inputs") +
        " an existing folder, or a name with / at its end");
  }
  return {{files, output}};
}

// The same for every way to name a file, which itself may be a link; empty when there is no way to
// it.
fs::path PlaceOf(const fs::path& path) {
  std::error_code error;
  const fs::path folder = fs::canonical(fs::absolute(path).parent_path(), error);
  return error ? fs::path() : folder / path.filename();
}

// How many results an input will have is not known before it has been split: none of the numbers is
// free to be an input.
std::vector<Job> JobsOfSplit(const std::vector<std::string>& files) {
  std::vector<Job> jobs = JobsOfEach(files, true);
  std::map<fs::path, std::string> input_of;
  for (const Job& job : jobs) {
    if (const fs::path place = PlaceOf(job.output); !place.empty()) {
      input_of.emplace(place, job.inputs.front());
    }
  }
  for (const Job& job : jobs) {
    const std::string& input = job.inputs.front();
    const auto splitter = input_of.find(Unnumbered(PlaceOf(input)));
    if (splitter != input_of.end()) {
      throw UsageError("the results of " + splitter->second + " could be written over the input " +
                       input + ", expected another folder");
    }
  }
  return jobs;
}

Job OneJob(std::vector<std::string> files) {
  const std::string output = files.back();
  files.pop_back();
  if (!NamesFolder(output)) {
    return {files, output};
  }
  if (files.empty()) {
    throw UsageError(output + " is a folder, expected the name of a file");
  }
  MakeFolder(output);
  const fs::path in_folder = InFolder(output, files.front());
  return {files, in_folder};
}

std::vector<Job> JobsOfMeasure(const std::vector<std::string>& files) {
  std::vector<Job> jobs;
  jobs.reserve(files.size());
  for (const std::string& file : files) {
    jobs.push_back({{file}, {}});
  }
  return jobs;
}

// The least and, unless 0, the largest number of files of a form.
struct FileCount {
  std::size_t least;
  std::size_t most;
};

FileCount CountOf(Form form) {
  switch (form) {
    case Form::kEach:
    case Form::kReduce:
    case Form::kSplit:
      return {2, 0};
    case Form::kPair:
      return {3, 3};
    case Form::kCreate:
      return {1, 1};
    case Form::kMeasure:
      break;
  }
  return {1, 0};
}

std::vector<Job> JobsOf(const Invocation& invocation) {
  const std::vector<std::string>& files = invocation.files;
  const Form form = invocation.command->form;
  const FileCount count = CountOf(form);
  if (files.size() < count.least || (count.most != 0 && files.size() > count.most)) {
    throw UsageError("got " + std::to_string(files.size()) +
                     (files.size() == 1 ? " file" : " files") + ", expected " + FilesText(form));
  }
  for (const std::string& file : files) {
    if (file.empty()) {
      throw UsageError("got an empty file name, expected " + FilesText(form));
    }
  }
  switch (form) {
    case Form::kEach:
      return JobsOfEach(files, false);
    case Form::kSplit:
      return JobsOfSplit(files);
    case Form::kMeasure:
      return JobsOfMeasure(files);
    case Form::kPair:
    case Form::kReduce:
    case Form::kCreate:
      break;
  }
  return {OneJob(files)};
}

// The files that a message is about.
std::string NameOf(const Job& job) {
  if (job.inputs.empty()) {
    return job.output.string();
  }
  std::string name = job.inputs.front();
  if (job.inputs.size() == 2) {
    name += ", " + job.inputs[1];
  }
  if (job.inputs.size() > 2) {
    name += " and " + std::to_string(job.inputs.size() - 1) + " more";
  }
  return name;
}

// A mask is drawn for images of its own size; on others it would mark the wrong pixels silently.
void CheckMaskFits(const Invocation& invocation, const KelImage& image) {
  const std::string& option = invocation.command->region_option;
  if (option.empty()) {
    return;
  }
  const std::string& text = invocation.texts.at(option);
  const auto* mask =
      std::get_if<KelRegion>(&invocation.command->region(invocation.options).Shape());
  if (mask == nullptr || !NamesMask(text) ||
      (mask->Width() == image.Width() && mask->Height() == image.Height())) {
    return;
  }
  throw std::runtime_error(option + " " + text + ": the mask is " +
                           SizeText(mask->Width(), mask->Height()) +
                           " pixels, expected the image's " + SizeText(image));
}

class Batch {
 public:
  Batch(const Invocation& invocation, std::vector<Job> jobs, Console& console)
      : invocation_(invocation), jobs_(std::move(jobs)), texts_(jobs_.size()), console_(console) {}

  bool Run() {
    const bool progress = jobs_.size() > 1 && console_.IsTerminal() && !invocation_.quiet;
    if (progress) {
      console_.BeginProgress(invocation_.command->name, jobs_.size());
    }
    tbb::parallel_for(
        std::size_t{0}, jobs_.size(),
        [&](std::size_t index) {
          RunGuarded(index);
          if (progress) {
            console_.Step();
          }
        },
        tbb::simple_partitioner());
    if (progress) {
      console_.EndProgress();
    }
    PrintTexts();
    return !failed_;
  }

 private:
  void RunGuarded(std::size_t index) {
    std::string problem;
    try {
      RunJob(jobs_[index], &texts_[index]);
      return;
    } catch (const FileError& error) {
      problem = error.what();
    } catch (const cv::Exception& error) {
      problem = NameOf(jobs_[index]) + ": OpenCV refuses: " + error.err;
    } catch (const std::bad_alloc&) {
      problem = NameOf(jobs_[index]) + ": not enough memory";
    } catch (const std::exception& error) {
      problem = NameOf(jobs_[index]) + ": " + error.what();
    }
    failed_ = true;
    Say(problem);
  }

  void RunJob(const Job& job, std::string* text) {
    Call call;
    for (const std::string& input : job.inputs) {
      ReadResult read = ReadImage(input, invocation_.raw);
      if (!read.warning.empty() && !invocation_.quiet) {
        Say(input + ": warning: " + read.warning);
      }
      call.inputs.push_back(std::move(read.image));
    }
    if (!call.inputs.empty()) {
      CheckMaskFits(invocation_, call.inputs.front());
    }
    std::any options = invocation_.options;
    KelLong status = 0;
    // A thread that waits for the call's rows must not start on another file meanwhile.
    tbb::this_task_arena::isolate([&] { status = invocation_.command->run(call, options); });
    if (status != 0) {
      failed_ = true;
      Say(NameOf(job) + ": " + StatusText(status, invocation_, call.inputs));
      return;
    }
    if (invocation_.command->form == Form::kSplit) {
      for (int i = 0; i < call.outputs.Length(); ++i) {
        Write(job, Numbered(job.output, i), call.outputs[i]);
      }
    } else if (!job.output.empty()) {
      Write(job, job.output, call.output);
    } else if (invocation_.verbose) {
      Say(NameOf(job) + ": done");
    }
    *text = std::move(call.text);
  }

  void Write(const Job& job, const fs::path& output, const KelImage& image) {
    WriteImage(output, image);
    if (invocation_.verbose) {
      Say(NameOf(job) + " -> " + output.string() + " (" + SizeText(image) + ", " +
          DepthText(image.BitDepth()) + ", " + ChannelText(image.Channels()) + ")");
    }
  }

  void PrintTexts() {
    for (std::size_t i = 0; i < jobs_.size(); ++i) {
      if (texts_[i].empty()) {
        continue;
      }
      if (jobs_.size() > 1) {
        std::printf("%s: ", jobs_[i].inputs.front().c_str());
      }
      std::printf("%s\n", texts_[i].c_str());
    }
  }

  void Say(const std::string& text) { console_.Say(invocation_.command->name + ": " + text); }

  const Invocation& invocation_;
  const std::vector<Job> jobs_;
  std::vector<std::string> texts_;
  Console& console_;
  std::atomic<bool> failed_{false};
};

}  // namespace

std::string FilesText(Form form) {
  switch (form) {
    case Form::kEach:
      return "IN OUT, or IN... FOLDER";
    case Form::kPair:
      return "A B OUT";
    case Form::kReduce:
      return "IN... OUT";
    case Form::kCreate:
      return "OUT";
    case Form::kSplit:
      return "IN... FOLDER";
    case Form::kMeasure:
      break;
  }
  return "IN...";
}

bool RunCommand(const Invocation& invocation, Console& console) {
  return Batch(invocation, JobsOf(invocation), console).Run();
}

}  // namespace KELRA::tool
