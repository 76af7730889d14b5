// Cueing, safety and writer together allocate nothing per frame: this
// program counts the allocations made while the counter is armed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "zepta/ride/rig_writer.hpp"
#include "zepta/ride/safety_stage.hpp"
#include "zepta/ride/washout_filter.hpp"

namespace {
bool counting = false;
long allocations = 0;
}  // namespace

void* operator new(std::size_t size)
{
    allocations += counting ? 1 : 0;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace zepta_ride {
namespace {

TEST(SteadyState, AFrameAllocatesNothing)
{
    const Profile profile = DefaultProfile();
    WashoutFilter washout(profile.cueing, profile.rateHz);
    SafetyStage safety(profile.safety, profile.rateHz);
    const RigWriter writer(profile.output);
    _korve_data_packet packet;
    MotionSample sample;
    counting = true;
    for (int frame = 0; frame < 2000; ++frame) {
        sample.accelFwd = (frame % 300) < 150 ? -6.0 : 4.0;
        sample.yawRate = (frame % 70) * 0.01;
        if (frame == 1900) safety.RequestStop();
        writer.Fill(safety.Step(washout.Step(sample), (frame % 500) < 400 ? 0.01 : 1.0, true), packet);
    }
    counting = false;
    EXPECT_EQ(allocations, 0);
}

}  // namespace
}  // namespace zepta_ride
