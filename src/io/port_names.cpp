#include <dirent.h>

#include <memory>

#include "io/serial_port.h"
#include "io/text_conversion.h"

namespace ZEPTASDK {
namespace IO {

namespace {
const std::string kDeviceDirectory = "/dev/";
const std::string kAcmPrefix = "/dev/ttyACM";

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
}  // namespace

// Only CDC-ACM devices are offered: the motion devices enumerate as such, and
// probing other ttys (modems, consoles, USB-serial adapters) could disturb them.
// A name that is not UTF-8 throws std::range_error; the directory is closed then too.
std::vector<std::wstring> GetPortNames()
{
    std::vector<std::wstring> names;
    std::unique_ptr<DIR, DirectoryCloser> directory(opendir(kDeviceDirectory.c_str()));
    if (!directory) return names;
    while (const dirent* entry = readdir(directory.get())) {
        const std::string path = kDeviceDirectory + entry->d_name;
        if (path.rfind(kAcmPrefix) != std::string::npos) names.push_back(Utf8ToWide(path));
    }
    return names;
}

}  // namespace IO
}  // namespace ZEPTASDK
