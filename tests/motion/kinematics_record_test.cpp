// Outputs of the kinematics recorded bit for bit: any change in the order or
// grouping of the floating-point work shows up here, however small.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "motion/platform_geometry.h"
#include "motion/stewart_platform.h"

namespace {

using ZEPTASDK::MakePlatformForKind;
using Pose = StewartPlatform::Pose;
using Outputs = std::vector<double>;
constexpr auto kBase = StewartPlatform::Base;
constexpr auto kPlatform = StewartPlatform::Platform;

std::string HexList(const Outputs& values)
{
    std::string out;
    for (double v : values) {
        char text[32];
        std::snprintf(text, sizeof text, "%a, ", v);
        out += text;
    }
    return out;
}

std::uint64_t Bits(double v)
{
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

void ExpectBitIdentical(const Outputs& actual, const Outputs& expected, const char* name)
{
    bool same = actual.size() == expected.size();
    for (std::size_t i = 0; same && i < actual.size(); ++i) same = Bits(actual[i]) == Bits(expected[i]);
    EXPECT_TRUE(same) << name << "\n  actual:   " << HexList(actual) << "\n  expected: " << HexList(expected);
}

// Lengths of a pose without limits, as a target for the forward solve.
std::vector<double> RawLengths(StewartPlatform p, const Pose& pose, StewartPlatform::CoordinateSystem system)
{
    p.limitsEnabled = p.softLimitEnabled = false;
    return p.GetActuatorLengthsSafe(pose, system).lengths;
}

// Pose, residual and accepted steps.
Outputs Forward(const StewartPlatform& p, const std::vector<double>& target, const Pose& guess,
                StewartPlatform::CoordinateSystem system, int iterations, double tolerance)
{
    const auto r = p.ForwardKinematics(target, guess, system, iterations, tolerance);
    const Pose& q = r.pose;
    return {q.x, q.y, q.z, q.roll, q.pitch, q.yaw, r.residual, static_cast<double>(r.iterations), r.converged ? 1.0 : 0.0};
}

// Values, lengths and pose kept, then scale and largest angle.
Outputs Everything(const StewartPlatform::SafeResult& r)
{
    Outputs out = r.values;
    out.insert(out.end(), r.lengths.begin(), r.lengths.end());
    out.insert(out.end(), r.pose.begin(), r.pose.end());
    out.insert(out.end(), {r.scale, r.maxAngle});
    return out;
}

StewartPlatform WithPivot(int kind)
{
    StewartPlatform p = MakePlatformForKind(kind);
    p.pivotOffset = {15.0, -40.0, 120.0};
    return p;
}

TEST(KinematicsRecord, ForwardSolvesOfTranslationsRotationsAndUnreachableLengths)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const StewartPlatform compact = WithPivot(ZEPTA_DEVICE_GRANDE_QX);
    const Pose translation{40, -30, 20, 0, 0, 0}, rotation{0, 0, 0, 3, -4, 5}, mixed{40, -30, 20, 3, -4, 5};
    const Pose turned{-25, 10, -15, -6, 2, 7};
    const struct {
        const char* name;
        Outputs actual, expected;
    } cases[] = {
        {"translation", Forward(large, RawLengths(large, translation, kBase), {}, kBase, 40, 1e-4),
         {0x1.3ffffffffbdb8p+5, -0x1.dffffffff9db2p+4, 0x1.4000000011601p+4, -0x1.25b88dcep-36, 0x1.ad800f46p-38, -0x1.06c19138p-37, 0x1.25206e0a9e29ap-31, 0x1.8p+1, 0x1p+0}},
        {"rotation", Forward(large, RawLengths(large, rotation, kBase), {}, kBase, 40, 1e-4),
         {0x1.2d4d87b2p-31, 0x1.7eca603ep-35, 0x1.7fda3698p-31, 0x1.7fffffffe4823p+1, -0x1.fffffffff2415p+1, 0x1.4000000010216p+2, 0x1.e94c3d113187fp-30, 0x1.8p+1, 0x1p+0}},
        {"mixed", Forward(large, RawLengths(large, mixed, kBase), {}, kBase, 40, 1e-4),
         {0x1.40000000031f8p+5, -0x1.dfffffffdc2ebp+4, 0x1.40000000f73e4p+4, 0x1.7fffffff68723p+1, -0x1.ffffffffa0418p+1, 0x1.400000002f514p+2, 0x1.0bb86eb493eacp-27, 0x1.8p+1, 0x1p+0}},
        {"mixed, tight", Forward(large, RawLengths(large, mixed, kBase), {}, kBase, 50, 1e-12),
         {0x1.3ffffffffffebp+5, -0x1.e000000000008p+4, 0x1.4000000000007p+4, 0x1.800000000001ep+1, -0x1.ffffffffffff2p+1, 0x1.4000000000008p+2, 0x1.6a09e667f3bcdp-42, 0x1p+2, 0x1p+0}},
        {"platform about a pivot", Forward(compact, RawLengths(compact, turned, kPlatform), {5, 5, 5, 1, 1, 1}, kPlatform, 50, 1e-10),
         {-0x1.9000000000009p+4, 0x1.3ffffffffffccp+3, -0x1.e000000000036p+3, -0x1.8000000000002p+2, 0x1.000000000000dp+1, 0x1.cp+2, 0x1p-43, 0x1p+2, 0x1p+0}},
        {"base about a pivot", Forward(compact, RawLengths(compact, turned, kBase), {}, kBase, 3, 1e-10),
         {-0x1.9000001ef18c2p+4, 0x1.40000052f466cp+3, -0x1.dfffffaba4441p+3, -0x1.7fffffe4f247p+2, 0x1.ffffffc6f9243p+0, 0x1.c000001a7ba2bp+2, 0x1.fa51b267755dp-22, 0x1.8p+1, 0x0p+0}},
        {"alternating lengths", Forward(large, {1500, 900, 1500, 900, 1500, 900}, {}, kBase, 40, 1e-4),
         {-0x1.2a41ec79d81p-37, -0x1.b4eab023f028p-38, -0x1.fc1ea432ef179p+5, -0x1.8fae53c62084p-41, 0x1.6148b8d585cp-43, -0x1.dceb15b8546d1p+5, 0x1.6837e687d1fbcp-17, 0x1p+2, 0x1p+0}},
        {"beyond the stroke", Forward(compact, {400, 400, 400, 400, 400, 400}, {}, kPlatform, 40, 1e-4),
         {0x1.43d3369bc0e38p-27, 0x1.028d380961732p-26, -0x1.d96b93af75f36p+8, -0x1.639dda8d1aa54p-29, 0x1.55159819fa53ap-30, -0x1.a0e3fe7d3c30cp-33, 0x1.910fc389d9995p+7, 0x1.8p+1, 0x0p+0}},
    };
    for (const auto& c : cases) ExpectBitIdentical(c.actual, c.expected, c.name);
}

TEST(KinematicsRecord, ManualAngleLimitWithinBentAndBeyondTheStroke)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    StewartPlatform strict = WithPivot(ZEPTA_DEVICE_GRANDE_QX);
    strict.maxJointAngle = 12.0;
    const struct {
        const char* name;
        Outputs actual, expected;
    } cases[] = {
        {"within", Everything(large.ApplyManualAngleLimit({0.5, 0.6, 0.45, 0.55, 0.4, 0.52}, {}, kBase)),
         {0x1p-1, 0x1.3333333333333p-1, 0x1.ccccccccccccdp-2, 0x1.199999999999ap-1, 0x1.999999999999ap-2, 0x1.0a3d70a3d70a4p-1, 0x1.227999999999ap+10, 0x1.2ef999999999ap+10, 0x1.1c3999999999ap+10, 0x1.28b999999999ap+10, 0x1.15f999999999ap+10, 0x1.24f999999999ap+10, 0x1.e21c0b759ce0ep+4, -0x1.fc76e23162fbap+3, 0x1.d8e3929f2efacp+4, -0x1.2a5acb6e25bb8p-1, -0x1.1e4b113959442p+1, 0x1.116a0a61670e4p+2, 0x1p+0, 0x1.ee509b71bc6aap+1}},
        {"bent", Everything(large.ApplyManualAngleLimit({0.2739, 0.0100, 0.2199, 0.0320, 0.9349, 0.7821}, {}, kBase)),
         {0x1.3082caaa6b187p-2, 0x1.128d382df9634p-4, 0x1.003ef193e3ed8p-2, 0x1.6134acea63e24p-4, 0x1.bfa7c307629a8p-1, 0x1.7b5e866875daep-1, 0x1.092590d6e72c5p+10, 0x1.d8b511c1018bep+9, 0x1.03414896e72c6p+10, 0x1.dd820a41018bep+9, 0x1.51440eb6e72c6p+10, 0x1.40982d6a1a5f9p+10, -0x1.484bd4b77ebeep+7, 0x1.07de810cb6435p+8, -0x1.041d186a45873p+7, 0x1.a05f009be9515p+4, 0x1.4af6b4c24bfadp+3, -0x1.22b2e96112c3p+2, 0x1.bee6p-1, 0x1.bffd83cb06b99p+4}},
        {"beyond the stroke", Everything(large.ApplyManualAngleLimit({1.2020, 1.2714, 1.2523, 1.2782, -0.1260, 0.5038},
                                                                      {-182.2, 160.1, -162.8, 25.3, 26.1, -24.2}, kBase)),
         {0x1.0dc857e63d5fep+0, 0x1.1c022d817a67bp+0, 0x1.1817e2db2e382p+0, 0x1.1d6703ba00c1p+0, -0x1.37e46f2f23p-7, 0x1.faa6668f89c61p-2, 0x1.67b46c8505917p+10, 0x1.6ea6a9d1d25e4p+10, 0x1.6cbd435e9f2bp+10, 0x1.6f54e66b6bf7ep+10, 0x1.c592090a0b22dp+9, 0x1.21d2699e9f2b1p+10, 0x1.58534c4b5c1ap+7, -0x1.594240700131ap+8, 0x1.40b42de8597a6p+7, -0x1.c9f074fe400f8p+3, -0x1.5d42b6bc58c3ap+4, 0x1.4d2759dca0f44p+3, 0x1.99f8p-1, 0x1.837fe32a647c3p+4}},
        {"strict, platform", Everything(strict.ApplyManualAngleLimit({1.0, 1.0, 0.0, 0.0, 0.5, 0.5}, {1, -1, 2, 0, 0, 0}, kPlatform)),
         {0x1.a6b7f13f5338p-1, 0x1.a6b7f13f53382p-1, 0x1.642fc4fd4ce08p-3, 0x1.642fc4fd4ce08p-3, 0x1.ffc3e27ea6704p-2, 0x1.ffc3e27ea6704p-2, 0x1.74f65384c4a75p+9, 0x1.74f65384c4a76p+9, 0x1.33cabb84c4a75p+9, 0x1.33cabb84c4a75p+9, 0x1.54608784c4a75p+9, 0x1.54608784c4a75p+9, 0x1.99e8f3cfa886ep+6, 0x1.9eb3759b9ae8ap+5, -0x1.9c4db1fda0674p+4, 0x1.17bd67f00dcaep+2, -0x1.10b146b00d7a8p+3, -0x1.4d9f8033f59bp-2, 0x1.4dacp-1, 0x1.3ffed7bb0fe32p+3}},
    };
    for (const auto& c : cases) ExpectBitIdentical(c.actual, c.expected, c.name);
}

