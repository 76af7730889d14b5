#include "console.h"

#include <unistd.h>

#include <cstdio>

namespace zepta_cli {

namespace {

const char kClearLine[] = "\r\033[K";
constexpr auto kPlainStatusInterval = std::chrono::seconds(1);

}  // namespace

Console::Console() : terminal_(isatty(STDOUT_FILENO) == 1) {}

void Console::Status(const std::string& text, bool milestone)
{
    status_ = text;
    if (terminal_) {
        std::printf("%s%s", kClearLine, text.c_str());
        statusShown_ = true;
    } else {
        const auto now = std::chrono::steady_clock::now();
        if (!milestone && now - lastPlainStatus_ < kPlainStatusInterval) return;
        lastPlainStatus_ = now;
        std::printf("%s\n", text.c_str());
    }
    std::fflush(stdout);
}

void Console::Line(const std::string& text)
{
    ClearStatus();
    std::printf("%s\n", text.c_str());
    if (statusShown_) std::printf("%s", status_.c_str());
    std::fflush(stdout);
}

void Console::EndStatus()
{
    if (terminal_ && statusShown_) std::printf("\n");
    statusShown_ = false;
    std::fflush(stdout);
}

void Console::ClearStatus()
{
    if (terminal_ && statusShown_) std::printf("%s", kClearLine);
}

std::string Printable(const std::string& bytes)
{
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            text.push_back(c);
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", byte);
            text += escaped;
        }
    }
    return text;
}

}  // namespace zepta_cli
