# Plots the pose an application requested against the actuator positions that
# reached the device. Both files carry CLOCK_MONOTONIC seconds in column 1.
#
#   gnuplot -e "pose='pose.csv'; wire='wire.csv'; out='motion.png'" scripts/plot-motion.gp
#
# pose: time,roll,pitch,yaw,heave,sway,surge   (what the application wrote)
# wire: time,command,axis1..axis6        (positions the device received, 0..1)
set datafile separator ","
set terminal pngcairo size 1200,800 noenhanced font ",10"
set output out

stats pose using 1 nooutput
t0 = STATS_min
set xrange [0:STATS_max - t0]

set multiplot layout 2,1 title "Requested pose and actuator positions on the wire"
set grid
set key outside right
set xlabel "time (s)"

set ylabel "requested (-1..1)"
set yrange [-1.1:1.1]
plot for [i=2:7] pose using ($1 - t0):i with lines lw 2 title columnheader(i)

set ylabel "actuator position (0..1)"
set yrange [0:1]
plot for [i=3:8] wire using ($1 - t0):i with lines title sprintf("actuator %d", i - 2)

unset multiplot