TEST(KinematicsRecord, SafeLengthsWholeScaledAndSoftened)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const StewartPlatform compact = WithPivot(ZEPTA_DEVICE_GRANDE_QX);
    const struct {
        const char* name;
        Outputs actual, expected;
    } cases[] = {
        {"reachable", Everything(large.GetActuatorLengthsSafe({40, -30, 20, 3, -4, 5}, kBase)),
         {0x1.1a0fbc4dbe1f9p-1, 0x1.22fad4f6c89f1p-1, 0x1.9675eb23d8261p-2, 0x1.1986814f84b2cp-1, 0x1.52c21b24a7813p-2, 0x1.19afdce595d6dp-1, 0x1.28d6711294845p+10, 0x1.2b03d697d9947p+10, 0x1.15977e8db9bc4p+10, 0x1.28b4f02b837f4p+10, 0x1.0d53cb69d30c2p+10, 0x1.28bf0907a6ae9p+10, 0x1.4p+5, -0x1.ep+4, 0x1.4p+4, 0x1.8p+1, -0x1p+2, 0x1.4p+2, 0x1p+0, 0x0p+0}},
        {"unreachable", Everything(large.GetActuatorLengthsSafe({4000, -2500, 1500, 40, -30, 90}, kBase)),
         {0x1.fcfa1c7e62f64p-1, 0x1.d101b8ab039f4p-1, 0x1.9cfc16f4589d5p-2, 0x1.e1f672e822887p-1, 0x1.8c5874c013bap-2, 0x1.717119f3f7cc7p-2, 0x1.603ca98e74c2cp+10, 0x1.5580852f59fcp+10, 0x1.16635f66ed6adp+10, 0x1.59a444a74607fp+10, 0x1.145b65da0c021p+10, 0x1.1112a804a1995p+10, 0x1.04ae6p+8, -0x1.45d9f8p+7, 0x1.87059p+6, 0x1.4dacp+1, -0x1.f482p+0, 0x1.77618p+2, 0x1.0afp-4, 0x0p+0}},
        {"platform about a pivot", Everything(compact.GetActuatorLengthsSafe({-25, 10, -15, -6, 2, 7}, kPlatform)),
         {0x1.71d9cb226ed71p-4, 0x1.5e32f05db718fp-1, 0x1.a9166b9ab0429p-2, 0x1.1f32d694b20c8p-1, 0x1.c3c95ad44925cp-2, 0x1.306e44ed1f96cp-1, 0x1.2b6df79bfd9b2p+9, 0x1.66cc5958b4294p+9, 0x1.4be996e8819cep+9, 0x1.5a7e544f712cdp+9, 0x1.4e851045218b1p+9, 0x1.5ddbefdcb691dp+9, -0x1.9p+4, 0x1.4p+3, -0x1.ep+3, -0x1.8p+2, 0x1p+1, 0x1.cp+2, 0x1p+0, 0x0p+0}},
        {"bent, platform", Everything(compact.GetActuatorLengthsSafe({0, 150, 0, 0, 0, 20}, kPlatform)),
         {0x1.92f179a05991fp-4, 0x1.dc213cc3b95a4p-1, 0x1.7ad29f268835cp-3, 0x1.af764acf08acdp-2, 0x1.2b80bf859b157p-1, 0x1.f8770a3a59438p-1, 0x1.2c3ccb9e90963p+9, 0x1.7f64e444a09ap+9, 0x1.34e5af2bc80dp+9, 0x1.4c88f3b49e3f4p+9, 0x1.5ce58bce7eb09p+9, 0x1.84eda665cbd59p+9, 0x0p+0, 0x1.70d6a8p+6, 0x0p+0, 0x0p+0, 0x0p+0, 0x1.896d8p+3, 0x1.3abep-1, 0x0p+0}},
        {"soft end", Everything(compact.GetActuatorLengthsSafe({0, 0, 95, 0, 0, 0}, kBase)),
         {0x1.b32cf7ac8a73dp-1, 0x1.b32cf7ac8a73dp-1, 0x1.b32cf7ac8a73dp-1, 0x1.b32cf7ac8a73dp-1, 0x1.b32cf7ac8a73dp-1, 0x1.b32cf7ac8a73dp-1, 0x1.77652ec61971p+9, 0x1.77652ec61971p+9, 0x1.77652ec61971p+9, 0x1.77652ec61971p+9, 0x1.77652ec61971p+9, 0x1.77652ec61971p+9, 0x0p+0, 0x0p+0, 0x1.7cp+6, 0x0p+0, 0x0p+0, 0x0p+0, 0x1p+0, 0x0p+0}},
    };
    for (const auto& c : cases) ExpectBitIdentical(c.actual, c.expected, c.name);
}

}  // namespace
