// Texts that Write queues for the device; the update thread sends them after
// the motion commands of its next frame.
#ifndef ZEPTA_SESSION_COMMAND_QUEUE_H
#define ZEPTA_SESSION_COMMAND_QUEUE_H

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "zepta/zepta.h"

namespace ZEPTASDK {

// Guarded by its own lock, so that a Write carrying a command never waits for
// a frame in progress.
class CommandQueue {
public:
    static constexpr std::size_t kLimit = 100;

    // Queues the packet's command text commandCount times while fewer than
    // kLimit texts wait. A text without its NUL ends with the buffer.
    void Add(const _korve_data_packet& packet);
    // The oldest text, removed; nothing when the queue is empty.
    std::optional<std::string> Take();

private:
    std::mutex lock;
    std::deque<std::string> texts;
};

}  // namespace ZEPTASDK

#endif
