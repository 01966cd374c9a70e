#!/bin/bash
# A coin collector: lets the bank throw coins on the field and walks along all of it to pick them up.
. "$(dirname "$0")/../shell/kelmora.sh"

k_connect || exit
for ((number = 0; number < 40; ++number)); do
    k_throw_coin
done

# This is called whenever a coin has come within reach (20 units). There may be more than one.
grab() {
    # A word leaves its answer in REPLY, too.
    k_coins_near >/dev/null
    while ((REPLY > 0)); do
        k_pick
        k_coins_near >/dev/null
    done
}
k_on_coin grab

k_pencolor seagreen
k_teleport -240 -238
k_setheading 0
# Rows of 34, not of 40: the field tells of a coin one step after it has come within reach.
way=10
for ((row = 0; row < 15; ++row)); do
    k_sety $((-238 + 34 * row))
    grab # at the edge the next step may leave a coin behind
    for ((step = 0; step < 48; ++step)); do
        k_forward $way
    done
    way=$((-way))
done
echo "I have $(k_coins) coins"
