load "benchmarks/plot_style.gnuplot"
set output directory . "/configurations.svg"
set xlabel "configurations a second"
plot file using 2:(of("configurations a second", $5)) title "length of a cycle", \
     file using 2:(of("configurations a second", $4)) title "processor time of the worker"
