#include "support/sandbox.h"

#include "common/sandbox_check.h"

namespace zepta_test {

namespace {

const char kRefusal[] =
    "refusing to run outside the test sandbox: this test opens serial ports or "
    "sockets and the library broadcasts to 255.255.255.255. Run it through "
    "scripts/sandbox.sh (the README's test command does).";

}  // namespace

bool InSandbox(std::string* why)
{
    if (zepta_tools::InSandbox()) return true;
    if (why != nullptr) *why = kRefusal;
    return false;
}

void SandboxedTest::SetUp()
{
    ZEPTA_REQUIRE_SANDBOX();
}

}  // namespace zepta_test
