// The exported C interface of WindowsKorvidSDK: every entry point the host
// binds by name.
//
// Threading. Call every export from one host thread (the host's main or a
// worker it owns). The engine's event thread and video threads run inside the
// library on their own; they never call back into the host. Exports that block:
// NativeOpenURI (until the engine plays or fails), KORVIDUnity_SetAudioStream
// (until the engine leaves the first recorded track), and those that fetch over
// HTTP (live detection inside the opens, NativeSetAdditionalHttpHeader,
// NativeOpenSubtitleURI, NativeUpdateSubtitle while it loads a segment).
//
// Lifetime. Optionally NativeSetLogLevel and NativeSetMultiStream, then
// NativeInit, then NativeOpenURI (or NativeStartChosenPlayer per slot), the
// controls and queries, and NativeShutdown. NativeInit and NativeShutdown may
// be cycled. Calls made before NativeInit or before an open do nothing and
// return the neutral value (0, false, or the value stated).
//
// Texts. Texts from the host are NUL-terminated and stay the host's: the
// library reads them during the call and copies what it keeps. Buffers are
// host memory of the fixed sizes stated below; the host passes no size.
//
// Errors. Results are status values; no C++ exception leaves an export except
// those NativeUpdateSubtitle documents.
#pragma once

#include <cstdint>

#include "core/platform.h"

// --- version and logging -----------------------------------------------------

// Any non-zero level turns the method log (to standard output) on. Never logs.
KORVID_EXPORT void NativeSetLogLevel(uint8_t level);
// 1, 0, 0 at any time.
KORVID_EXPORT uint8_t NativeGetVersionMajor();
KORVID_EXPORT uint8_t NativeGetVersionMinor();
KORVID_EXPORT uint8_t NativeGetVersionPatch();

// --- engine --------------------------------------------------------------------

// Resets the player state and starts the engine (one per slot in multi-instance
// mode). 0 on success; -1 and "LibVLC initialization failure.\n" on standard
// output when the single-player engine cannot start. Stores `logLevel` as the
// log switch after logging its own line under the previous switch.
KORVID_EXPORT int32_t NativeInit(uint8_t logLevel);
// Releases players, media and frame objects, empties the event queue and
// returns to single-player mode after a multi-instance run.
KORVID_EXPORT void NativeShutdown();

// --- event queue -----------------------------------------------------------------
// Events: 1 ready, 2 playing, 3 end of content, 6 buffering finished, 9 paused,
// 12 stopped, 13 seek completed, 14 buffering, 257 opening. The front accessors
// never remove anything; an empty queue answers -1 (GetNativeQueueSize too).

KORVID_EXPORT bool NativeQueueIsEmpty();
KORVID_EXPORT void NativeQueuePop();
// Always false: the library queues no text events.
KORVID_EXPORT bool NativeQueueFrontIsString();
// Kept for the host's binding; yields nothing.
KORVID_EXPORT void NativeQueueFrontString(const char* ignored);
KORVID_EXPORT int32_t NativeQueueFrontParamEvent();
KORVID_EXPORT int32_t NativeQueueFrontParam1();
KORVID_EXPORT int32_t NativeQueueFrontParam2();
KORVID_EXPORT int32_t NativeQueueFrontParam3();
KORVID_EXPORT int32_t GetNativeQueueSize();

// --- opening and control -----------------------------------------------------------

// Opens a local path or an http(s)/rtmp location on the main player, decides
// whether it is live, starts playback and blocks until the engine plays (0) or
// reports an error (-1). 1: the engine refused to start; 666: no media could be
// made from the location.
KORVID_EXPORT int32_t NativeOpenURI(const char* location);
// The controls return at once; the outcome arrives as events. All return 0,
// except NativeSeek: 0, -1 when the engine refuses, -3 when the media cannot seek.
KORVID_EXPORT int32_t NativeStartPlayBack();
KORVID_EXPORT int32_t NativePause();
KORVID_EXPORT int32_t NativeResume();
KORVID_EXPORT int32_t NativeStop();
KORVID_EXPORT int32_t NativeSeek(int32_t positionMs);
// Marks the player closed (state 1); later engine stops queue nothing.
KORVID_EXPORT void NativeClose();

