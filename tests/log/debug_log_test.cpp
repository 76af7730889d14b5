// The process-wide log: the format of its lines and the bounded backlog the
// application drains through the C interface.
#include <gtest/gtest.h>

#include <string>

#include "zepta/Debug.hpp"
#include "zepta/zepta.h"

using ZEPTASDK::Debug;

namespace {

std::string DrainAll()
{
    std::string all;
    char buffer[512];
    for (int n; (n = Debug::GetBackLogData(buffer, sizeof buffer)) > 0;) all.append(buffer, static_cast<std::size_t>(n));
    return all;
}

class DebugLog : public ::testing::Test {
protected:
    void SetUp() override { DrainAll(); }
};

TEST_F(DebugLog, LinesCarryTagWarningPrefixAndNumbers)
{
    Debug::Log("abc");
    Debug::Log("X", "y");
    Debug::Log("", "untagged");
    Debug::LogWarning("X", "y");
    Debug::LogWarning("plain");
    Debug::Log(-42);
    Debug::Log(0.5f);
    Debug::Log(1.0f / 3.0f);
    EXPECT_EQ(DrainAll(), "abc\nX: y\nuntagged\nX: [WARNING]y\n[WARNING]plain\n-42\n0.500000\n0.333333\n");
}

TEST_F(DebugLog, FullBacklogCutsTheLineAndNeverEvicts)
{
    Debug::Log(std::string(4093, 'o'));  // 4094 characters with its line feed
    Debug::Log("abcd");
    EXPECT_EQ(Debug::GetBackLogDataAvailable(), 4096);
    Debug::Log("dropped entirely");
    EXPECT_EQ(Debug::GetBackLogDataAvailable(), 4096);
    const std::string all = DrainAll();
    ASSERT_EQ(all.size(), 4096u);
    EXPECT_EQ(all.substr(4090), "ooo\nab");
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

}  // namespace
