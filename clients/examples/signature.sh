#!/bin/bash
# A signature: the brush swells where the turtle turns and ends each stroke in a point.
. "$(dirname "$0")/../shell/kelmora.sh"

# Every stroke is a list of points, x and y in turn. The brush makes a curve of them.
strokes=(
    "-190 -60 -178 -20 -160 30 -142 75 -130 100 -122 70 -115 30 -108 -10 -98 -50 -80 -62"      # A
    "-168 8 -150 14 -130 14 -108 18 -92 26"
    "-70 20 -62 0 -62 -30 -64 -58 -58 -25 -44 5 -26 18 -12 5 -10 -30 -4 -58 14 -52"            # n
    "24 20 32 0 32 -30 30 -58 36 -25 50 5 68 18 82 5 84 -30 90 -58 112 -50 140 -20"            # n
    "-200 -110 -150 -98 -90 -96 -20 -104 50 -112 120 -106 180 -90 205 -70"                     # a line below
)

k_connect || exit
k_penup
k_pencolor 0.1 0.3 0.6      # a dark colour: the brush paints much brighter than the pen
k_pensize 12
k_brush
for stroke in "${strokes[@]}"; do
    read -r -a points <<<"$stroke"
    k_goto "${points[0]}" "${points[1]}"
    k_pendown
    for ((k = 2; k < ${#points[@]}; k += 2)); do
        k_goto "${points[k]}" "${points[k + 1]}"
    done
    k_penup
done
k_goto -210 -170
