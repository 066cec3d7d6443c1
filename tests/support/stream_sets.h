// Adaptive-streaming sets made by ffmpeg's own HLS and DASH muxers, so that
// tests scan what real packagers write. Each set is generated once per test
// process under the working directory and reused; the functions return the
// set's directory (absolute), ready for HttpServer::serveDirectory.
#pragma once

#include <string>

namespace korvid::test {

// master.m3u8 naming one variant, low/index.m3u8, an on-demand media playlist
// ending in #EXT-X-ENDLIST, and its two 1-second segments low/index*.ts.
std::string HlsOnDemandSet();

// The same layout, but low/index.m3u8 is a sliding window of two segments
// without #EXT-X-ENDLIST, as a live packager leaves it.
std::string HlsLiveSet();

// manifest.mpd (type="static"), init-stream0.m4s and its chunk segments.
std::string DashSet();

}  // namespace korvid::test
