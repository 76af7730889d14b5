#include "session/session_table.h"

#include <chrono>
#include <memory>
#include <thread>

namespace ZEPTASDK {

namespace {
constexpr int kNoHandle = -1;
// An open yields to every session still searching for its device, so that
// sessions opened back to back do not probe the same ports at once.
constexpr auto kSearchingSessionDelay = std::chrono::milliseconds(50);
}  // namespace

SessionTable& SessionTable::Instance()
{
    // Never destroyed: sessions still open at exit are not closed.
    static SessionTable* table = new SessionTable;
    return *table;
}

int SessionTable::Open(const char* appCode, const char* serialAssign)
{
    std::lock_guard<std::mutex> guard(tableLock);
    WaitForSearchingSessions();
    int handle = FirstFreeSlot();
    if (handle == kNoHandle) return kNoHandle;
    auto session = std::make_unique<ZEPTA>();
    ZEPTA* raw = session.release();
    slots[handle] = raw;
    if (handle == used) used = handle + 1;
    // A null text throws from here; the slot keeps the unopened session until
    // zeptaClose, and the guard releases the lock on the way out.
    raw->Open(appCode, serialAssign);
    return handle;
}

int SessionTable::Close(int handle)
{
    std::lock_guard<std::mutex> guard(tableLock);
    ZEPTA* session = Find(handle);
    if (session == nullptr) return kNoHandle;
    session->Close();
    slots[handle] = nullptr;
    delete session;
    return handle;
}

ZEPTA* SessionTable::Find(int handle) const
{
    if (handle < 0 || handle >= used) return nullptr;
    return slots[handle];
}

bool SessionTable::IsBeyondTable(int handle) const
{
    return handle < 0 || handle >= used;
}

int SessionTable::FirstFreeSlot() const
{
    const int count = used;
    for (int i = 0; i < count; ++i) {
        if (slots[i] == nullptr) return i;
    }
    return count < kMaxSessions ? count : kNoHandle;
}

void SessionTable::WaitForSearchingSessions() const
{
    const int count = used;
    for (int i = 0; i < count; ++i) {
        ZEPTA* session = slots[i];
        if (session != nullptr && session->GetState() == ZEPTA_STATE_INITIAL) {
            std::this_thread::sleep_for(kSearchingSessionDelay);
        }
    }
}

}  // namespace ZEPTASDK
