// The cached video size the size queries report.
#pragma once

#include <cstdint>

namespace korvid {

// Width and height as the last size query read them; start-up sets both to 0.
void ResetVideoSize();
uint32_t QueryVideoWidth();
uint32_t QueryVideoHeight();

}  // namespace korvid
