#!/bin/bash
# A spiral: every line is a little longer than the one before, and its colour changes on the way.
. "$(dirname "$0")/../shell/kelmora.sh"

k_connect || exit
k_teleport 0 0
k_setheading 0
k_pensize 2
k_colormode 255
for ((step = 0; step < 90; ++step)); do
    # Three numbers from 0 to 255: how much red, green and blue is in the colour.
    k_pencolor $((255 - step * 255 / 90)) $((77 + step * 127 / 90)) 255
    k_forward $((5 + 4 * step))
    k_left 91
done
