// A pseudo-terminal whose slave side is published under a device path such as
// /dev/ttyACM0, so that the library finds it exactly like a USB CDC-ACM device.
#ifndef ZEPTA_TOOLS_PSEUDO_TERMINAL_H
#define ZEPTA_TOOLS_PSEUDO_TERMINAL_H

#include <string>

namespace zepta_tools {

class PseudoTerminal {
public:
    // Opens a new pty and links its slave to devicePath (replacing an existing
    // link). Throws std::runtime_error when the pty cannot be created.
    explicit PseudoTerminal(std::string path);
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // The master side: what the device writes to and reads from.
    int MasterFd() const { return masterFd; }
    const std::string& DevicePath() const { return devicePath; }
    const std::string& SlavePath() const { return slavePath; }

    // Removes the published path, as when a USB device is unplugged.
    void Unpublish();

private:
    int masterFd = -1;
    int keepOpenFd = -1;   // holds the slave open so the master never sees a hang-up
    std::string devicePath;
    std::string slavePath;
};

// The first free /dev/ttyACM<N> path.
std::string NextFreeAcmPath();

}  // namespace zepta_tools

#endif
