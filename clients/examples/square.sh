#!/bin/bash
# A square: four times forward and left.
. "$(dirname "$0")/../shell/kelmora.sh"

k_connect || exit
k_teleport 0 0          # a turtle begins somewhere: to the middle, without a line
k_setheading 0          # it faces east now
k_pensize 3
for side in 1 2 3 4; do
    echo "side $side"
    k_forward 120
    k_left 90
done