// --- queries and settings ------------------------------------------------------------

KORVID_EXPORT int32_t NativeGetCurrentTime();
KORVID_EXPORT int32_t NativeGetTotalTime();
// 0 none/opening/buffering/error, 1 closed/ended, 2 stopped, 3 playing, 4 paused.
KORVID_EXPORT int32_t NativeGetPlayerState();
KORVID_EXPORT int32_t NativeGetMilisecondsEndBuffered();
KORVID_EXPORT int32_t NativeGetContentInfo();
KORVID_EXPORT uint32_t NativeGetVideoWidth();
KORVID_EXPORT uint32_t NativeGetVideoHeight();
KORVID_EXPORT int32_t NativeSetMute(bool mute);
// 1.0 is full volume (level 100); not clamped.
KORVID_EXPORT int32_t NativeSetVolume(float volume);
KORVID_EXPORT int32_t NativeSetAutoPlay(bool autoPlay);
// Property 901: size in bytes of the host's subtitle buffer. Others are ignored.
KORVID_EXPORT int32_t NativeSetProperty(int32_t id, int32_t value);
KORVID_EXPORT int32_t NativeSetLoop(bool ignored);
KORVID_EXPORT int32_t NativeSetLowLatency(bool ignored);
KORVID_EXPORT void NativeSetContentInfo(const char* ignored);

// --- frames ------------------------------------------------------------------------------
// A picture is 1920 x 1080 pixels of red, green, blue and a padding byte, rows
// of 7680 bytes, top row first: 8,294,400 bytes. The buffer is the host's.

KORVID_EXPORT int32_t NativeGetRawData(uint8_t* buffer);
// `index` must be a slot made by NativeInit in multi-instance mode.
KORVID_EXPORT int32_t NativeGetMultipleRawData(uint8_t* buffer, int32_t index);
KORVID_EXPORT int32_t NativeSetTextureFromUnity(void* ignored);
KORVID_EXPORT void NativeSetHWND(void* ignored);

// --- multi-instance ------------------------------------------------------------------------
// NativeSetMultiStream(count >= 2) before NativeInit selects up to four players.

KORVID_EXPORT void NativeSetMultiStream(int32_t count);
KORVID_EXPORT void NativeSetMultiPaths(const char* path);
KORVID_EXPORT void NativeSetMultiProperty();
KORVID_EXPORT void NativeSetMultiHTTPHeader(int32_t ignored, const char* ignoredText);
// Opens `uri` in slot `index` (0 to 3) and starts it; returns at once, after
// the live check (which may fetch a manifest). A `uri` whose first four
// characters are "http" is a network location; anything else is a local path.
// A slot started again drops its previous media. An index outside 0 to 3 or
// the slots made at start-up is ignored; a refused start sets state 1.
KORVID_EXPORT void NativeStartChosenPlayer(int32_t index, const char* uri);
// Chooses the slot the player exports act on (not checked: an index without a
// player makes them do nothing).
KORVID_EXPORT void NativeControlInstance(int32_t index);
// Rewinds the slot and toggles its pause unless auto-play is on: 0. An index
// without a player answers the number of slots (so 4 for index 7 of four).
KORVID_EXPORT int32_t NativeMultiInstanceStop(int32_t index);
// The slot's time and length in ms; a live slot's length plus 1000. 0 for an
// index without a player.
KORVID_EXPORT int32_t NativeMultiInstanceGetCurrentTime(int32_t index);
KORVID_EXPORT int32_t NativeMultiInstanceGetTotalTime(int32_t index);
// The slot's live verdict, taken when it was started; false without a slot.
KORVID_EXPORT bool NativeMultiInstanceIsLive(int32_t index);

// --- network -------------------------------------------------------------------------------

// Sends one request to `url` with `header` as an extra header line; the body
// goes to standard output. 0 done (or no handle), -1 transfer error.
KORVID_EXPORT int32_t NativeSetAdditionalHttpHeader(const char* header, const char* url);
// The live verdict of the last open.
KORVID_EXPORT bool NativeIsLive();

