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
    std::lock_guard<std::mutex> guard(lock);
    for (char c : line) {
        if (chars.size() >= kCapacity) break;
        chars.push_back(c);
    }
    charCount.store(static_cast<int>(chars.size()), std::memory_order_relaxed);
}

int Backlog::Drain(char* buffer, int size)
{
    if (buffer == nullptr) return -1;
    std::unique_lock<std::mutex> guard(lock, std::try_to_lock);
    if (!guard.owns_lock() || size < 1) return 0;
    int copied = 0;
    while (copied < size && !chars.empty()) {
        buffer[copied++] = chars.front();
        chars.pop_front();
    }
    charCount.store(static_cast<int>(chars.size()), std::memory_order_relaxed);
    return copied;
}

}  // namespace ZEPTASDK
