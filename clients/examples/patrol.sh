#!/bin/bash
# A patrol: walks round a square, looks ahead, and goes round whatever stands in the way.
. "$(dirname "$0")/../shell/kelmora.sh"

# A visitor, in a subshell of its own. It hangs up, and its turtle stays as a zombie.
(
    k_connect || exit
    k_name visitor
    k_teleport 0 -120
)

k_connect || exit
k_name guard
k_teleport -120 -120
k_setheading 0
k_pencolor skyblue
k_pensize 2

# A bend round the thing ahead: out, past it and back to the old line.
go_round() {
    local step
    k_left 90
    k_forward 30
    k_write "    Make way!"
    k_right 90
    for ((step = 0; step < 40; ++step)); do k_forward 2; done
    k_right 90
    k_forward 30
    k_left 90
}

for round in 1 2; do
    echo "Round $round"
    for side in south east north west; do
        for ((walked = 0; walked < 240; )); do
            k_finder 20 >/dev/null      # looks 20 ahead; what it finds is in REPLY
            read -r what team <<<"$REPLY"
            if [ "$what" = nothing ]; then
                k_forward 4
                ((walked += 4))
            else
                echo "There is a $what in my way in the $side"
                go_round
                ((walked += 80))
            fi
        done
        k_left 90
    done
done
