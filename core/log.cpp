#include "core/log.h"

#include <atomic>
#include <cstdio>

namespace korvid {
namespace {

std::atomic<uint8_t> logEnabled{0};

}  // namespace

void LogMethod(const char* method, int line) {
  if (logEnabled.load(std::memory_order_relaxed) != 0) {
    std::printf("Korvid Native Windows Log : method : %s (L %d) \n", method, line);
  }
}

void LogAlways(const char* text) { std::fputs(text, stdout); }

void SetLogEnabled(uint8_t value) { logEnabled.store(value, std::memory_order_relaxed); }

uint8_t LogEnabled() { return logEnabled.load(std::memory_order_relaxed); }

}  // namespace korvid
