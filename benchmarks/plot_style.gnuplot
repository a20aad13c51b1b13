# What the plots share. The same numbers give the same file, byte for byte.
set terminal svg size 640,320 font "sans-serif,12" noenhanced name "plot"
set datafile separator ","
set key outside bottom center horizontal
set grid ytics
set yrange [0:*]
set ylabel "ms a cycle"
set style data linespoints
set pointsize 0.8
file = directory . "/growth.csv"
of(what, column) = (strcol(1) eq what) ? column : NaN
