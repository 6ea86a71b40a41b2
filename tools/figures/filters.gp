# Draws docs/filters.png from what "toolbox_report filters" prints, in the file filters.csv of the
# folder `data`.
set datafile separator ","
set terminal pngcairo size 760,560 font "sans,10"
set output "docs/filters.png"
set multiplot layout 2,1
set grid
set lmargin 10
set logscale x
set xrange [2:20000]
set key bottom right
csv = data."/filters.csv"

set ylabel "gain in dB"
set yrange [-30:3]
set title "DC blocker and a low-pass of one biquad"
plot csv every ::1 using 1:2 with lines lw 2 lc rgb "#2ca02c" title "DC blocker at 8 kHz", \
     csv every ::1 using 1:3 with lines lw 2 lc rgb "#dd181f" title "at 16 kHz", \
     csv every ::1 using 1:4 with lines lw 2 lc rgb "#0060ad" title "at 48 kHz", \
     csv every ::1 using 1:5 with lines lw 2 lc rgb "#888888" title "low-pass, 1 kHz"

set title "All-pass section"
set xlabel "frequency in Hz"
set yrange [-0.01:0.01]
set ytics 0.005
unset key
plot csv every ::1 using 1:6 with lines lw 2 lc rgb "#0060ad"
unset multiplot
