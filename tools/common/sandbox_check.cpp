#include "common/sandbox_check.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace zepta_tools {

namespace {

const char kSandboxFlag[] = "ZEPTA_SANDBOX";
const char kMarkerPath[] = "/dev/.zepta-sandbox";
const char kOwnNetworkNamespace[] = "/proc/self/ns/net";

std::string NamespaceOf(const char* path)
{
    char target[128];
    ssize_t n = readlink(path, target, sizeof target - 1);
    if (n < 0) return std::string();
    return std::string(target, static_cast<std::size_t>(n));
}

}  // namespace

bool InSandbox()
{
    const char* flag = std::getenv(kSandboxFlag);
    if (flag == nullptr || std::string(flag) != "1") return false;
    // The marker names the network namespace the sandbox was created from; a
    // process inside must be in another one.
    std::string outer;
    std::ifstream marker(kMarkerPath);
    std::getline(marker, outer);
    std::string own = NamespaceOf(kOwnNetworkNamespace);
    return !outer.empty() && !own.empty() && own != outer;
}

}  // namespace zepta_tools
