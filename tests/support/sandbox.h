// Tests that open sessions, serial ports or sockets run only inside the
// sandbox that scripts/sandbox.sh builds; anywhere else they refuse to run,
// so that no test can ever broadcast on a real network.
#ifndef ZEPTA_TESTS_SANDBOX_H
#define ZEPTA_TESTS_SANDBOX_H

#include <gtest/gtest.h>

#include <string>

namespace zepta_test {

// True inside the sandbox; otherwise false with the reason in *why.
bool InSandbox(std::string* why);

// Base fixture for every test that touches devices, ports or the network.
class SandboxedTest : public ::testing::Test {
protected:
    void SetUp() override;
};

}  // namespace zepta_test

// For tests that cannot derive from SandboxedTest.
#define ZEPTA_REQUIRE_SANDBOX()                                                   \
    do {                                                                          \
        std::string zeptaWhy_;                                                    \
        if (!::zepta_test::InSandbox(&zeptaWhy_)) GTEST_FAIL() << zeptaWhy_;      \
    } while (0)

#endif
