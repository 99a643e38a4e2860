# Draws the benchmark's figures as shares of their goals, to standard output. Comes behind the data of bench_plot.py.
row = 26  # in pixels, as what follows
head = 112
foot = 62
height = head + row * count + foot
down(pixels) = 1 - pixels / real(height)

set encoding utf8
set datafile missing "NaN"
set terminal svg size 980, height font "sans-serif,13" background "white"
set lmargin at screen 0.2
set rmargin at screen 0.73
set tmargin at screen down(head)
set bmargin at screen down(height - foot)

set label 1 "How much of each goal md-clipboard uses" at screen 0.02, screen down(24) font ",18"
set label 2 "Shorter is better; at 100 % a goal is just met. Half of the rounds lie within an error bar." \
    at screen 0.02, screen down(48)
set label 3 origin at screen 0.02, screen down(69) textcolor "#555555" noenhanced
set label 4 "goal" at 100, screen down(head - 14) center
set label 5 "value ± spread  (goal)" at screen 0.743, screen down(head - 14) textcolor "#555555"
set label 6 "◀ better" at 0, screen down(height - 18) left
set label 7 "missed ▶" at limit, screen down(height - 18) right

set xrange [0:limit]
set yrange [count + 0.6:0.4]
set xtics 25 format "%g %%" scale 0 textcolor "#555555"
set ytics scale 0 noenhanced
set border 0
set grid xtics lc "#dddddd" lt 1 back
set object 1 rectangle from 100, graph 0 to limit, graph 1 fc "#f7ebe6" fs solid noborder behind
set arrow 1 from 100, graph 0 to 100, graph 1 nohead lc "#333333" lw 2 front
unset key

pick_color(missed) = missed > 0 ? 0xcc5533 : 0x4477aa
set style fill solid noborder
plot $figures using (0):1:(0):2:($1 - 0.32):($1 + 0.32):(pick_color($5)):ytic(6) with boxxyerror lc rgb variable, \
     "" using 2:1:3:4 with xerrorbars lc "#222222" lw 1.5 pt 0, \
     "" using (limit):1:7 with labels left offset 1, 0 noenhanced
