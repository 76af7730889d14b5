#include "console.h"

#include <unistd.h>

#include <cstdio>

namespace zepta_cli {

namespace {

const char kClearLine[] = "\r\033[K";
constexpr auto kPlainStatusInterval = std::chrono::seconds(1);

}  // namespace

Console::Console() : terminal(isatty(STDOUT_FILENO) == 1) {}

void Console::Status(const std::string& text, bool milestone)
{
    status = text;
    if (terminal) {
        std::printf("%s%s", kClearLine, text.c_str());
        statusShown = true;
    } else {
        const auto now = std::chrono::steady_clock::now();
        if (!milestone && now - lastPlainStatus < kPlainStatusInterval) return;
        lastPlainStatus = now;
        std::printf("%s\n", text.c_str());
    }
    std::fflush(stdout);
}

void Console::Line(const std::string& text)
{
    ClearStatus();
    std::printf("%s\n", text.c_str());
    if (statusShown) std::printf("%s", status.c_str());
    std::fflush(stdout);
}

void Console::EndStatus()
{
    if (terminal && statusShown) std::printf("\n");
    statusShown = false;
    std::fflush(stdout);
}

void Console::ClearStatus()
{
    if (terminal && statusShown) std::printf("%s", kClearLine);
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
