# Plots the pose an application requested against actuator positions. Every
# file carries CLOCK_MONOTONIC seconds in column 1.
#
#   gnuplot -e "pose='pose.csv'; wire='wire.csv'; out='motion.png'" scripts/plot-motion.gp
#
# pose: time,roll,pitch,yaw,heave,sway,surge   (what the application wrote)
# wire: time,command,axis1..axis6        (positions the device received, 0..1)
#
# Optional variables: axis_column, the column of axis1 in wire (default 3);
# title and axis_label for the plot's title and the lower panel's label. A
# trace of `zepta play` holds both parts in one file: zepta plot sets
# wire=pose and axis_column=8.
set datafile separator ","
set terminal pngcairo size 1200,800 noenhanced font ",10"
set output out

if (!exists("axis_column")) axis_column = 3
if (!exists("title")) title = "Requested pose and actuator positions on the wire"
if (!exists("axis_label")) axis_label = "actuator position (0..1)"

stats pose using 1 nooutput
t0 = STATS_min
set xrange [0:STATS_max - t0]

set multiplot layout 2,1 title title
set grid
set key outside right
set xlabel "time (s)"

set ylabel "requested (-1..1)"
set yrange [-1.1:1.1]
plot for [i=2:7] pose using ($1 - t0):i with lines lw 2 title columnheader(i)

set ylabel axis_label
set yrange [0:1]
plot for [i=axis_column:axis_column + 5] wire using ($1 - t0):i with lines title sprintf("actuator %d", i - axis_column + 1)

unset multiplot
