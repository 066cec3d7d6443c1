// The method log every export and engine handler writes first.
#pragma once

#include <cstdint>

namespace korvid {

// Prints "Korvid Native Windows Log : method : <method> (L <line>) \n" to
// standard output while logging is on; prints nothing while it is off.
// Safe from any thread.
void LogMethod(const char* method, int line);

// Prints a fixed text to standard output whatever the log switch says.
void LogAlways(const char* text);

// The log switch: any non-zero value turns logging on.
void SetLogEnabled(uint8_t value);
uint8_t LogEnabled();

}  // namespace korvid
