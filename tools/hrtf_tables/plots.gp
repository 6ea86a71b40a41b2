# The two plots of the README, from the data that hrtf_report writes:
#     hrtf_report MEASUREMENT hrtf/generated DIRECTORY
#     gnuplot -e "data='DIRECTORY'" tools/hrtf_tables/plots.gp
set terminal pngcairo size 900,520 font "Sans,11" background "#ffffff"
set grid lc rgb "#dddddd"
set xlabel "azimuth (degrees, counter-clockwise; left ear at 90)"
set border 3
set tics nomirror out
set xtics 45

set output "docs/hrtf_magnitude.png"
set title "Left ear, horizontal plane: level over azimuth, third octaves"
set ylabel "level, each band 10 dB below the one before (dB)"
set xrange [-180:180]
set key outside right top
bands = "250 500 1000 2000 4000 8000 16000"
plot for [i=1:7] sprintf("< sort -n %s/magnitude.dat", data) \
         using 1:(column(3*i-1) - 10*(i-1)) with points pt 6 ps 0.6 lc i \
         title (i == 1 ? "measured" : ""), \
     for [i=1:7] sprintf("< sort -n %s/magnitude.dat", data) \
         using 1:(column(3*i) - 10*(i-1)) with lines lw 1.5 lc i \
         title sprintf("diffuse, %s Hz", word(bands, i)), \
     for [i=1:7] sprintf("< sort -n %s/magnitude.dat", data) \
         using 1:(column(3*i+1) - 10*(i-1)) with lines dt 2 lw 1 lc i \
         title (i == 1 ? "amb (dashed)" : "")

set output "docs/hrtf_itd.png"
set title "Horizontal plane: interaural time difference over azimuth"
set ylabel "left ear earlier by (microseconds)"
set xrange [0:180]
set key inside bottom center
plot data."/itd.dat" using 1:2 with points pt 6 lc rgb "#222222" title "measured", \
     data."/itd.dat" using 1:3 with lines lw 1.5 lc rgb "#1f77b4" title "diffuse set", \
     data."/itd.dat" using 1:4 with lines dt 2 lw 1.5 lc rgb "#d62728" title "amb set"
