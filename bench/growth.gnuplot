# Draws the columns of "bench times", in the file `growth`, into the picture `picture`: payloads, then ours and the floor
# of read, list, mark installed and remove.
set terminal svg size 720,440 font "sans-serif,13" background "white"
set output picture
set logscale xy
set format x "10^%T"
set xlabel "payloads on record, each with one relation"
set ylabel "microseconds of the processor"
set key left top
set grid
set xrange [80:125000]
plot growth using 1:6 with linespoints lw 2 pt 7 lc 1 title "mark installed", \
     growth using 1:8 with linespoints lw 2 pt 7 lc 2 title "remove", \
     growth using 1:2 with linespoints lw 2 pt 7 lc 3 title "read", \
     growth using 1:4 with linespoints lw 2 pt 7 lc 4 title "list, per row", \
     for [column in "7 9 3 5"] growth using 1:int(column) with lines lw 1 dt 2 lc black \
         title (column eq "5" ? "the floor of each" : "")
