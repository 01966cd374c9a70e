#!/bin/bash
# A card trick: think of a card, say three times in which column it lies, and the turtle knows it.
. "$(dirname "$0")/../shell/kelmora.sh"

k_connect || exit

# 21 different cards of the 52.
deck=()
while ((${#deck[@]} < 21)); do
    card=$((RANDOM % 52 + 1))
    [[ " ${deck[*]} " == *" $card "* ]] || deck+=("$card")
done

for turn in first second third; do
    # Lay them in three columns of seven, row by row.
    k_clear_cards
    columns=('' '' '')
    for ((k = 0; k < 21; ++k)); do
        k_card "${deck[k]}" $((-200 + 160 * (k % 3))) $((140 - 62 * (k / 3)))
        columns[k % 3]+=" ${deck[k]}"
    done
    answer=''
    until [[ $answer == [123] ]]; do
        read -r -p "In which column is your card, 1, 2 or 3? (the $turn time) " answer || exit
    done
    # The column with the card goes between the other two.
    read -r -a deck <<<"${columns[answer % 3]} ${columns[answer - 1]} ${columns[(answer + 1) % 3]}"
done

k_clear_cards
k_card "${deck[10]}" -37 -52        # now it is the one in the middle
echo "Your card is number ${deck[10]}"
