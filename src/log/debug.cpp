#include "zepta/Debug.hpp"

#include <cstdio>

#include "log/backlog.h"

namespace ZEPTASDK {

namespace {
const std::string kTagSeparator = ": ";
const std::string kWarningPrefix = "[WARNING]";
}  // namespace

void Debug::Log(std::string tag, std::string text)
{
    std::string line;
    line.reserve(tag.size() + kTagSeparator.size() + text.size() + 1);
    if (!tag.empty()) line.append(tag).append(kTagSeparator);
    line.append(text).push_back('\n');
    Backlog::Instance().Append(line);
}

void Debug::Log(std::string text) { Log(std::string(), std::move(text)); }

void Debug::Log(int value) { Log(std::to_string(value)); }

void Debug::Log(float value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
    Log(std::string(text));
}

void Debug::LogWarning(std::string tag, std::string text)
{
    Log(std::move(tag), kWarningPrefix + text);
}

void Debug::LogWarning(std::string text) { LogWarning(std::string(), std::move(text)); }

int Debug::GetBackLogData(char* buffer, int size) { return Backlog::Instance().Drain(buffer, size); }

int Debug::GetBackLogDataAvailable() { return Backlog::Instance().Size(); }

}  // namespace ZEPTASDK
