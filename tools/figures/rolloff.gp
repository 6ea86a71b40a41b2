# Draws docs/`name`.png from what "toolbox_report rolloff" or "scene_rolloff" prints, in the file
# `name`.csv of the folder `data`; `heading` goes above it.
set datafile separator ","
set terminal pngcairo size 760,420 font "sans,10"
set output "docs/".name.".png"
set grid
set logscale x
set xrange [0.5:70]
set yrange [-60:3]
set xtics (0.5, 1, 2, 4, 8, 16, 32, 60)
set xlabel "distance in metres"
set ylabel "gain in dB"
set key bottom left
set title heading
csv = data."/".name.".csv"
plot csv every ::1 using 1:5 with lines lw 2 lc rgb "#888888" title "none", \
     csv every ::1 using 1:4 with lines lw 2 lc rgb "#2ca02c" title "linear, minimum 1 m", \
     csv every ::1 using 1:2 with lines lw 2 lc rgb "#0060ad" title "inverse, minimum 1 m", \
     csv every ::1 using 1:3 with lines lw 2 lc rgb "#dd181f" title "inverse, minimum 4 m"
