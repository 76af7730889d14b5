// Reading a recorded motion for zepta play.
#include "motion_recording.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "cli_errors.h"

namespace {

using namespace zepta_cli;

MotionRecording Read(const std::string& text)
{
    std::istringstream in(text);
    return ReadMotionRecording(in, "drive.csv");
}

TEST(MotionRecording, ReadsPoseColumnsInAnyOrderAndSaturatesHugeValues)
{
    const MotionRecording r = Read("heave, time ,note,roll\r\n0.5,10.0,x,-0.25\r\n\n1e300,10.5,y,2\n");
    ASSERT_EQ(r.samples.size(), 2u);
    EXPECT_EQ(r.samples[1].time, 0.5);
    EXPECT_EQ(r.samples[0].pose, (Pose{-0.25f, 0, 0, 0.5f, 0, 0}));
    // Out-of-range values are the library's to clamp.
    EXPECT_EQ(r.samples[1].pose, (Pose{2.0f, 0, 0, std::numeric_limits<float>::max(), 0, 0}));
}

TEST(MotionRecording, InterpolatesBetweenSamplesAndHoldsBeyondThem)
{
    const MotionRecording r = Read("time,roll,pitch\n1,0,1\n2,1,1\n2,0.5,0\n3,0,0\n");
    // Two samples at one time: the later one holds from then on.
    const std::vector<double> values{r.PoseAt(-1.0)[0], r.PoseAt(0.25)[0], r.PoseAt(1.0)[0], r.PoseAt(1.5)[0],
                                     r.PoseAt(9.0)[1], r.Duration()};
    EXPECT_EQ(values, (std::vector<double>{0.0, 0.25, 0.5, 0.25, 0.0, 2.0}));
}

TEST(MotionRecording, MalformedInputNamesTheLine)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "drive.csv: empty file: expected a header line such as time,roll,pitch"},
        {"roll,pitch\n0,0\n", "drive.csv:1: no \"time\" column in the header line"},
        {"time,roll\n", "drive.csv:1: no samples after the header line"},
        {"time,roll\n0,0\n1\n", "drive.csv:3: 1 fields where the header has 2"},
        {"time,roll\n0,0.1x\n", "drive.csv:2: roll is not a finite number: \"0.1x\""},
        {"time,roll\n5,0\n4,0\n", "drive.csv:3: time goes backwards"},
        {"time\n0\n1e9\n", "drive.csv:3: the recording lasts more than a day"},
    };
    for (const auto& [text, error] : cases) {
        std::string what = "no error";
        try {
            Read(text);
        } catch (const UsageError& e) {
            what = e.what();
        }
        EXPECT_EQ(what, error);
    }
}

}  // namespace
