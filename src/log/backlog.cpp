#include "log/backlog.h"

namespace ZEPTASDK {

Backlog& Backlog::Instance()
{
    // Never destroyed: update threads of sessions left open at exit may still log.
    static Backlog* backlog = new Backlog;
    return *backlog;
}

void Backlog::Append(const std::string& line)
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (char c : line) {
        if (chars_.size() >= kCapacity) break;
        chars_.push_back(c);
    }
    size_.store(static_cast<int>(chars_.size()), std::memory_order_relaxed);
}

int Backlog::Drain(char* buffer, int size)
{
    if (buffer == nullptr) return -1;
    std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);
    if (!lock.owns_lock() || size < 1) return 0;
    int copied = 0;
    while (copied < size && !chars_.empty()) {
        buffer[copied++] = chars_.front();
        chars_.pop_front();
    }
    size_.store(static_cast<int>(chars_.size()), std::memory_order_relaxed);
    return copied;
}

}  // namespace ZEPTASDK
