load "benchmarks/plot_style.gnuplot"
set output directory . "/clients.svg"
set xlabel "console clients that ask without a pause"
plot file using 2:(of("console clients", $5)) title "length of a cycle", \
     file using 2:(of("console clients", $4)) title "processor time of the worker"
