# Plots a trace of `zepta ride --trace`: the game's telemetry, the cues the
# rig was sent and, when given, the actuator positions a device received.
# Shaded stretches are braking (forward acceleration below -2 m/s^2).
#
#   gnuplot -e "ride='trace.csv'; out='ride.png'" scripts/plot-ride.gp
#   gnuplot -e "ride='trace.csv'; wire='wire.csv'; ride_start=1234.5; out='ride.png'" scripts/plot-ride.gp
#
# ride: time,accel_fwd,accel_left,accel_up,...,out_roll..out_surge,safety
#       (time in seconds since the ride started)
# wire: time,command,axis1..axis6 (a device emulator's record, CLOCK_MONOTONIC)
# ride_start: the CLOCK_MONOTONIC seconds of the ride's time 0
# six_axis_seat: when set, the wire is a six-axis seat's, and its actuators
#   are also drawn as the seat's tilt: forward (nose down) is
#   (axis1 + axis6)/2 + (axis2 + axis3)/2 - (axis4 + axis5), and right side
#   down is (axis1 + axis6)/2 - (axis2 + axis3)/2, as the seat mixes them.
set datafile separator ","
set terminal pngcairo size 1200,1000 noenhanced font ",10"
set output out

have_wire = exists("wire")
have_tilt = have_wire && exists("six_axis_seat")
braking = -2.0

stats ride using 1 nooutput
set xrange [0:STATS_max]
frame_seconds = STATS_records > 1 ? STATS_max / (STATS_records - 1) : 1

set multiplot layout (2 + have_wire + have_tilt),1 title "zepta ride: telemetry, cues and actuator positions (shaded: braking)"
set grid
set key outside right
set xlabel "time since the ride started (s)"
set style fill solid 0.2 noborder
set boxwidth frame_seconds absolute
# The same plot width in every panel, so that their times line up.
set lmargin at screen 0.08
set rmargin at screen 0.84

set ylabel "telemetry (m/s^2, deg)"
set yrange [-12:12]
plot ride using 1:($2 < braking ? 12 : 1/0) with boxes lc rgb "#e0a040" notitle, \
     ride using 1:($2 < braking ? -12 : 1/0) with boxes lc rgb "#e0a040" notitle, \
     ride using 1:2 with lines lw 2 title "accel fwd", \
     ride using 1:3 with lines lw 2 title "accel left", \
     ride using 1:4 with lines title "accel up", \
     ride using 1:($9 * 180 / pi) with lines dt 2 title "body pitch (deg)", \
     ride using 1:($8 * 180 / pi) with lines dt 2 title "body roll (deg)"

set ylabel "cues (-1..1)"
set yrange [-1.1:1.1]
plot ride using 1:($2 < braking ? 1.1 : 1/0) with boxes lc rgb "#e0a040" notitle, \
     ride using 1:($2 < braking ? -1.1 : 1/0) with boxes lc rgb "#e0a040" notitle, \
     for [i=13:18] ride using 1:i with lines lw 2 title columnheader(i)

if (have_wire) {
    set ylabel "actuator position (0..1)"
    set yrange [0:1]
    plot ride using 1:($2 < braking ? 1 : 1/0) with boxes lc rgb "#e0a040" notitle, \
         for [i=3:8] wire using ($1 - ride_start):i with lines title sprintf("actuator %d", i - 2)
}

if (have_tilt) {
    set ylabel "seat tilt from the actuators"
    set yrange [-1.1:1.1]
    plot ride using 1:($2 < braking ? 1.1 : 1/0) with boxes lc rgb "#e0a040" notitle, \
         ride using 1:($2 < braking ? -1.1 : 1/0) with boxes lc rgb "#e0a040" notitle, \
         wire using ($1 - ride_start):(($3 + $8) / 2 + ($4 + $5) / 2 - ($6 + $7)) with lines lw 2 title "forward (nose down)", \
         wire using ($1 - ride_start):(($3 + $8) / 2 - ($4 + $5) / 2) with lines lw 2 title "right side down"
}

unset multiplot
