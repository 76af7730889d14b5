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

PseudoTerminal::PseudoTerminal(std::string devicePath) : devicePath_(std::move(devicePath))
{
    masterFd_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (masterFd_ < 0) Fail("posix_openpt");
    if (grantpt(masterFd_) != 0 || unlockpt(masterFd_) != 0) Fail("unlockpt");
    char name[128];
    if (ptsname_r(masterFd_, name, sizeof name) != 0) Fail("ptsname_r");
    slavePath_ = name;
    keepOpenFd_ = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (keepOpenFd_ < 0) Fail("open " + slavePath_);
    MakeRaw(keepOpenFd_);
    MakeRaw(masterFd_);
    unlink(devicePath_.c_str());
    if (symlink(slavePath_.c_str(), devicePath_.c_str()) != 0) Fail("symlink " + devicePath_);
}

PseudoTerminal::~PseudoTerminal()
{
    Unpublish();
    if (keepOpenFd_ >= 0) close(keepOpenFd_);
    if (masterFd_ >= 0) close(masterFd_);
}

void PseudoTerminal::Unpublish()
{
    if (!devicePath_.empty()) unlink(devicePath_.c_str());
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
