// Version, logging, start-up and shut-down.
#include "core/engine_lifecycle.h"
#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_record.h"
#include "exports/korvid_exports.h"

using namespace korvid;

KORVID_EXPORT void NativeSetLogLevel(uint8_t level) { SetLogEnabled(level); }

KORVID_EXPORT uint8_t NativeGetVersionMajor() { return kVersionMajor; }
KORVID_EXPORT uint8_t NativeGetVersionMinor() { return kVersionMinor; }
KORVID_EXPORT uint8_t NativeGetVersionPatch() { return kVersionPatch; }

KORVID_EXPORT int32_t NativeInit(uint8_t logLevel) {
  LogMethod("NativeInit", log_line::kNativeInit);  // under the previous log switch
  return StartEngine(logLevel);
}

KORVID_EXPORT void NativeShutdown() {
  LogMethod("NativeShutdown", log_line::kNativeShutdown);
  ShutdownEngine();
}
