/* An engine plug-in for the Windows test runs that only declares the option
 * of the engine's decoder plug-in (absent from the engine copy the tests run)
 * which the library's fixed option list names: "--ffmpeg-hw", obsolete there.
 * The engine refuses an option no plug-in declares, so without this file it
 * does not start. A real installation has the decoder plug-in and needs no
 * stand-in. The engine finds the file in plugins/codec/ although its
 * plug-in cache does not list it. */
#define MODULE_STRING "korvid_decoder_options"

/* The engine's headers use struct pollfd and poll on Windows without
 * declaring them (the engine's own build gets them from a header of its
 * source tree). */
#include <winsock2.h>
int poll(struct pollfd *fds, unsigned nfds, int timeout);

#include <vlc_common.h>
#include <vlc_plugin.h>

vlc_module_begin()
    set_description("declares the absent decoder's obsolete options")
    add_obsolete_bool("ffmpeg-hw")
vlc_module_end()
