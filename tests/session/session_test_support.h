// Helpers for end-to-end tests that drive whole sessions through the C
// interface against the emulated devices.
#ifndef ZEPTA_TESTS_SESSION_TEST_SUPPORT_H
#define ZEPTA_TESTS_SESSION_TEST_SUPPORT_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "support/sandbox.h"
#include "zepta/zepta.h"

namespace zepta_test {

using namespace std::chrono_literals;

// Polls condition until it holds or timeout passes; the result of the last poll.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout);

// Everything in the process-wide log backlog, drained.
std::string DrainLog();

// Lines of text, without their line feeds.
std::vector<std::string> SplitLines(const std::string& text);

// Waits for the session to reach ZEPTA_STATE_RUNNING.
bool WaitConnected(int handle, std::chrono::milliseconds timeout = 20s);

// Waits for the session's thread to end by itself.
bool WaitStopped(int handle, std::chrono::milliseconds timeout = 20s);

// Threads and open descriptors of this process, to check that nothing leaks.
int ThreadCount();
int OpenDescriptorCount();

_korve_data_packet NeutralPacket();

// A test that drives one session: starts with an empty log and closes the
// session it opened in handle_.
class SessionTest : public SandboxedTest {
protected:
    void SetUp() override;
    void TearDown() override;

    int handle_ = -1;
};

}  // namespace zepta_test

#endif
