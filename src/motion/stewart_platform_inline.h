// The steps every kinematics evaluation runs: the trig of a pose's angles,
// its rotation, the turned platform joints, the translation and the leg
// lengths. They are defined here, inline, rather than in one source file, so
// that the inverse kinematics, the forward kinematics and the manual limit,
// each in a file of its own, all compile them into their loops.
#ifndef ZEPTA_MOTION_STEWART_PLATFORM_INLINE_H
#define ZEPTA_MOTION_STEWART_PLATFORM_INLINE_H

#include <cmath>

#include "motion/leg_vectors.h"
#include "motion/pose_math.h"
#include "motion/stewart_platform.h"

inline StewartPlatform::AngleTrig StewartPlatform::TrigOf(double degrees)
{
    const double radians = ZEPTASDK::DegreesToRadians(degrees);
    // Exactly what cos and sin give for a zero of either sign, without the calls.
    if (radians == 0.0) return {1.0, radians};
    return {std::cos(radians), std::sin(radians)};
}

inline StewartPlatform::RotationTrig StewartPlatform::TrigOf(const Pose& pose)
{
    return {TrigOf(pose.roll), TrigOf(pose.pitch), TrigOf(pose.yaw)};
}

// Rz(yaw) Ry(pitch) Rx(roll), multiplied out.
inline StewartPlatform::Rotation StewartPlatform::RotationOf(const RotationTrig& trig)
{
    const double cr = trig.roll.cosine, sr = trig.roll.sine;
    const double cp = trig.pitch.cosine, sp = trig.pitch.sine;
    const double cy = trig.yaw.cosine, sy = trig.yaw.sine;
    return {Vec3{cp * cy, sr * sp * cy - cr * sy, cr * sp * cy + sr * sy},
            Vec3{cp * sy, sr * sp * sy + cr * cy, cr * sp * sy - sr * cy},
            Vec3{-sp, sr * cp, cr * cp}};
}

// The platform joints lie in the platform's plane (z = 0), so the third
// column of the rotation never reaches them: its product with that zero could
// only change the sign of a zero leg component, which squaring removes. The
// joints are turned with the rotation's entries as they are computed, not read
// back from the stored rotation, so the entries stay in registers.
inline StewartPlatform::Orientation StewartPlatform::Orient(const RotationTrig& trig) const
{
    const Rotation rotation = RotationOf(trig);
    const ZEPTASDK::LegsByAxis anchors = ZEPTASDK::ByAxis(platformAnchors);
    return {rotation,
            {ZEPTASDK::TurnedAxis(rotation[0][0], rotation[0][1], anchors),
             ZEPTASDK::TurnedAxis(rotation[1][0], rotation[1][1], anchors),
             ZEPTASDK::TurnedAxis(rotation[2][0], rotation[2][1], anchors)}};
}

inline ZEPTASDK::LegsByAxis StewartPlatform::BaseByAxis() const
{
    return ZEPTASDK::ByAxis(baseAnchors);
}

inline StewartPlatform::Vec3 StewartPlatform::TranslationOf(const Pose& pose,
                                                            const Rotation& rotation,
                                                            CoordinateSystem system) const
{
    if (system == Platform) return PlatformTranslation(pose, rotation);
    return {pose.x, pose.y, pose.z + homeHeight};
}

// The pose's translation turned with the platform, raised to the home height
// and, for a pivot away from the origin, moved so that the platform turns
// about the pivot.
inline StewartPlatform::Vec3 StewartPlatform::PlatformTranslation(const Pose& pose,
                                                                  const Rotation& rotation) const
{
    Vec3 translation = ZEPTASDK::Rotate(rotation, {pose.x, pose.y, pose.z});
    translation[2] += homeHeight;
    if (ZEPTASDK::IsZero(pivotOffset)) return translation;
    return ZEPTASDK::Add(translation,
                         ZEPTASDK::Subtract(ZEPTASDK::Rotate(rotation, pivotOffset), pivotOffset));
}

inline StewartPlatform::Lengths StewartPlatform::LengthsAt(const Orientation& orientation,
                                                           const Vec3& translation) const
{
    return LengthsAt(orientation, translation, BaseByAxis());
}

// The same, with the base joints already laid out by axis.
inline StewartPlatform::Lengths StewartPlatform::LengthsAt(const Orientation& orientation,
                                                           const Vec3& translation,
                                                           const ZEPTASDK::LegsByAxis& base) const
{
    return ZEPTASDK::LengthsOf(ZEPTASDK::LegsOf(orientation.turnedAnchors, translation, base));
}

#endif
