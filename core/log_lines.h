// The fixed line numbers printed beside each method name in the log.
// Hosts match on these texts, so they never change with the code around them.
#pragma once

namespace korvid::log_line {

// engine start-up and shut-down
inline constexpr int kNativeInit = 1753;
inline constexpr int kNativeShutdown = 1258;

// event queue
inline constexpr int kNativeQueueIsEmpty = 1552;
inline constexpr int kNativeQueuePop = 1558;
inline constexpr int kNativeQueueFrontIsString = 1566;
inline constexpr int kNativeQueueFrontString = 1572;
inline constexpr int kNativeQueueFrontParamEvent = 1577;
inline constexpr int kNativeQueueFrontParam1 = 1586;
inline constexpr int kNativeQueueFrontParam2 = 1595;
inline constexpr int kNativeQueueFrontParam3 = 1604;
inline constexpr int kGetNativeQueueSize = 1612;

// engine event handlers
inline constexpr int kOpening = 1087;
inline constexpr int kBuffering = 1000;
inline constexpr int kPlaying = 1058;
inline constexpr int kPaused = 1076;
inline constexpr int kStopped = 1095;
inline constexpr int kEndOfContent = 1110;
inline constexpr int kTimeChanged = 1135;

// opening and transport
inline constexpr int kNativeOpenURI = 1140;
inline constexpr int kNativeStartPlayBack = 1365;
inline constexpr int kNativePause = 1396;
inline constexpr int kNativeResume = 1422;
inline constexpr int kNativeStop = 1439;
inline constexpr int kNativeSeek = 1473;
inline constexpr int kNativeClose = 1502;

// queries and settings
inline constexpr int kNativeGetCurrentTime = 1621;
inline constexpr int kNativeGetTotalTime = 1656;
inline constexpr int kNativeGetVideoHeight = 1698;
inline constexpr int kNativeGetVideoWidth = 1725;
inline constexpr int kNativeGetPlayerState = 2002;
inline constexpr int kVLCtoKorvidState = 2342;
inline constexpr int kNativeSetMute = 1956;
inline constexpr int kNativeSetVolume = 1971;
inline constexpr int kNativeSetAutoPlay = 1993;
inline constexpr int kNativeSetProperty = 2031;
inline constexpr int kNativeSetLoop = 1986;
inline constexpr int kNativeSetLowLatency = 2083;
inline constexpr int kNativeGetMilisecondsEndBuffered = 1950;
inline constexpr int kNativeSetContentInfo = 1342;
inline constexpr int kNativeGetContentInfo = 1359;

// video callbacks and frame delivery
inline constexpr int kSdlLock = 500;
inline constexpr int kSdlLock0 = 513;
inline constexpr int kSdlLock1 = 523;
inline constexpr int kSdlLock2 = 533;
inline constexpr int kSdlLock3 = 543;
inline constexpr int kNativeGetRawData = 713;
inline constexpr int kNativeGetMultipleRawData = 738;
inline constexpr int kNativeSetTextureFromUnity = 705;
inline constexpr int kNativeSetHWND = 689;

// multi-instance
inline constexpr int kNativeSetMultiStream = 2244;
inline constexpr int kNativeSetMultiPaths = 2257;
inline constexpr int kNativeSetMultiProperty = 2327;
inline constexpr int kNativeSetMultiHTTPHeader = 2332;
inline constexpr int kNativeStartChosenPlayer = 2268;
inline constexpr int kNativeControlInstance = 2263;
inline constexpr int kNativeMultiInstanceStop = 1461;
inline constexpr int kNativeMultiInstanceGetCurrentTime = 1643;
inline constexpr int kNativeMultiInstanceGetTotalTime = 1682;
inline constexpr int kNativeMultiInstanceIsLive = 699;

// network and live detection
inline constexpr int kNativeSetAdditionalHttpHeader = 2040;
inline constexpr int kCheckLiveStreaming = 577;
inline constexpr int kNativeIsLive = 693;

// subtitles
inline constexpr int kNativeOpenSubtitleURI = 1221;
inline constexpr int kNativeUpdateSubtitle = 806;
inline constexpr int kNativeCheckSpuContent = 767;
inline constexpr int kNativeSetActiveSpuContent = 783;
inline constexpr int kKORVIDUnity_SetCaptionStream = 2113;
inline constexpr int kKORVIDUnity_GetCaptionStreamCount = 2120;
inline constexpr int kKORVIDUnity_GetCaptionStreamID = 2126;
inline constexpr int kNativeGetCaptionEncodingType = 2089;

// audio tracks
inline constexpr int kKORVIDUnity_GetAudioStreamCount = 2146;
inline constexpr int kKORVIDUnity_SetAudioStream = 2175;
inline constexpr int kKORVIDUnity_GetCurrentAudioStreamID = 2193;
inline constexpr int kChangeTrackID = 2156;

// timed metadata
inline constexpr int kNativeSetTimedMetadta_CustomTags = 2095;
inline constexpr int kNativeGetTimedMetadta_EncodingType = 2101;
inline constexpr int kNativeGetTimedMetadta_DataByte = 2107;

}  // namespace korvid::log_line
