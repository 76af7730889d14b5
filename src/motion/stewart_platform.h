// Kinematics of a six-actuator platform (hexapod): six joints on a fixed
// base, six on the moving platform, one linear actuator between each pair.
// Lengths are millimetres; angles in the interface are degrees.
#ifndef ZEPTA_MOTION_STEWART_PLATFORM_H
#define ZEPTA_MOTION_STEWART_PLATFORM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "motion/leg_vectors.h"
#include "motion/linear_elimination.h"
#include "zepta/export.h"

class ZEPTA_API StewartPlatform {
public:
    static constexpr std::size_t kActuators = 6;
    static constexpr std::size_t kPoseComponents = 6;
    static_assert(kActuators == ZEPTASDK::kLegCount, "the legs are laid out for six actuators");

    using Vec3 = std::array<double, 3>;
    using Transform = std::array<std::array<double, 4>, 4>;

    struct Pose {
        double x = 0.0;  // translation, mm
        double y = 0.0;
        double z = 0.0;
        double roll = 0.0;  // rotation, degrees
        double pitch = 0.0;
        double yaw = 0.0;
    };

    enum CoordinateSystem : std::int32_t {
        Base = 0,      // translation in the fixed base frame
        Platform = 1,  // translation in the rotated platform frame, about pivotOffset
    };

    using ActuatorValues = std::array<double, kActuators>;

    // What a frame needs from the safe lengths and the manual angle limit,
    // held without touching the heap.
    struct FrameResult {
        ActuatorValues values{};   // normalised actuator values, 0..1
        ActuatorValues lengths{};  // mm
        Pose pose;                 // the pose actually used
        double scale = 1.0;
        double maxAngle = 0.0;
        bool limited = false;
        bool angleLimited = false;
        bool withinStroke = false;
    };

    // The same fields as FrameResult, as the public interface returns them.
    struct SafeResult {
        std::vector<double> values;   // normalised actuator values, 0..1
        std::vector<double> lengths;  // mm, after the soft limit
        std::vector<double> pose;     // x, y, z, roll, pitch, yaw actually used
        double scale = 1.0;           // fraction of the request that was kept
        double maxAngle = 0.0;        // largest joint angle found, degrees
        bool limited = false;         // scaled back or softened
        bool angleLimited = false;    // the request bent a joint past its limit
        bool withinStroke = false;    // every final length within the stroke
    };

    struct ForwardResult {
        Pose pose;
        bool converged = false;
        std::int32_t iterations = 0;  // accepted Newton steps
        double residual = 0.0;        // mm
    };

    // Throws std::invalid_argument when either angle list does not hold six values.
    StewartPlatform(double baseDiameter, double platformDiameter, double homeHeight,
                    double minLength, double maxLength, const std::vector<double>& baseAngles,
                    const std::vector<double>& topAngles);

    Transform buildTransform(const Pose& pose, CoordinateSystem system) const;

    // Six normalised values that keep every actuator within its stroke and every
    // joint within its angle: an unreachable pose is scaled towards the zero pose.
    // SafeLengths gives the same without allocating, for the per-frame path.
    SafeResult GetActuatorLengthsSafe(const Pose& pose, CoordinateSystem system) const;
    FrameResult SafeLengths(const Pose& pose, CoordinateSystem system) const;

    // Damped Newton search for the pose that produces the six target lengths.
    ForwardResult ForwardKinematics(const std::vector<double>& targetLengths,
                                    const Pose& initialGuess, CoordinateSystem system,
                                    int maxIterations, double tolerance) const;

    // Checks six application-written actuator values and, when they bend a joint
    // too far, pulls them back towards the rest position just far enough.
    SafeResult ApplyManualAngleLimit(const std::vector<double>& axisValues, const Pose& guess,
                                     CoordinateSystem system) const;
    // The same check; with the check switched off only the values are filled in.
    FrameResult LimitManualValues(const ActuatorValues& input, const Pose& guess,
                                  CoordinateSystem system) const;

    double minLength;
    double maxLength;
    std::array<Vec3, kActuators> baseAnchors;
    std::array<Vec3, kActuators> platformAnchors;  // platform frame, z = 0
    double homeHeight;
    std::array<double, kActuators> homeLengths;
    std::array<Vec3, kActuators> homeDirections;
    Vec3 pivotOffset{0.0, 0.0, 0.0};
    bool limitsEnabled = true;
    double softMargin = 8.0;
    bool rangeCheckEnabled = true;
    bool softLimitEnabled = true;
    std::int32_t bisectionSteps = 16;
    bool angleCheckEnabled = true;
    double maxJointAngle = 30.0;
    double jointAngleMargin = 2.0;

private:
    using Lengths = std::array<double, kActuators>;
    using AxisValues = ActuatorValues;  // normalised, 0..1 within the stroke
    using PoseVector = std::array<double, kPoseComponents>;
    using Rotation = std::array<Vec3, 3>;  // rows of the rotation matrix

    struct AngleTrig {
        double cosine;
        double sine;
    };
    struct RotationTrig {
        AngleTrig roll;
        AngleTrig pitch;
        AngleTrig yaw;
    };
    // A rotation and the platform joints turned by it, before any translation:
    // poses that differ only in translation share one. The joints are stored
    // by axis, so that the six legs' arithmetic runs side by side.
    struct Orientation {
        Rotation rotation;
        ZEPTASDK::LegsByAxis turnedAnchors;
    };

    struct LegState {
        Lengths lengths;
        double maxAngle;
    };

    struct ChosenPose {
        Pose pose;
        LegState legs;
        double scale;       // fraction of the request kept
        bool limited;       // scaled back
        bool angleLimited;  // the request bent a joint past its limit
    };
    // The final lengths after the soft limit, and their normalised values.
    struct Stroke {
        ActuatorValues values;
        Lengths lengths;
        bool softened;  // the soft limit moved a length noticeably
        bool withinStroke;
    };

