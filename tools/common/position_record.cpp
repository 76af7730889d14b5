#include "common/position_record.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace zepta_tools {

namespace {
const char kHeader[] = "time,command,axis1,axis2,axis3,axis4,axis5,axis6\n";
constexpr std::size_t kAxes = 6;
}  // namespace

PositionRecord::PositionRecord(const std::string& path) : file(std::fopen(path.c_str(), "w"))
{
    if (file == nullptr) throw std::runtime_error(path + ": " + std::strerror(errno));
    std::fputs(kHeader, file);
    std::fflush(file);
}

PositionRecord::~PositionRecord()
{
    std::fclose(file);
}

void PositionRecord::Add(std::chrono::steady_clock::time_point at, const std::string& command,
                         const std::vector<double>& axes)
{
    const std::chrono::duration<double> seconds = at.time_since_epoch();
    std::lock_guard<std::mutex> guard(lock);
    std::fprintf(file, "%.6f,%s", seconds.count(), command.c_str());
    for (std::size_t i = 0; i < kAxes; ++i) {
        if (i < axes.size()) {
            std::fprintf(file, ",%.4f", axes[i]);
        } else {
            std::fputs(",", file);
        }
    }
    std::fputs("\n", file);
    // Flushed per row so that a reader following the file sees frames live.
    std::fflush(file);
}

}  // namespace zepta_tools
