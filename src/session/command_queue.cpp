#include "session/command_queue.h"

#include <cstring>

namespace ZEPTASDK {

void CommandQueue::Add(const _korve_data_packet& packet)
{
    if (packet.commandCount <= 0) return;
    const std::string text(packet.commandBuffer, strnlen(packet.commandBuffer, sizeof packet.commandBuffer));
    std::lock_guard<std::mutex> guard(lock);
    for (int32_t i = 0; i < packet.commandCount && texts.size() < kLimit; ++i) texts.push_back(text);
}

std::optional<std::string> CommandQueue::Take()
{
    std::lock_guard<std::mutex> guard(lock);
    if (texts.empty()) return std::nullopt;
    std::string text = std::move(texts.front());
    texts.pop_front();
    return text;
}

}  // namespace ZEPTASDK
