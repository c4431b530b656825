#include "frame/call_log.h"

namespace KELRA {
namespace {

constexpr char kModule[] = "KelImageOperation";
constexpr char kStart[] = "start";
// Readers of the log expect the word for "end" in GBK.
constexpr char kExit[] = "KelImageOperation\xBD\xE1\xCA\xF8";

thread_local bool t_paused = false;

}  // namespace

LogPause::LogPause() { t_paused = true; }
LogPause::~LogPause() { t_paused = false; }

CallLog::CallLog(const LogLines& lines) : lines_(lines), paused_(t_paused) {
  if (!paused_) {
    logger_.Log(kStart, kModule, lines_.function, lines_.start);
  }
}

void CallLog::Exit() {
  if (!paused_) {
    logger_.Log(kExit, kModule, lines_.function, lines_.exit);
  }
}

}  // namespace KELRA
