#include "session/session_table.h"

#include <chrono>
#include <memory>
#include <thread>

namespace ZEPTASDK {

namespace {
constexpr int kStateSearching = 6;
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
    std::lock_guard<std::mutex> guard(tableLock_);
    WaitForSearchingSessions();
    int handle = FirstFreeSlot();
    if (handle == kNoHandle) return kNoHandle;
    auto session = std::make_unique<ZEPTA>();
    ZEPTA* raw = session.release();
    slots_[handle] = raw;
    if (handle == size_) size_ = handle + 1;
    // A null text throws from here; the slot keeps the unopened session until
    // zeptaClose, and the guard releases the lock on the way out.
    raw->Open(appCode, serialAssign);
    return handle;
}

int SessionTable::Close(int handle)
{
    std::lock_guard<std::mutex> guard(tableLock_);
    ZEPTA* session = Find(handle);
    if (session == nullptr) return kNoHandle;
    session->Close();
    slots_[handle] = nullptr;
    delete session;
    return handle;
}

ZEPTA* SessionTable::Find(int handle) const
{
    if (handle < 0 || handle >= size_) return nullptr;
    return slots_[handle];
}

bool SessionTable::IsBeyondTable(int handle) const
{
    return handle < 0 || handle >= size_;
}

int SessionTable::FirstFreeSlot() const
{
    const int size = size_;
    for (int i = 0; i < size; ++i) {
        if (slots_[i] == nullptr) return i;
    }
    return size < kMaxSessions ? size : kNoHandle;
}

void SessionTable::WaitForSearchingSessions() const
{
    const int size = size_;
    for (int i = 0; i < size; ++i) {
        ZEPTA* session = slots_[i];
        if (session != nullptr && session->GetState() == kStateSearching) {
            std::this_thread::sleep_for(kSearchingSessionDelay);
        }
    }
}

}  // namespace ZEPTASDK
