// The process-wide table behind the flat C interface: the index is the handle.
#ifndef ZEPTA_SESSION_SESSION_TABLE_H
#define ZEPTA_SESSION_SESSION_TABLE_H

#include <atomic>
#include <cstddef>
#include <mutex>

#include "zepta/ZEPTA.hpp"

namespace ZEPTASDK {

class SessionTable {
public:
    static SessionTable& Instance();

    // Opens a new session in the lowest free slot and returns its handle.
    // Serialised with Close by the table lock.
    int Open(const char* appCode, const char* serialAssign);
    // Closes and destroys the session; the handle, or -1 for a bad one.
    int Close(int handle);

    // The session of a handle, or null when the handle is negative, beyond
    // the table or names a closed slot. Takes no lock, so an application's
    // render loop never waits for an open in progress.
    ZEPTA* Find(int handle) const;
    bool IsBeyondTable(int handle) const;

private:
    // Slots live in fixed storage so that lookups stay valid while an open
    // grows the table; a process cannot usefully hold more sessions than this,
    // since each one runs a thread.
    static constexpr int kMaxSessions = 4096;

    int FirstFreeSlot() const;
    void WaitForSearchingSessions() const;

    std::mutex tableLock;                          // serialises Open and Close
    std::atomic<ZEPTA*> slots[kMaxSessions] = {};  // written under tableLock
    std::atomic<int> used{0};                      // slots ever used; written under tableLock
};

}  // namespace ZEPTASDK

#endif
