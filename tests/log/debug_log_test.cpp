#include <gtest/gtest.h>

#include <atomic>

#include <string>
#include <thread>
#include <vector>

#include "zepta/Debug.hpp"
#include "zepta/zepta.h"

using ZEPTASDK::Debug;

namespace {

std::string DrainAll()
{
    std::string all;
    char buffer[512];
    int n;
    while ((n = Debug::GetBackLogData(buffer, sizeof buffer)) > 0) all.append(buffer, static_cast<std::size_t>(n));
    return all;
}

class DebugLog : public ::testing::Test {
protected:
    void SetUp() override { DrainAll(); }
};

TEST_F(DebugLog, LineFormatsWithAndWithoutTag)
{
    Debug::Log("abc");
    EXPECT_EQ(Debug::GetBackLogDataAvailable(), 4);
    Debug::Log("X", "y");
    Debug::LogWarning("X", "y");
    Debug::LogWarning("plain");
    Debug::Log("", "untagged");
    EXPECT_EQ(DrainAll(), "abc\nX: y\nX: [WARNING]y\n[WARNING]plain\nuntagged\n");
}

TEST_F(DebugLog, NumbersAreFormattedInDecimalAndWithSixDecimals)
{
    Debug::Log(-42);
    Debug::Log(0.5f);
    Debug::Log(1.0f / 3.0f);
    EXPECT_EQ(DrainAll(), "-42\n0.500000\n0.333333\n");
}

TEST_F(DebugLog, FullBacklogCutsTheLineAndNeverEvicts)
{
    Debug::Log(std::string(4093, 'o'));  // 4094 characters with its line feed
    Debug::Log("abcd");
    EXPECT_EQ(Debug::GetBackLogDataAvailable(), 4096);
    Debug::Log("dropped entirely");
    EXPECT_EQ(Debug::GetBackLogDataAvailable(), 4096);
    std::string all = DrainAll();
    ASSERT_EQ(all.size(), 4096u);
    EXPECT_EQ(all.substr(4090), "ooo\nab");
    EXPECT_EQ(all.front(), 'o');
}

TEST_F(DebugLog, DrainingIsPartialAndRejectsBadArguments)
{
    Debug::Log("abc");
    char buffer[8] = {};
    EXPECT_EQ(Debug::GetBackLogData(nullptr, 8), -1);
    EXPECT_EQ(Debug::GetBackLogData(buffer, 0), 0);
    EXPECT_EQ(Debug::GetBackLogData(buffer, -5), 0);
    EXPECT_EQ(Debug::GetBackLogData(buffer, 2), 2);
    EXPECT_EQ(std::string(buffer, 2), "ab");
    EXPECT_EQ(Debug::GetBackLogDataAvailable(), 2);
    EXPECT_EQ(zeptaGetBackLog(buffer, 8), 2);
    EXPECT_EQ(std::string(buffer, 2), "c\n");
    EXPECT_EQ(zeptaBackLogDataAvailable(), 0);
    EXPECT_EQ(zeptaGetBackLog(buffer, 8), 0);
}

// Lines logged from many threads at once stay whole: every line read back is
// one of the lines that was logged.
TEST_F(DebugLog, ConcurrentLinesAreNeverInterleaved)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 50;  // 3000 characters: fits the backlog even if the reader lags
    std::string collected;
    std::atomic<int> finished{0};
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t) {
        writers.emplace_back([t, &finished] {
            for (int i = 0; i < kLines; ++i) Debug::Log("T" + std::to_string(t), std::string(10, static_cast<char>('a' + t)));
            ++finished;
        });
    }
    char buffer[64];
    while (finished < kThreads || Debug::GetBackLogDataAvailable() > 0) {
        int n = Debug::GetBackLogData(buffer, sizeof buffer);
        if (n > 0) collected.append(buffer, static_cast<std::size_t>(n));
    }
    for (auto& w : writers) w.join();
    collected += DrainAll();
    std::size_t start = 0;
    int lines = 0;
    while (start < collected.size()) {
        std::size_t end = collected.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        std::string line = collected.substr(start, end - start);
        ASSERT_EQ(line.size(), 14u) << line;
        char letter = line[4];
        EXPECT_EQ(line, "T" + std::to_string(letter - 'a') + ": " + std::string(10, letter));
        start = end + 1;
        ++lines;
    }
    EXPECT_EQ(lines, kThreads * kLines);
}

}  // namespace
