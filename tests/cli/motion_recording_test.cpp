#include "motion_recording.h"

#include <gtest/gtest.h>

#include <sstream>

#include "cli_errors.h"

namespace {

using zepta_cli::MotionRecording;
using zepta_cli::ReadMotionRecording;
using zepta_cli::UsageError;

MotionRecording Read(const std::string& text)
{
    std::istringstream in(text);
    return ReadMotionRecording(in, "drive.csv");
}

std::string ErrorOf(const std::string& text)
{
    try {
        Read(text);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no error";
}

TEST(MotionRecording, ReadsPoseColumnsInAnyOrderAndIgnoresOthers)
{
    const MotionRecording r = Read("heave, time ,note,roll\r\n0.5,10.0,x,-0.25\r\n\n0.1,10.5,y,2\n");
    ASSERT_EQ(r.samples.size(), 2u);
    EXPECT_EQ(r.ignoredColumns, std::vector<std::string>{"note"});
    EXPECT_DOUBLE_EQ(r.samples[0].time, 0.0);
    EXPECT_DOUBLE_EQ(r.samples[1].time, 0.5);
    EXPECT_EQ(r.samples[0].pose, (zepta_cli::Pose{-0.25f, 0, 0, 0.5f, 0, 0}));
    // Out-of-range values are the library's to clamp.
    EXPECT_FLOAT_EQ(r.samples[1].pose[0], 2.0f);
}

TEST(MotionRecording, HugeValuesSaturateInsteadOfOverflowing)
{
    const MotionRecording r = Read("time,roll,pitch\n0,1e300,-1e300\n");
    EXPECT_EQ(r.samples[0].pose[0], std::numeric_limits<float>::max());
    EXPECT_EQ(r.samples[0].pose[1], -std::numeric_limits<float>::max());
}

TEST(MotionRecording, InterpolatesBetweenSamplesAndHoldsBeyondThem)
{
    const MotionRecording r = Read("time,roll,pitch\n1,0,1\n2,1,1\n2,0.5,0\n3,0,0\n");
    EXPECT_FLOAT_EQ(r.PoseAt(0.25)[0], 0.25f);
    EXPECT_FLOAT_EQ(r.PoseAt(-1.0)[0], 0.0f);
    // Two samples at one time: the later one holds from then on.
    EXPECT_FLOAT_EQ(r.PoseAt(1.0)[0], 0.5f);
    EXPECT_FLOAT_EQ(r.PoseAt(1.5)[0], 0.25f);
    EXPECT_FLOAT_EQ(r.PoseAt(9.0)[1], 0.0f);
    EXPECT_DOUBLE_EQ(r.Duration(), 2.0);
}

TEST(MotionRecording, MalformedInputNamesTheLine)
{
    EXPECT_EQ(ErrorOf(""), "drive.csv: empty file: expected a header line such as time,roll,pitch");
    EXPECT_EQ(ErrorOf("roll,pitch\n0,0\n"), "drive.csv:1: no \"time\" column in the header line");
    EXPECT_EQ(ErrorOf("time,roll\n"), "drive.csv:1: no samples after the header line");
    EXPECT_EQ(ErrorOf("time,roll\n0,0\n1\n"), "drive.csv:3: 1 fields where the header has 2");
    EXPECT_EQ(ErrorOf("time,roll\n0,nan\n"), "drive.csv:2: roll is not a finite number: \"nan\"");
    EXPECT_EQ(ErrorOf("time,roll\n0,inf\n"), "drive.csv:2: roll is not a finite number: \"inf\"");
    EXPECT_EQ(ErrorOf("time,roll\n0,0.1x\n"), "drive.csv:2: roll is not a finite number: \"0.1x\"");
    EXPECT_EQ(ErrorOf("time,roll\n0,\n"), "drive.csv:2: roll is not a finite number: \"\"");
    EXPECT_EQ(ErrorOf("time,roll\n5,0\n4,0\n"), "drive.csv:3: time goes backwards");
    EXPECT_EQ(ErrorOf("time\n0\n1e9\n"), "drive.csv:3: the recording lasts more than a day");
}

}  // namespace