    static AngleTrig TrigOf(double degrees);
    static RotationTrig TrigOf(const Pose& pose);
    static Rotation RotationOf(const RotationTrig& trig);
    Orientation Orient(const RotationTrig& trig) const;
    Vec3 TranslationOf(const Pose& pose, const Rotation& rotation, CoordinateSystem system) const;
    Vec3 PlatformTranslation(const Pose& pose, const Rotation& rotation) const;
    ZEPTASDK::LegsByAxis BaseByAxis() const;
    Lengths LengthsAt(const Orientation& orientation, const Vec3& translation) const;
    Lengths LengthsAt(const Orientation& orientation, const Vec3& translation,
                      const ZEPTASDK::LegsByAxis& base) const;
    LegState LegStateAt(const Orientation& orientation, const Vec3& translation) const;
    LegState LegStateOf(const Pose& pose, CoordinateSystem system) const;
    double AngleLimit() const;
    bool BendsTooFar(double angle) const;
    bool InStroke(const Lengths& lengths) const;
    bool IsAcceptable(const LegState& legs) const;
    double LargestAcceptableFraction(const Pose& pose, CoordinateSystem system) const;
    ChosenPose ChoosePose(const Pose& pose, CoordinateSystem system) const;
    Lengths SoftLimited(const Lengths& raw) const;
    Stroke StrokeOf(const Lengths& raw) const;
    static SafeResult ToSafeResult(const FrameResult& frame);
    double Normalise(double length) const;
    double ToLength(double value) const;

    // A pose with what the Newton search needs of it: the trig of its angles
    // (for the Jacobian's rotation steps), its orientation and its lengths.
    struct PoseMeasure {
        PoseVector pose;
        RotationTrig trig;
        Orientation orientation;
        Lengths lengths;
    };
    struct NewtonState {
        PoseMeasure at;
        Lengths differences;  // lengths of the pose minus target lengths
        double residual;      // Euclidean norm of differences
    };
    // The pose a solve starts from, measured once, and the Jacobian there,
    // reduced once the first solve needs it: every solve of one manual-limit
    // call starts from the same guess.
    struct StartPoint {
        PoseMeasure measure;
        bool reduced = false;
        bool regular = false;  // the Jacobian has one solution
        ZEPTASDK::LinearElimination elimination;
    };
    // The state the search has reached and a spare one its line search
    // measures trials in.
    struct SearchStates {
        NewtonState* current;
        NewtonState* trial;
    };
    struct ForwardLimits {
        int maxIterations;
        double tolerance;
    };
    StartPoint StartAt(const Pose& guess, CoordinateSystem system) const;
    ForwardResult SolveForward(const Lengths& target, StartPoint* start, CoordinateSystem system,
                               const ForwardLimits& limits, PoseMeasure* reached) const;
    bool Iterate(const Lengths& target, StartPoint* start, CoordinateSystem system,
                 const ForwardLimits& limits, SearchStates* states, ForwardResult* result) const;
    void MeasureInto(const PoseVector& pose, CoordinateSystem system, PoseMeasure* measure) const;
    static void Compare(const Lengths& target, NewtonState* state);
    using JacobianColumns = std::array<Lengths, kPoseComponents>;
    static constexpr std::size_t kAngles = 3;  // roll, pitch, yaw
    // The measured trig with each angle alone moved a step up or down.
    struct SteppedAngles {
        RotationTrig plus[kAngles];
        RotationTrig minus[kAngles];
    };
    Vec3 SteppedTranslation(const PoseMeasure& measure, std::size_t component, double offset,
                            CoordinateSystem system) const;
    static RotationTrig SteppedTrig(const PoseMeasure& measure, std::size_t component,
                                    double offset);
    void PlatformTranslationColumns(const PoseMeasure& measure, const ZEPTASDK::LegsByAxis& base,
                                    SteppedAngles* angles, JacobianColumns* columns) const;
    void BaseTranslationColumns(const PoseMeasure& measure, const ZEPTASDK::LegsByAxis& base,
                                SteppedAngles* angles, JacobianColumns* columns) const;
    Lengths TurnedLengths(const PoseMeasure& measure, const RotationTrig& trig,
                          std::size_t component, double offset, CoordinateSystem system,
                          const ZEPTASDK::LegsByAxis& base) const;
    void RotationColumns(const PoseMeasure& measure, const SteppedAngles& angles,
                         CoordinateSystem system, const ZEPTASDK::LegsByAxis& base,
                         JacobianColumns* columns) const;
    ZEPTASDK::LinearElimination::Matrix JacobianAt(const PoseMeasure& measure,
                                                   CoordinateSystem system) const;
    bool NewtonDirection(const NewtonState& state, StartPoint* start, CoordinateSystem system,
                         PoseVector* step) const;
    bool LineSearch(const PoseVector& direction, const Lengths& target, CoordinateSystem system,
                    SearchStates* states) const;

    struct ManualTrial {
        bool accepted;  // converged and within the joint limit
        Pose pose;
        double maxAngle;
    };
    AxisValues RestValues() const;
    ManualTrial TryManualValues(const AxisValues& values, StartPoint* start,
                                CoordinateSystem system) const;
    double PullBackFraction(const AxisValues& input, StartPoint* start, CoordinateSystem system,
                            ManualTrial* kept) const;
    bool ChecksManualValues() const;
    void FillManualResult(const AxisValues& values, const ManualTrial& trial,
                          FrameResult* result) const;
    void FillPulledBack(const AxisValues& input, const ManualTrial& kept,
                        FrameResult* result) const;
};

#endif
