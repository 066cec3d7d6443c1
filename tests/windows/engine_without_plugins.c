/* Stands in for libvlc.dll in the Windows tests, where no engine can be had.
 * It answers as an engine whose plug-ins are missing: making an instance fails
 * (null), and every other function of the list the library imports gives the
 * neutral value (null, 0, false). It only lets the library load and run its
 * paths without an engine; it plays nothing. Every name of cmake/libvlc.def is
 * exported as this one function. */
#include <stdint.h>

intptr_t engine_without_plugins_call(void) { return 0; }
