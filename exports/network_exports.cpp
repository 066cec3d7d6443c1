// Network: the one-shot extra-header request and the live verdict.
#include "core/log.h"
#include "core/log_lines.h"
#include "exports/korvid_exports.h"
#include "net/extra_header_request.h"
#include "net/live_detection.h"

using namespace korvid;

KORVID_EXPORT int32_t NativeSetAdditionalHttpHeader(const char* header, const char* url) {
  LogMethod("NativeSetAdditionalHttpHeader", log_line::kNativeSetAdditionalHttpHeader);
  return net::ExtraHeaderRequest(header, url);
}

KORVID_EXPORT bool NativeIsLive() {
  LogMethod("NativeIsLive", log_line::kNativeIsLive);
  return net::LiveVerdict();
}
