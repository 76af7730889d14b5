#include "common/pseudo_terminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zepta_tools {

namespace {

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

// The device side never wants the line discipline to touch its bytes.
void MakeRaw(int fd)
{
    termios t{};
    if (tcgetattr(fd, &t) == 0) {
        cfmakeraw(&t);
        tcsetattr(fd, TCSANOW, &t);
    }
}

}  // namespace

PseudoTerminal::PseudoTerminal(std::string path) : devicePath(std::move(path))
{
    masterFd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (masterFd < 0) Fail("posix_openpt");
    if (grantpt(masterFd) != 0 || unlockpt(masterFd) != 0) Fail("unlockpt");
    char name[128];
    if (ptsname_r(masterFd, name, sizeof name) != 0) Fail("ptsname_r");
    slavePath = name;
    keepOpenFd = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (keepOpenFd < 0) Fail("open " + slavePath);
    MakeRaw(keepOpenFd);
    MakeRaw(masterFd);
    unlink(devicePath.c_str());
    if (symlink(slavePath.c_str(), devicePath.c_str()) != 0) Fail("symlink " + devicePath);
}

PseudoTerminal::~PseudoTerminal()
{
    Unpublish();
    if (keepOpenFd >= 0) close(keepOpenFd);
    if (masterFd >= 0) close(masterFd);
}

void PseudoTerminal::Unpublish()
{
    if (!devicePath.empty()) unlink(devicePath.c_str());
}

std::string NextFreeAcmPath()
{
    for (int n = 0;; ++n) {
        std::string path = "/dev/ttyACM" + std::to_string(n);
        struct stat st;
        if (lstat(path.c_str(), &st) != 0) return path;
    }
}

}  // namespace zepta_tools
