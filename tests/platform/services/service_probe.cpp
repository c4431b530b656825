// service_probe config                       prints the three settings, as all of 8 threads get
// them service_probe log <message>...             one record each; the message `null` is a null
// pointer service_probe log-many <threads> <count> <length> service_probe log-time nanoseconds that
// one logger with two records takes
#include <KELRA/KelConfig.h>
#include <KELRA/KelLog.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string SettingsText() {
  bool gpu = false;
  int efficiency = 0;
  int tbb = 0;
  const bool read = KELRA::KelGetStaticGPU(&gpu) == 0 &&
                    KELRA::KelGetStaticEfficiency(&efficiency) == 0 &&
                    KELRA::KelGetStaticTBB(&tbb) == 0;
  if (!read) {
    return "failed";
  }
  return std::string(gpu ? "true" : "false") + " " + std::to_string(efficiency) + " " +
         std::to_string(tbb);
}

int PrintSettings() {
  std::vector<std::string> seen(8);
  std::vector<std::thread> threads;
  for (std::string& text : seen) {
    threads.emplace_back([&text] { text = SettingsText(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::string& text : seen) {
    if (text != seen.front()) {
      return 1;
    }
  }
  std::printf("%s\n", seen.front().c_str());
  return 0;
}

int LogMessages(int count, char** messages) {
  KELRA::KelFastLoggerPrivate logger;
  for (int i = 0; i < count; ++i) {
    const char* text = std::strcmp(messages[i], "null") == 0 ? nullptr : messages[i];
    const char* module = text == nullptr ? nullptr : "Module";
    const char* function = text == nullptr ? nullptr : "Function";
    if (logger.Log(text, module, function, 100 + i) != 0) {
      return 1;
    }
  }
  return 0;
}

int LogMany(int thread_count, int count, std::size_t length) {
  std::vector<std::thread> threads;
  for (int t = 0; t < thread_count; ++t) {
    threads.emplace_back([=] {
      const std::string message(length, static_cast<char>('a' + t));
      KELRA::KelFastLoggerPrivate logger;
      for (int i = 0; i < count; ++i) {
        logger.Log(message.c_str(), "M", "F", i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return 0;
}

int PrintLogTime() {
  constexpr int call_count = 10'000'000;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < call_count; ++i) {
    KELRA::KelFastLoggerPrivate logger;
    logger.Log("start", "KelImageOperation", "AddConst", i);
    logger.Log("end", "KelImageOperation", "AddConst", i);
  }
  const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  std::printf("%.3f\n", spent.count() / call_count);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what == "config") {
    return PrintSettings();
  }
  if (what == "log") {
    return LogMessages(argc - 2, argv + 2);
  }
  if (what == "log-many" && argc == 5) {
    return LogMany(std::stoi(argv[2]), std::stoi(argv[3]), std::stoul(argv[4]));
  }
  if (what == "log-time") {
    return PrintLogTime();
  }
  return 2;
}