// --- subtitles -----------------------------------------------------------------------------

// Side subtitles are drawn by the host from text this library copies into a
// buffer of the host's; the engine does not render them. One source at a time,
// for the main player. Host thread only; these calls must not overlap.

// Records `uri` and takes it by its extension (case-sensitive, the text after
// the last "."): "m3u8" is an HLS master playlist whose WebVTT subtitle
// renditions become the caption streams (the playlist is downloaded now, on
// the calling thread); "srt" is one SubRip file, path or http(s) URL, not
// touched until the first update. Anything else: false, and the earlier
// source stays. True when there is at least one track. Loaded cues stay until
// NativeInit or a caption-stream change.
KORVID_EXPORT bool NativeOpenSubtitleURI(const char* uri);
// Call once per frame. Reads the main player's clock (slot 2's in
// multi-instance mode) and, when a cue covers it, copies the start of its text
// into `buffer` (at most property 901 bytes, 10000 by default), unterminated,
// and returns the byte count; the host uses the result as the length. May
// block to download a media playlist or a subtitle file. Other results:
//   the previous copy's count: the buffer was just zeroed (the cursor moved
//     between cues or back to the start of a file), or nothing is due;
//   0: a file was just loaded, or updates have ended, or no player exists yet;
//   -1: the source has no track; -255: a file held no cue. After either, every
//     call returns 0 until NativeInit.
// The last cue of a file with two or more cues is never shown. A malformed
// SubRip timestamp leaves as std::invalid_argument("invalid stoi argument") or
// std::out_of_range("stoi argument out of range"), a timing line with no line
// break after it as std::out_of_range("invalid string position").
KORVID_EXPORT int32_t NativeUpdateSubtitle(char* buffer);
// The engine's embedded subtitle tracks of the main player (none of these act
// in multi-instance mode). True when the media has at least one; remembers
// their list for the next NativeSetActiveSpuContent(true).
KORVID_EXPORT bool NativeCheckSpuContent();
// false: no embedded subtitle. true: the remembered track with the smallest
// positive id; call NativeCheckSpuContent before each enabling call.
KORVID_EXPORT void NativeSetActiveSpuContent(bool enable);
// Always 3.
KORVID_EXPORT int32_t NativeGetCaptionEncodingType();
// Chooses the caption stream (position among the side-subtitle tracks; not
// checked). It shows only if chosen before the first update after opening the
// source, or while a change of file is due; otherwise updates return the
// previous count until NativeInit.
KORVID_EXPORT void KORVIDUnity_SetCaptionStream(int32_t index);
// Side-subtitle tracks known so far: 0 until the first update after opening.
KORVID_EXPORT int32_t KORVIDUnity_GetCaptionStreamCount();
// A caption stream's id is its position: returns `index`.
KORVID_EXPORT int32_t KORVIDUnity_GetCaptionStreamID(int32_t index);

// --- audio tracks --------------------------------------------------------------------------

// These act on the main player. Track ids are the engine's, not positions;
// the engine lists a "disable" entry (id -1) beside the media's tracks.

// The number of entries the engine lists; 0 in multi-instance mode or before start-up.
KORVID_EXPORT int32_t KORVIDUnity_GetAudioStreamCount();
// The id of the track playing; -1 for none (no audio, or no main player).
KORVID_EXPORT int32_t KORVIDUnity_GetCurrentAudioStreamID();
// Switches to the engine track `trackId` and blocks the calling thread until
// the engine leaves the track recorded at the first switch after start-up;
// returns `trackId`. The wait has no time limit: asking for the recorded track
// itself never returns while it plays. Without a main player: returns at once.
KORVID_EXPORT int32_t KORVIDUnity_SetAudioStream(int32_t trackId);

// --- timed metadata ---------------------------------------------------------------------------

KORVID_EXPORT int32_t NativeSetTimedMetadta_CustomTags(const char* ignored);
KORVID_EXPORT int32_t NativeGetTimedMetadta_EncodingType(int32_t ignored, const char* ignoredText);
KORVID_EXPORT int32_t NativeGetTimedMetadta_DataByte(int32_t ignored, const char* ignoredText);
