#include <toml++/toml.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "KELRA/KelConfig.h"

namespace KELRA {
namespace {

constexpr std::string_view kTable = "image_operation";
constexpr std::string_view kBooleanExpected = "true or false, or 1 or 0";
constexpr std::string_view kIntegerExpected = "a decimal integer from -2147483648 to 2147483647";

struct Settings {
  bool gpu = false;
  int efficiency = 0;
  int tbb = 0;
};

// One line, written in one call so that lines of several processes do not mix.
void Report(const std::string& problem) {
  const std::string line = "KelConfig: " + problem + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void ReportValue(const std::string& where, std::string_view got, std::string_view expected) {
  std::string shown(got);
  for (char& byte : shown) {
    if (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7f) {
      byte = '?';
    }
  }
  Report(where + " is '" + shown + "', expected " + std::string(expected) +
         "; the default is used");
}

std::optional<bool> ToBoolean(const toml::node& node) {
  if (const auto flag = node.value_exact<bool>()) {
    return flag;
  }
  const auto number = node.value_exact<std::int64_t>();
  if (number && (*number == 0 || *number == 1)) {
    return *number == 1;
  }
  return std::nullopt;
}

std::optional<int> ToInteger(const toml::node& node) {
  const auto number = node.value_exact<std::int64_t>();
  if (!number || *number < std::numeric_limits<int>::min() ||
      *number > std::numeric_limits<int>::max()) {
    return std::nullopt;
  }
  return static_cast<int>(*number);
}

std::optional<bool> ToBoolean(std::string_view text) {
  if (text == "true" || text == "1") {
    return true;
  }
  if (text == "false" || text == "0") {
    return false;
  }
  return std::nullopt;
}

std::optional<int> ToInteger(std::string_view text) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end) {
    return std::nullopt;
  }
  return number;
}

std::string Written(const toml::node& node) {
  std::ostringstream text;
  node.visit([&](const auto& value) { text << value; });
  return text.str();
}

// Takes the setting from the file, if it is there, and then from the environment.
template <class Value, class FromNode, class FromText>
void Read(const toml::table& table, std::string_view file, const char* key, const char* variable,
          FromNode from_node, FromText from_text, std::string_view expected, Value* value) {
  const Value initial = *value;
  if (const toml::node* node = table.get(key)) {
    if (const auto got = from_node(*node)) {
      *value = *got;
    } else {
      ReportValue(std::string(file) + ": " + key + " in [" + std::string(kTable) + "]",
                  Written(*node), expected);
    }
  }
  const char* text = std::getenv(variable);
  if (text == nullptr || *text == '\0') {
    return;
  }
  if (const auto got = from_text(std::string_view(text))) {
    *value = *got;
  } else {
    *value = initial;
    ReportValue(variable, text, expected);
  }
}

std::optional<std::string> Contents(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (error || !std::filesystem::exists(status)) {
    Report("KELRA_CONFIG: cannot read '" + path + "', expected a TOML file: " +
           (error ? error : std::make_error_code(std::errc::no_such_file_or_directory)).message());
    return std::nullopt;
  }
  if (!std::filesystem::is_regular_file(status)) {
    Report("KELRA_CONFIG: '" + path + "' is not a regular file, expected a TOML file");
    return std::nullopt;
  }
  std::ifstream file(path, std::ios::binary);
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::string text(error ? 0 : size, '\0');
  if (error || !file.read(text.data(), static_cast<std::streamsize>(text.size()))) {
    Report("KELRA_CONFIG: cannot read '" + path + "', expected a readable TOML file");
    return std::nullopt;
  }
  return text;
}

// The settings table of the file; empty when there is no file, or none that can be used.
toml::table ReadTable(const std::string& path) try {
  if (path.empty()) {
    return {};
  }
  const auto text = Contents(path);
  if (!text) {
    return {};
  }
  toml::table file = toml::parse(*text, path);
  toml::node* node = file.get(kTable);
  if (node == nullptr) {
    return {};
  }
  if (!node->is_table()) {
    ReportValue(path + ": " + std::string(kTable), Written(*node), "a table");
    return {};
  }
  return std::move(*node->as_table());
} catch (const toml::parse_error& error) {
  Report("KELRA_CONFIG: '" + path + "' is not TOML: line " +
         std::to_string(error.source().begin.line) + ": " + std::string(error.description()));
  return {};
}

Settings ReadSettings() {
  const char* named = std::getenv("KELRA_CONFIG");
  const std::string path = named == nullptr ? "" : named;
  const toml::table table = ReadTable(path);

  const auto boolean = [](const auto& source) { return ToBoolean(source); };
  const auto integer = [](const auto& source) { return ToInteger(source); };
  Settings settings;
  Read(table, path, "gpu", "KELRA_GPU", boolean, boolean, kBooleanExpected, &settings.gpu);
  Read(table, path, "efficiency", "KELRA_EFFICIENCY", integer, integer, kIntegerExpected,
       &settings.efficiency);
  Read(table, path, "tbb", "KELRA_TBB", integer, integer, kIntegerExpected, &settings.tbb);
  return settings;
}

// The caller may be a library's load-time code, where nothing could catch an exception.
Settings ReadSettingsOrDefaults() noexcept {
  try {
    return ReadSettings();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "KelConfig: %s; the defaults are used\n", failure.what());
    return {};
  }
}

const Settings& ProcessSettings() {
  static const Settings settings = ReadSettingsOrDefaults();
  return settings;
}

template <class Value>
KelLong Give(Value Settings::*setting, Value* value) {
  if (value == nullptr) {
    return KEL_CONFIG_ERR_OUTPUT;
  }
  *value = ProcessSettings().*setting;
  return 0;
}

}  // namespace

KelLong KelGetStaticGPU(bool* value) { return Give(&Settings::gpu, value); }

KelLong KelGetStaticEfficiency(int* value) { return Give(&Settings::efficiency, value); }

KelLong KelGetStaticTBB(int* value) { return Give(&Settings::tbb, value); }

}  // namespace KELRA
