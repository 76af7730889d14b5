// The process-wide character backlog behind Debug.
#ifndef ZEPTA_LOG_BACKLOG_H
#define ZEPTA_LOG_BACKLOG_H

#include <atomic>
#include <deque>
#include <mutex>
#include <string>

namespace ZEPTASDK {

class Backlog {
public:
    static constexpr std::size_t kCapacity = 4096;

    static Backlog& Instance();

    // Appends the line whole under the lock; when the backlog fills, the rest
    // of the line is dropped, so the oldest text is kept and nothing is evicted.
    void Append(const std::string& line);
    // Never waits for a logging thread: returns 0 when the lock is busy.
    int Drain(char* buffer, int size);
    int Size() const { return charCount.load(std::memory_order_relaxed); }

private:
    std::mutex lock;
    std::deque<char> chars;            // guarded by lock
    std::atomic<int> charCount{0};     // mirrors chars.size() for lock-free hints
};

}  // namespace ZEPTASDK

#endif
