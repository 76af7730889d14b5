// libzepta's process-wide log: lines kept in a bounded in-memory backlog that
// the application drains. The library never writes to the console.
#ifndef ZEPTA_DEBUG_HPP
#define ZEPTA_DEBUG_HPP

#include <string>

#include "zepta/export.h"

namespace ZEPTASDK {

class ZEPTA_API Debug {
public:
    // Appends "tag: text\n" (just "text\n" with an empty tag).
    static void Log(std::string tag, std::string text);
    static void Log(std::string text);
    static void Log(int value);
    static void Log(float value);
    static void LogWarning(std::string tag, std::string text);
    static void LogWarning(std::string text);

    // Moves up to size characters out of the backlog; never blocks and never
    // writes a terminating NUL. Returns the count, 0 when busy, -1 for a null buffer.
    static int GetBackLogData(char* buffer, int size);
    // Characters now in the backlog (a hint, read without the lock).
    static int GetBackLogDataAvailable();
};

}  // namespace ZEPTASDK

#endif
