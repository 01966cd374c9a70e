"""A card trick: think of a card, say three times in which column it lies, and the turtle knows it."""
from random import sample

from kelmora import *

SUITS = ("spades", "hearts", "clubs", "diamonds")
RANKS = ("ace", "2", "3", "4", "5", "6", "7", "8", "9", "10", "jack", "queen", "king")


def deal(deck):
    """Lays 21 cards in three columns and gives the columns back."""
    clear_cards()
    columns = [deck[0::3], deck[1::3], deck[2::3]]
    for row in range(7):
        for column in range(3):
            card(columns[column][row], -200 + 160 * column, 140 - 62 * row)
    return columns


deck = sample(range(1, 53), 21)
for turn in range(3):
    columns = deal(deck)
    answer = ""
    while answer not in ("1", "2", "3"):
        answer = input("In which column is your card, 1, 2 or 3? ")
    # The column with the card goes between the other two.
    middle = columns.pop(int(answer) - 1)
    deck = columns[0] + middle + columns[1]

clear_cards()
found = deck[10]            # now it is the one in the middle
card(found, -37, -52)
print("Your card is number", found)
