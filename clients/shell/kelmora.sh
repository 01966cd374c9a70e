# kelmora.sh: drives a turtle on a Kelmora field from bash, with bash alone.
#
#     . kelmora.sh
#     k_connect || exit
#     for i in 1 2 3 4; do
#         k_forward 50
#         k_left 90
#     done
#
# A word's status is 0 for done or yes, 1 for no (something is in the way, the field refuses), 2 for an error, which is
# told on standard error; K_ERROR is then its kind: no_field not_admitted died lost no_answer bad_answer not_a_number
# bad_value blocked not_here. A word that asks prints what it was told, separated by blanks, and leaves it in REPLY, too:
# that saves the subshell of $(...), in which events would be lost.
# One script drives one turtle; its own names begin with k_, K_ and _k_.
# shellcheck shell=bash disable=SC2034,SC2317

if [ -z "${BASH_VERSION:-}" ] || ((BASH_VERSINFO[0] * 100 + BASH_VERSINFO[1] < 404)); then
    echo "kelmora.sh needs bash, version 4.4 or later" >&2
    return 2 2>/dev/null || exit 2
fi

K_FD=''            # the connection; empty when there is none
K_GONE=''          # a pipe that all subshells share; a byte in it says that the connection has ended
K_TIMEOUT=20       # seconds to wait for an answer
K_CONNECT_TIMEOUT=5
K_ENDING='k_connect comes first'
K_ERROR=''
K_EVENT_NAMES=(hit turtle doughnut stone wall coin found seen message)
K_WHERE=''
K_ADMITTED=0       # whether an answer has come
K_OBSTACLE=''      # what stopped the last step
K_HIT=0            # whether the turtle was hit
K_HAPPENED=0       # events since k_events was asked last
K_DUE=()           # events that the callbacks have not been told of
K_DELIVERING=0
declare -A K_CALLBACKS=()
K_STRICT=0         # whether a blocked step is an error
K_BY=''            # what it was blocked by
K_BATCHING=''      # in a batch: "collect" while lines are collected, "replay" while their answers are read
K_QUIET=0          # whether words leave what they were told in REPLY alone

# _k_fresh_pen DOWN : the pen as the field gives it to a fresh turtle, up or down.
_k_fresh_pen() { K_DOWN=$1 K_RECOLORED=0 K_WAY=l K_PEN='1 0 0' K_FILL='1 0 0' K_WIDTH=1 K_FILLING=0; }
_k_fresh_pen 1
K_GROUND='0 0 0' K_MODE=1

# ---------------------------------------------------------------------------------------------------- connection

# _k_fail KIND TEXT : tells of an error and gives status 2. Nothing can be said any more after most kinds.
_k_fail() {
    K_ERROR=$1
    case $1 in
        died | lost | no_answer | bad_answer | not_admitted)
            if [ -n "$K_FD" ]; then
                K_ENDING=$2
                printf x >&"$K_GONE"
                exec {K_FD}>&-
                K_FD=''
            fi
            ;;
    esac
    printf 'kelmora: %s\n' "$2" >&2
    return 2
}

# k_connect [HOST [PORT]] : connects, else to KELMORA_HOST and KELMORA_PORT, else to this machine's field, and takes a
# turtle there, with its pen down.
k_connect() {
    local host=${1:-${KELMORA_HOST:-localhost}} port=${2:-${KELMORA_PORT:-2222}} address alarm guard ready script=$BASHPID
    if ! [[ $port =~ ^[0-9]{1,5}$ ]] || ((10#$port < 1 || 10#$port > 65535)); then
        _k_fail bad_value "\"$port\" is no port: a port is a number from 1 to 65535, the field's is 2222"
        return
    fi
    if ! [[ $host =~ ^[A-Za-z0-9._:%-]+$ ]]; then
        _k_fail bad_value "\"$host\" is no name of a machine"
        return
    fi
    k_close
    K_WHERE=$host:$port K_ENDING='it has hung up' K_HIT=0 K_ADMITTED=0 K_HAPPENED=0 K_OBSTACLE='' K_DUE=() K_DELIVERING=0
    _k_fresh_pen 1
    K_GROUND='0 0 0' K_MODE=1 K_STRICT=0
    # A private field admits 127.0.0.1 and no other name of this machine.
    address=$host
    [ "$host" != localhost ] || address=127.0.0.1
    exec {K_GONE}<> <(:)
    # Writing to a connection that has ended is an error here, not the end of the script.
    [ -n "$(trap -p PIPE)" ] || trap : PIPE
    # bash would wait for minutes for a machine that does not answer. The guard wakes it.
    alarm=$(trap -p ALRM)
    trap : ALRM
    exec {ready}<> <(:)
    while ! read -r -n 1 -t "$K_CONNECT_TIMEOUT" -u "$ready"; do kill -ALRM "$script"; done 2>/dev/null &
    guard=$!
    { exec {K_FD}<>"/dev/tcp/$address/$port"; } 2>/dev/null || K_FD=''
    printf x >&"$ready"
    wait "$guard"
    exec {ready}>&-
    trap - ALRM
    [ -z "$alarm" ] || eval "$alarm"
    if [ -z "$K_FD" ]; then
        _k_fail no_field "No field answers at $K_WHERE. Is it running? Is the address right?"
        return
    fi
    _k_exchange . 'p d'
}

# k_close : hangs up. The turtle stays on the field as a zombie.
k_close() {
    [ -z "$K_FD" ] || exec {K_FD}>&-
    [ -z "$K_GONE" ] || exec {K_GONE}>&-
    K_FD='' K_GONE='' K_ENDING='the script has hung up'
}

# `[values ]OK|ERR @ clock events`; the last " @ " counts, as values may hold one.
_K_ANSWER='^((.*) )?(OK|ERR) @ ([0-9]{1,20}) ([0-9]{1,10})$'

# _k_packet LINE... : sends the lines as one packet and reads as many answers. Their values are then in K_VALUES, OK or
# ERR in K_STATUS, clocks in K_CLOCKS, events in K_EVENTS.
_k_packet() {
    local LC_ALL=C IFS=$'\n' line='' number
    K_ERROR=''
    if [ -n "$K_BATCHING" ]; then
        _k_batched "$@"
        return
    fi
    if [ -z "$K_FD" ]; then
        _k_fail lost "There is no connection to the field: $K_ENDING."
        return
    fi
    if read -r -t 0 -u "$K_GONE"; then # a subshell has found its end
        _k_fail lost "The connection to the field has ended."
        return
    fi
    K_VALUES=() K_STATUS=() K_CLOCKS=() K_EVENTS=()
    if read -r -t 0 -u "$K_FD"; then # its end, or an answer that nobody asked for
        if IFS= read -r -n 60 -t 1 -u "$K_FD" line || [ -n "$line" ]; then
            _k_bad_answer "$line"
        else
            _k_hung_up
        fi
        return
    fi
    # One printf: up to 4096 bytes, bash's output buffer, then go in one write. bash allocates the buffer at its first
    # output, which k_connect makes; before that each line is a write of its own.
    if ! printf '%s' "$*"$'\n' 2>/dev/null 1>&"$K_FD"; then
        _k_hung_up
        return
    fi
    for ((number = 0; number < $#; ++number)); do
        line=''
        if IFS= read -r -n 1025 -t "$K_TIMEOUT" -u "$K_FD" line 2>/dev/null; then
            if [ ${#line} -gt 1024 ] || ! [[ $line =~ $_K_ANSWER ]] || ((10#${BASH_REMATCH[5]} > 4294967295)); then
                _k_bad_answer "$line"
                return
            fi
            K_VALUES+=("${BASH_REMATCH[2]}") K_STATUS+=("${BASH_REMATCH[3]}")
            K_CLOCKS+=("${BASH_REMATCH[4]}") K_EVENTS+=("${BASH_REMATCH[5]}")
            K_ADMITTED=1
            [ "${BASH_REMATCH[5]}" = 0 ] || _k_note "$((10#${BASH_REMATCH[5]}))"
        elif (($? > 128)); then
            _k_fail no_answer "The field does not answer. Does its window still move? Is the network still there?"
            return
        else
            _k_hung_up
            return
        fi
    done
}

# As _k_packet; then calls the callbacks of what has happened.
_k_exchange() {
    _k_packet "$@" || return
    _k_settle
}

_k_settle() { [ ${#K_DUE[@]} = 0 ] || [ -n "$K_BATCHING" ] || _k_deliver; }

_k_bad_answer() { _k_fail bad_answer "This is no answer of a field: \"${1:0:60}\". Is $K_WHERE the right address?"; }

_k_hung_up() {
    if [ "$K_ADMITTED" = 0 ]; then
        _k_fail not_admitted "The field at $K_WHERE hung up at once. Either it is private, and then your script must run \
on its machine and connect to 127.0.0.1 (the key @ in its window makes it public), or its ten places are taken."
    elif [ "$K_HIT" = 1 ]; then
        _k_fail died "The turtle has died: it was hit too often. Start the script again for a new one."
    else
        _k_fail lost "The connection to the field has ended. The field was closed, or somebody has removed all turtles."
    fi
}

_k_note() {
    K_HAPPENED=$((K_HAPPENED | $1))
    local k
    for k in 1 2 3 4; do
        if (($1 >> k & 1)); then K_OBSTACLE=${K_EVENT_NAMES[k]}; fi
    done
    if (($1 & 1)); then K_HIT=1; fi
    [ ${#K_CALLBACKS[@]} = 0 ] || K_DUE+=("$1")
}

# Calls the callbacks; what they bring about waits until they have returned.
_k_deliver() {
    local k callback error=$K_ERROR reply=${REPLY:-}
    local values=("${K_VALUES[@]}") status=("${K_STATUS[@]}") clocks=("${K_CLOCKS[@]}") events=("${K_EVENTS[@]}")
    [ "$K_DELIVERING" = 0 ] || return 0
    K_DELIVERING=1
    while [ ${#K_DUE[@]} -gt 0 ]; do
        for k in "${!K_EVENT_NAMES[@]}"; do
            callback=${K_CALLBACKS[${K_EVENT_NAMES[k]}]:-}
            if [ -n "$callback" ] && ((K_DUE[0] >> k & 1)); then "$callback"; fi
        done
        K_DUE=("${K_DUE[@]:1}")
    done
    K_DELIVERING=0
    K_VALUES=("${values[@]}") K_STATUS=("${status[@]}") K_CLOCKS=("${clocks[@]}") K_EVENTS=("${events[@]}")
    K_ERROR=$error REPLY=$reply
}

# ------------------------------------------------------------------------------------------------------- checks

_K_NUMBER='^[-+]?([0-9]{1,40}\.?[0-9]{0,40}|\.[0-9]{1,40})([eE][-+]?[0-9]{1,2})?$'

# The word that the script has called, in REPLY.
_k_caller() {
    for REPLY in "${FUNCNAME[@]}"; do
        [[ $REPLY != k_* ]] || return 0
    done
}

# _k_numbers N ARGUMENT... : whether there are N arguments, all of them numbers.
_k_numbers() {
    local wanted=$1 text
    shift
    if [ $# -ne "$wanted" ]; then
        _k_caller
        _k_fail not_a_number "$REPLY takes $wanted number(s), not $#"
        return
    fi
    for text; do
        if ! [[ $text =~ $_K_NUMBER ]]; then
            _k_caller
            _k_fail not_a_number "\"${text:0:60}\" is no number that $REPLY could use"
            return
        fi
    done
}

# _k_whole LEAST MOST TEXT : whether the text is a whole number in that range.
_k_whole() {
    if ! [[ $3 =~ ^[0-9]{1,4}$ ]] || ((10#$3 < $1 || 10#$3 > $2)); then
        _k_caller
        _k_fail bad_value "$REPLY takes a whole number from $1 to $2, not \"${3:0:60}\""
        return
    fi
}

# ----------------------------------------------------------------------------------------------------- families

# A command that nothing stops but a rule: status 0 for OK, 1 for ERR.
_k_do() {
    _k_exchange "$1" || return
    [ "${K_STATUS[0]}" = OK ]
}

# _k_moved INDEX [jump] : what the answer of this number says to a turn, a step or a jump.
_k_moved() {
    if [ "${K_STATUS[$1]}" = OK ]; then
        K_OBSTACLE='' # the field tells anew what is in the way
        return
    fi
    [ "$K_STRICT" = 1 ] || return 1
    K_BY=${K_OBSTACLE:-something}
    if [ "${2:-}" = jump ] && ((!(10#${K_EVENTS[$1]} & 30))); then K_BY=jump; fi
    _k_blocked
}

_k_blocked() {
    case $K_BY in
        jump)
            _k_fail blocked "The field refused the jump. It refuses jumps in battle mode, while something stands closer \
than 20 to you, and, when its edges are hard, to a place outside or near a wall."
            ;;
        something) _k_fail blocked "Something is in the way, and the field did not say what: turn a little and try again." ;;
        *) _k_fail blocked "A $K_BY is in the way: turn, or wait until it has gone." ;;
    esac
}

_k_turn() {
    _k_exchange "$1" || return
    _k_moved 0
}

# _k_travel KIND INDEX PAINTS LINE... : a packet in which the line of this number, from 0, is a step, or with the KIND
# jump a jump. PAINTS is 1 when the pen may draw on the way.
_k_travel() {
    local kind=$1 index=$2 paints=$3 outcome=0
    shift 3
    [ "$K_FILLING" = 0 ] || set -- "$@" 'q p'
    _k_packet "$@" || return
    if [ "$K_FILLING" = 1 ] && [ "${K_STATUS[index]}" = OK ]; then
        _k_values 2 && _k_trace "$REPLY" "$paints" || return
    fi
    _k_moved "$index" "$kind" || outcome=$?
    _k_settle
    return "$outcome"
}

# _k_move KIND LINE [BEFORE...] : a step or a jump, after other commands in the same packet. The field blends a line from
# the colour before to the new one; a pen put down anew makes it whole.
_k_move() {
    local kind=$1 line=$2
    shift 2
    if [ "$K_RECOLORED" = 1 ] && [ "$K_DOWN" = 1 ] && [ "$K_WAY" = l ]; then
        K_RECOLORED=0
        set -- "$@" 'p d'
    fi
    if [ "$K_DOWN" = 1 ] && [ "$K_BATCHING" = collect ] && ((++K_LINES == 2)); then
        echo "kelmora: a batch is one packet, and of the lines in one packet the field paints the last only" >&2
    fi
    _k_travel "$kind" $# 1 "$@" "$line"
}

# k_strict [off] : from now on a step that is blocked is an error, of the kind blocked; K_BY is then what was in the way:
# turtle, doughnut, stone, wall, "jump" for a jump that was refused, "something" when the field did not say.
k_strict() {
    case ${1:-on} in
        off | 0 | false) K_STRICT=0 ;;
        *) K_STRICT=1 ;;
    esac
}

# k_blocked_by : turtle, doughnut, stone or wall, whatever stopped the last step; status 1 when nothing did.
k_blocked_by() {
    REPLY=$K_OBSTACLE
    [ -n "$REPLY" ] && _k_print
}

# The values of the latest answer as COUNT numbers, in REPLY.
_k_values() {
    local word words IFS=$' \t\n'
    REPLY=${K_VALUES[-1]}
    read -r -a words <<<"$REPLY"
    if [ "${#words[@]}" != "$1" ] || [ "${words[*]}" != "$REPLY" ]; then
        _k_bad_answer "$REPLY"
        return
    fi
    for word in "${words[@]}"; do
        if ! [[ $word =~ $_K_NUMBER ]]; then
            _k_bad_answer "$REPLY"
            return
        fi
    done
    REPLY=${REPLY//-0.000000/0.000000} # looks odd
}

# _k_ask LINE COUNT : asks for so many numbers, which are then in REPLY.
_k_ask() {
    _k_exchange "$1" || return
    _k_values "$2"
}

# Prints REPLY, unless the word is one of a batch.
_k_print() {
    K_TOLD=1
    [ "$K_QUIET" = 1 ] || printf '%s\n' "$REPLY"
}

# _k_count LINE : asks for one whole number and prints it.
_k_count() {
    _k_ask "$1" 1 || return
    if ! [[ $REPLY =~ ^-?[0-9]+$ ]]; then
        _k_bad_answer "$REPLY"
        return
    fi
    _k_print
}

_k_flag() {
    _k_ask "$1" 1 || return
    [ "$REPLY" != 0 ]
}

# --------------------------------------------------------------------------------------------------- arithmetic
# bash calculates with whole numbers of 64 bits. So lengths are whole millionths of a unit here, angles whole billionths
# of a degree, sines whole billionths.

K_FULL=360000000000
_K_ARCS=(45000000000 26565051177 14036243468 7125016349 3576334375 1789910608 895173710 447614171 223810500 111905677 55952892 27976453 13988227 6994114 3497057 1748528 874264)

# _k_fixed TEXT [PLACES] : a number as whole millionths, or with so many digits behind the point, rounded, in REPLY; status
# 1 when that has more than 18 digits.
_k_fixed() {
    local text=$1 places=${2:-6} sign='' exponent=0 whole digits point more=0
    case $text in -*) sign=- text=${text#-} ;; +*) text=${text#+} ;; esac
    if [[ $text == *[eE]* ]]; then
        exponent=${text#*[eE]} text=${text%%[eE]*}
        case $exponent in
            -*) exponent=-$((10#${exponent#-})) ;;
            *) exponent=$((10#${exponent#+})) ;;
        esac
    fi
    whole=${text%%.*} digits=${text/./}
    point=$((${#whole} + exponent + places))
    while ((${#digits} < point)); do digits+=0; done
    if ((point >= 0)); then
        case ${digits:point:1} in [5-9]) more=1 ;; esac
        digits=${digits:0:point}
    else
        digits=''
    fi
    while [[ $digits == 0* ]]; do digits=${digits#0}; done
    [ ${#digits} -le 18 ] || return 1
    REPLY=$((${sign}1 * (${digits:-0} + more)))
}

# _k_lengths LIMIT TEXT... : numbers as millionths, in K_FIXED; none is beyond LIMIT units.
_k_lengths() {
    local limit=$1 text
    shift
    K_FIXED=()
    for text; do
        if ! _k_fixed "$text" || ((${REPLY#-} > limit * 1000000)); then
            _k_caller
            _k_fail bad_value "$REPLY calculates with numbers up to $limit, so ${text:0:60} is too large"
            return
        fi
        K_FIXED+=("$REPLY")
    done
}

# _k_decimal N [PLACES] : millionths, or what has so many digits behind the point, as a decimal number, in REPLY.
_k_decimal() {
    local n=${1#-} places=${2:-6} part
    while ((${#n} <= places)); do n=0$n; done
    part=${n: -places} n=${n:0:${#n}-places}
    while [[ $part == *0 ]]; do part=${part%0}; done
    REPLY=$n${part:+.$part}
    if [[ $1 == -* && $REPLY != 0 ]]; then REPLY=-$REPLY; fi
}

# _k_root N : the square root of a whole number above 0, rounded down, in REPLY.
_k_root() {
    local root=1 next
    while ((root <= $1 / root)); do root=$((root * 2)); done # above the root; Newton's steps then lead down to it
    while
        next=$(((root + $1 / root) / 2))
        ((next < root))
    do root=$next; done
    REPLY=$root
}

# _k_length DX DY : how long the way is, in REPLY.
_k_length() {
    local dx=${1#-} dy=${2#-} scale=1
    while ((dx > 1000000000 || dy > 1000000000)); do dx=$((dx / 10)) dy=$((dy / 10)) scale=$((scale * 10)); done
    if ((dx == 0 && dy == 0)); then
        REPLY=0
    else
        _k_root $((4 * (dx * dx + dy * dy)))
        REPLY=$(((REPLY + 1) / 2 * scale))
    fi
}

# _k_sine ANGLE : in REPLY; Taylor's series of an angle up to a right one.
_k_sine() {
    local angle=$((($1 % K_FULL + K_FULL) % K_FULL)) sign=1 x term sum k
    if ((angle >= K_FULL / 2)); then angle=$((angle - K_FULL / 2)) sign=-1; fi
    if ((angle > K_FULL / 4)); then angle=$((K_FULL / 2 - angle)); fi
    x=$((angle / 100 * 1745329252 / 1000000000)) # in radians: a degree is 0.01745329252 of them
    term=$x sum=$x
    for ((k = 2; term != 0 && k < 24; k += 2)); do
        term=$((-term * (x * x / 1000000000) / 1000000000 / (k * (k + 1))))
        sum=$((sum + term))
    done
    REPLY=$((sign * sum))
}

# _k_times LENGTH SINE : the product, in REPLY.
_k_times() {
    local product=$(($1 / 1000000 * $2 + $1 % 1000000 * $2 / 1000000))
    REPLY=$(((product + (product < 0 ? -500 : 500)) / 1000))
}

# _k_direction DX DY : the direction of this way, 0 or more and below a full turn, in REPLY. The way is turned by smaller
# and smaller angles whose tangents are halves until it leads to the right (CORDIC).
_k_direction() {
    local x=$1 y=$2 turn=0 k arc next
    if ((x < 0)); then x=$((-x)) y=$((-y)) turn=$((K_FULL / 2)); fi
    while ((x && x < 1 << 57 || y && ${y#-} < 1 << 57)); do
        ((x < 1 << 57 && ${y#-} < 1 << 57)) || break
        x=$((x * 2)) y=$((y * 2)) # digits that shifting then takes away
    done
    for ((k = 0; k < 36 && y; ++k)); do
        arc=${_K_ARCS[k]:-$((arc / 2))}
        if ((y > 0)); then
            next=$((x + (y >> k))) y=$((y - (x >> k))) turn=$((turn + arc))
        else
            next=$((x - (y >> k))) y=$((y + (x >> k))) turn=$((turn - arc))
        fi
        x=$next
    done
    REPLY=$(((turn + K_FULL) % K_FULL))
}

# _k_shortest ANGLE : the angle as the shortest turn, as a decimal number, in REPLY.
_k_shortest() {
    local angle=$((($1 % K_FULL + K_FULL) % K_FULL))
    if ((angle > K_FULL / 2)); then angle=$((angle - K_FULL)); fi
    _k_decimal "$angle" 9
}

# Place of the turtle in K_X and K_Y, from the two values in REPLY.
_k_place() {
    local x=${REPLY% *} y=${REPLY#* }
    if ! _k_fixed "$x"; then
        _k_bad_answer "$x $y"
        return
    fi
    K_X=$REPLY
    if ! _k_fixed "$y"; then
        _k_bad_answer "$x $y"
        return
    fi
    K_Y=$REPLY
}

# ------------------------------------------------------------------------------------------------------- motion
# Distances in units of the field (it is 512 wide, (0, 0) in the middle), angles in degrees (0 is east, left turns add).

k_forward() { _k_numbers 1 "$@" && _k_move step "f $1"; }
k_back() { _k_numbers 1 "$@" && _k_move step "b $1"; }
k_left() { _k_numbers 1 "$@" && _k_turn "t l $1"; }
k_right() { _k_numbers 1 "$@" && _k_turn "t r $1"; }

# k_goto X Y, k_shift DX DY : jumps, with a line when the pen is down. Refused in battle, and while somebody is closer
# than 20.
k_goto() { _k_numbers 2 "$@" && _k_move jump "j $1 $2"; }
k_shift() { _k_numbers 2 "$@" && _k_move jump "g $1 $2"; }
k_setx() { _k_numbers 1 "$@" && _k_immediate && _k_ask 'q p' 2 && _k_move jump "j $1 ${REPLY#* }"; }
k_sety() { _k_numbers 1 "$@" && _k_immediate && _k_ask 'q p' 2 && _k_move jump "j ${REPLY% *} $1"; }

# k_setheading ANGLE : six digits behind the point count.
k_setheading() {
    local goal turn
    _k_numbers 1 "$@" || return
    if ! _k_fixed "$1"; then
        _k_fail bad_value "k_setheading takes an angle such as 45 or -22.5"
        return
    fi
    goal=$(((REPLY % 360000000 + 360000000) % 360000000))
    case $goal in
        0) turn='t e' ;;
        90000000) turn='t n' ;;
        180000000) turn='t w' ;;
        270000000) turn='t s' ;;
        *) turn='' ;;
    esac
    if [ -n "$turn" ]; then
        _k_exchange "$turn" || return
        # In battle mode the field answers with the turtle's place and does nothing.
        if [ -z "${K_VALUES[0]}" ]; then
            _k_moved 0
            return
        fi
        [ -z "$K_BATCHING" ] || return 1
    fi
    _k_immediate && _k_heading || return
    _k_shortest $(((goal - REPLY) * 1000))
    _k_turn "t l $REPLY"
}

# The turtle's heading in millionths of a degree, 0 or more and below a full turn, in REPLY.
_k_heading() {
    _k_ask 'q d' 1 || return
    if ! _k_fixed "$REPLY"; then
        _k_bad_answer "$REPLY"
        return
    fi
    REPLY=$(((REPLY % 360000000 + 360000000) % 360000000))
}

# k_home : walks to the middle and faces east; status 1 when something is in the way, it then stays where it was.
k_home() {
    local heading way
    _k_immediate && _k_exchange 'q p' 'q d' && _k_values 1 || return
    if ! _k_fixed "$REPLY"; then
        _k_bad_answer "$REPLY"
        return
    fi
    heading=$REPLY
    K_VALUES=("${K_VALUES[0]}")
    _k_values 2 && _k_place || return
    _k_length "$K_X" "$K_Y"
    if ((REPLY > 1)); then
        _k_decimal "$REPLY"
        way=$REPLY
        _k_direction $((-K_X)) $((-K_Y))
        _k_shortest $((REPLY - heading % 360000000 * 1000))
        _k_move step "f $way" "t l $REPLY" || return
    fi
    _k_exchange 't e' || return
    # In battle mode the field answers with the turtle's place and does nothing.
    [ -z "${K_VALUES[0]}" ] || { _k_values 2 && _k_place && ((${K_X#-} < 10000 && ${K_Y#-} < 10000)) && k_setheading 0; }
}

# k_circle RADIUS [EXTENT [STEPS]] : along a circle whose middle is RADIUS to the left, or to the right when it is negative.
# EXTENT is the angle of the arc, else 360; STEPS so many straight steps: k_circle 50 360 3 is a triangle. Ends with
# status 1 at a step that is blocked.
k_circle() {
    local radius extent steps turned=0 turn length k sign=1
    _k_immediate || return
    if [ $# -gt 3 ]; then
        _k_fail not_a_number "k_circle takes 1 to 3 numbers, not $#"
        return
    fi
    _k_numbers 2 "${1:-}" "${2:-360}" && _k_lengths 36000 "$1" "${2:-360}" || return
    radius=${K_FIXED[0]} extent=${K_FIXED[1]}
    if [ $# = 3 ]; then
        _k_whole 1 9999 "$3" || return
        steps=$((10#$3))
    else
        steps=$((11000000 + ${radius#-} / 6))
        steps=$((1 + (steps < 59000000 ? steps : 59000000) * ${extent#-} / 360000000 / 1000000))
    fi
    if [[ $radius == -* ]]; then radius=${radius#-} sign=-1; fi
    extent=$((extent * 1000))
    _k_sine $((extent / steps / 2))
    _k_times $((2 * radius)) "$REPLY"
    _k_decimal "$REPLY"
    length=$REPLY
    for ((k = 0; k < steps; ++k)); do
        turn=$((extent * (2 * k + 1) / (2 * steps) - turned)) # of the whole so far, so that no error adds up
        turned=$((turned + turn))
        _k_decimal $((sign * turn)) 9
        _k_move step "f $length" "t l $REPLY" || return
    done
    _k_decimal $((sign * (extent - turned))) 9
    _k_turn "t l $REPLY"
}

# k_teleport X Y : jumps without drawing.
k_teleport() {
    _k_numbers 2 "$@" || return
    if [ "$K_DOWN" = 1 ]; then
        _k_lift_brush || return
        K_RECOLORED=0
        _k_travel jump 1 0 'p u' "j $1 $2" 'p d'
    else
        _k_travel jump 0 0 "j $1 $2"
    fi
}

# ---------------------------------------------------------------------------------------------------------- pen

k_penup() {
    K_DOWN=0
    _k_do 'p u'
}
k_pendown() {
    K_DOWN=1 K_RECOLORED=0
    _k_do 'p d'
}
k_isdown() { [ "$K_DOWN" = 1 ]; }

# k_pensize [WIDTH] : sets the pen's width in pixels, or prints it.
k_pensize() {
    if [ $# = 0 ]; then
        REPLY=$K_WIDTH
        _k_print
        return
    fi
    _k_numbers 1 "$@" || return
    if [[ $1 == -* || ! ${1%%[eE]*} =~ [1-9] ]]; then
        _k_fail bad_value "A pen is wider than 0"
        return
    fi
    K_WIDTH=$1
    _k_do "w $1"
}

# A part of 255 as a decimal number, in REPLY.
_k_part() {
    local n=$(((10#$1 * 200000000 + 255) / 510)) part
    if ((n == 100000000)); then
        REPLY=1
        return
    fi
    printf -v part '%08d' "$n"
    while [[ $part == *0 ]]; do part=${part%0}; done
    REPLY=0${part:+.$part}
}

# _k_color COLOUR : a name, #rrggbb, #rgb or three numbers, as three parts from 0 to 1 in REPLY.
_k_color() {
    local name digits part k parts=() IFS=$' \t\n'
    if [ $# = 3 ]; then
        for part; do
            if ! [[ $part =~ $_K_NUMBER ]]; then
                _k_fail not_a_number "\"${part:0:60}\" is no number for a colour"
                return
            elif [ "$K_MODE" = 1 ] && [[ $part =~ ^(0+\.?|0*\.[0-9]+|0*1\.?0*)$ ]]; then
                parts+=("$part")
            elif [ "$K_MODE" = 255 ] && [[ $part =~ ^[0-9]{1,3}$ ]] && ((10#$part <= 255)); then
                _k_part "$part"
                parts+=("$REPLY")
            else
                _k_fail bad_value "The parts of a colour are numbers from 0 to 1, after k_colormode 255 whole ones to 255"
                return
            fi
        done
        REPLY=${parts[*]}
        return
    fi
    name=${1:-}
    name=${name,,}
    name=${name// /}
    digits=${_K_COLORS[${name:-none}]:-}
    if [[ $name == '#'* ]]; then digits=${name#'#'}; fi
    if [ ${#digits} = 3 ]; then digits=${digits:0:1}${digits:0:1}${digits:1:1}${digits:1:1}${digits:2:1}${digits:2:1}; fi
    if [[ $name =~ ^gr[ae]y([0-9]{1,3})$ ]] && ((10#${BASH_REMATCH[1]} <= 100)); then
        printf -v part '%02x' $(((10#${BASH_REMATCH[1]} * 255 + 50) / 100))
        digits=$part$part$part
    fi
    if [ $# != 1 ] || ! [[ $digits =~ ^[0-9a-f]{6}$ ]]; then
        _k_fail bad_value "There is no colour \"${*:1:3}\": use a name like red, or #rrggbb, or three numbers"
        return
    fi
    for k in 0 2 4; do
        _k_part $((16#${digits:k:2}))
        parts+=("$REPLY")
    done
    REPLY=${parts[*]}
}

# _k_parts COLOUR : its three parts as the colour mode counts, in REPLY.
_k_parts() {
    local part parts IFS=$' \t\n'
    REPLY=$1
    [ "$K_MODE" = 255 ] || return 0
    read -r -a parts <<<"$1"
    for part in 0 1 2; do
        _k_fixed "${parts[part]}"
        parts[part]=$(((REPLY * 255 + 500000) / 1000000))
    done
    REPLY="${parts[0]} ${parts[1]} ${parts[2]}"
}

# k_pencolor [COLOUR] : sets the colour of the pen, or prints its parts.
k_pencolor() {
    if [ $# = 0 ]; then
        _k_parts "$K_PEN"
        _k_print
        return
    fi
    _k_color "$@" || return
    K_PEN=$REPLY
    if [ "$K_DOWN" = 1 ] && [ "$K_WAY" = 'l b' ]; then # a stroke has one colour
        _k_lift_brush && _k_exchange "k $K_PEN" 'p d' || return
        [ "${K_STATUS[0]}" = OK ]
    else
        K_RECOLORED=$K_DOWN
        _k_do "k $REPLY"
    fi
}

# k_fillcolor [COLOUR] : sets the colour that k_end_fill fills with, or prints its parts.
k_fillcolor() {
    if [ $# = 0 ]; then
        _k_parts "$K_FILL"
        _k_print
        return
    fi
    _k_color "$@" || return
    K_FILL=$REPLY
}

# k_color [COLOUR [FILLING]] : sets the colours of pen and filling, one for both or one each, or prints the parts of both.
k_color() {
    local pen fill
    if [ $# = 0 ]; then
        _k_parts "$K_PEN"
        pen=$REPLY
        _k_parts "$K_FILL"
        REPLY="$pen $REPLY"
        _k_print
        return
    elif [ $# = 2 ]; then
        _k_color "$2" || return
        fill=$REPLY
        set -- "$1"
    else
        _k_color "$@" || return
        fill=$REPLY
    fi
    _k_color "$1" "${@:2}" || return
    K_FILL=$fill
    k_pencolor "$@"
}

# k_colormode [1 or 255] : what the parts of a colour go up to.
k_colormode() {
    case ${1:-} in
        1 | 255) K_MODE=$1 ;;
        '')
            REPLY=$K_MODE
            _k_print
            ;;
        *) _k_fail bad_value "k_colormode takes 1 or 255, not \"${1:0:60}\"" ;;
    esac
}

# Finishes a stroke of the brush, which runs behind the turtle: the field does that in a frame with the pen up.
_k_lift_brush() {
    [ "$K_DOWN" = 0 ] || [ "$K_WAY" != 'l b' ] || { _k_immediate && _k_exchange 'p u'; }
}

# What the pen leaves: lines; a filled polygon of the latest six points; points; strokes of a brush. The pen put down
# anew leaves older points out.
_k_way() {
    _k_lift_brush || return
    K_WAY=$1
    if [ "$K_DOWN" = 0 ]; then
        _k_do "$1"
    else
        K_RECOLORED=0
        _k_exchange "$1" 'p d' || return
        [ "${K_STATUS[0]}" = OK ]
    fi
}
k_lines() { _k_way l; }
k_polygons() { _k_way 'l s'; }
k_points() { _k_way 'l p'; }
k_brush() { _k_way 'l b'; }

# The bytes of a text as hexadecimal digits, in REPLY.
_k_hex() {
    local LC_ALL=C k digits
    REPLY=''
    for ((k = 0; k < ${#1}; ++k)); do
        printf -v digits '%02x' "'${1:k:1}"
        REPLY+=$digits
    done
}

# k_write TEXT : 1 to 127 plain letters; the field has no others.
k_write() {
    local LC_ALL=C IFS=$' \t\n'
    local text=$*
    if [[ -z $text || ${#text} -gt 127 || $text == *[!\ -~]* ]]; then
        _k_fail bad_value "A text to write has 1 to 127 plain letters; the field has no others"
        return
    fi
    _k_hex "$text"
    _k_do "s $REPLY"
}

# k_bgcolor [COLOUR] : colour of the ground; wipes everybody's painting.
k_bgcolor() {
    if [ $# = 0 ]; then
        _k_parts "$K_GROUND"
        _k_print
        return
    fi
    _k_color "$@" || return
    K_GROUND=$REPLY
    _k_do "h $REPLY"
}

# k_clear : wipes everybody's painting; k_clearscreen : takes the zombies away, too.
k_clear() { _k_do 'c f'; }
k_clearscreen() { _k_do 'c a'; }

# k_reset : wipes the painting, takes a red pen of width 1 and walks home.
k_reset() {
    local home=0
    _k_immediate || return
    _k_fresh_pen 0
    _k_exchange 'c f' 'k 1 0 0' 'w 1' l 'p u' || return
    k_home || home=$?
    if [ "$home" = 2 ] && [ "$K_ERROR" != blocked ]; then return 2; fi
    k_pendown || return
    return "$home"
}

# k_restart : a fresh turtle in the middle, its pen up, without name and team. Not in battle.
k_restart() {
    _k_fresh_pen 0
    _k_do c
}

# ------------------------------------------------------------------------------------------------------- asking

k_position() { _k_ask 'q p' 2 && _k_print; }
k_xcor() {
    _k_ask 'q p' 2 || return
    REPLY=${REPLY% *}
    _k_print
}
k_ycor() {
    _k_ask 'q p' 2 || return
    REPLY=${REPLY#* }
    _k_print
}

# k_heading : 0 or more and below 360.
k_heading() {
    _k_heading || return
    _k_decimal "$REPLY"
    _k_print
}

# The way from the turtle to X Y, in K_X and K_Y.
_k_way_to() {
    local goal
    _k_numbers 2 "$@" && _k_lengths 1000000000 "$@" || return
    goal=("${K_FIXED[@]}")
    _k_ask 'q p' 2 && _k_place || return
    K_X=$((goal[0] - K_X)) K_Y=$((goal[1] - K_Y))
}

# k_distance X Y : how far it is to there; k_towards X Y : the heading that leads there.
k_distance() {
    _k_way_to "$@" || return
    _k_length "$K_X" "$K_Y"
    _k_decimal "$REPLY"
    _k_print
}
k_towards() {
    _k_way_to "$@" || return
    _k_direction "$K_X" "$K_Y"
    _k_decimal $(((REPLY + 500) / 1000 % 360000000))
    _k_print
}

k_score() { _k_count 'q s'; }
k_alive() { _k_flag 'q a'; }
k_clock() { _k_count 'q t'; }
k_turtles() { _k_count 'q n'; }
k_coins() { _k_count 'q o'; }
k_coins_near() { _k_count 'q c'; }

# k_message : when somebody wrote on the team's board last, and the text.
k_message() {
    _k_exchange 'q b' || return
    REPLY=${K_VALUES[0]}
    if ! [[ $REPLY =~ ^[0-9]+\  ]]; then
        _k_bad_answer "$REPLY"
        return
    fi
    _k_print
}

# k_finder [RANGE] : what is first straight ahead, nothing, turtle, doughnut, stone or wall, and its team.
k_finder() {
    local things=(nothing turtle doughnut stone wall)
    if [ $# = 0 ]; then
        _k_exchange 'q f' || return
    else
        _k_numbers 1 "$@" || return
        _k_exchange "e $1" 'q f' || return
    fi
    _k_values 2 || return
    if ! [[ $REPLY =~ ^[0-4]\  ]]; then
        _k_bad_answer "$REPLY"
        return
    fi
    REPLY="${things[${REPLY%% *}]} ${REPLY#* }"
    _k_print
}

# k_sonar : 1 where something is near, else 0; left, front, right.
k_sonar() { _k_ask 'q w' 3 && _k_print; }

# k_radar [K] : bearing and team of the K-th nearest, 1 to 5; status 1 when there is none.
k_radar() {
    _k_whole 1 5 "${1:-1}" || return
    _k_exchange "q r ${1:-1}" || return
    REPLY=''
    [ "${K_STATUS[0]}" = OK ] || return 1
    _k_values 2 && _k_print
}

k_card_shown() { _k_whole 1 52 "${1:-}" && _k_flag "q z s $((10#$1))"; }
k_card_position() { _k_whole 1 52 "${1:-}" && _k_ask "q z p $((10#$1))" 2 && _k_print; }

# k_ping : the field's clock, and a chance to hear of events.
k_ping() {
    _k_exchange . || return
    REPLY=${K_CLOCKS[0]}
    _k_print
}

# k_events : names of what has happened since it was asked last.
k_events() {
    local k names=() IFS=$' \t\n'
    _k_exchange . || return
    for k in "${!K_EVENT_NAMES[@]}"; do
        if ((K_HAPPENED >> k & 1)); then names+=("${K_EVENT_NAMES[k]}"); fi
    done
    K_HAPPENED=0
    REPLY=${names[*]}
    _k_print
}

# k_ask LINE : sends any line; prints values, OK or ERR, clock and events.
k_ask() {
    local LC_ALL=C IFS=$' \t\n'
    local line=$*
    if [[ ! $line =~ [^\ ] || ${#line} -gt 511 || $line == *[!\ -~]* || $line == *';'* ]]; then
        _k_fail bad_value 'A command is one line of 1 to 511 plain characters without ";"'
        return
    fi
    _k_exchange "$line" || return
    REPLY="${K_VALUES[0]:+${K_VALUES[0]} }${K_STATUS[0]} ${K_CLOCKS[0]} ${K_EVENTS[0]}"
    _k_print
}

# -------------------------------------------------------------------------------------------------------- doing

k_name() {
    local IFS=$' \t\n'
    _k_hex "$*"
    if [ ${#REPLY} -gt 254 ]; then
        _k_fail bad_value "A name has at most 127 bytes"
        return
    fi
    _k_do "n $REPLY"
}

# k_team [N] : joins team 1, 2, 3 or 4, or prints the team (0: none).
k_team() {
    if [ $# = 0 ]; then
        _k_count 'q m'
    else
        _k_whole 1 4 "$1" && _k_do "i $1"
    fi
}

k_broadcast() {
    local LC_ALL=C IFS=$' \t\n'
    local text=$*
    if [[ -z $text || ${#text} -gt 128 || $text == ' '* || $text == *[!\ -~]* || $text == *';'* ]]; then
        _k_fail bad_value 'The board takes 1 to 128 plain letters, no ";", and no blank in front'
        return
    fi
    _k_do "u $text"
}

k_pick() { _k_do o; }
k_drop() { _k_do 'o s'; }
k_borrow() { _k_do 'o b'; }
k_throw_coin() { _k_do 'o x'; }
k_doughnut() { _k_do d; }
k_fire() { _k_do x; }
k_robot() { _k_do r; }
k_card() { _k_whole 1 53 "${1:-}" && _k_numbers 2 "${@:2}" && _k_do "z $((10#$1)) $2 $3"; }
k_take_card() { _k_whole 1 53 "${1:-}" && _k_do "z -$((10#$1))"; }
k_clear_cards() { _k_do 'z 0'; }

# k_battle [off] : battle for everybody, or back to drawing.
k_battle() {
    case ${1:-on} in
        off | 0 | false) _k_do '! -' ;;
        *) _k_do '!' ;;
    esac
}

# ------------------------------------------------------------------------------------------------------- events

_k_switch() {
    local sign=$1 sum=0 name k known
    shift
    for name; do
        known=''
        for k in "${!K_EVENT_NAMES[@]}"; do
            [ "${K_EVENT_NAMES[k]}" != "$name" ] || known=$((1 << k))
        done
        if [ -z "$known" ]; then
            _k_fail bad_value "There is no event called \"${name:0:60}\"; there are ${K_EVENT_NAMES[*]}"
            return
        fi
        sum=$((sum | known))
    done
    _k_do "y $sign $sum"
}

# k_mute NAME..., k_unmute NAME... : switches events off, or on again.
k_mute() { _k_switch - "$@"; }
k_unmute() { _k_switch + "$@"; }

# k_on_hit FUNCTION and so on: the function is called when an answer has told of the event; without one, none is.
_k_on() {
    if [ -z "${2:-}" ]; then
        unset "K_CALLBACKS[$1]"
    elif declare -F "$2" >/dev/null; then
        K_CALLBACKS[$1]=$2
    else
        _k_fail bad_value "There is no function called \"${2:0:60}\""
    fi
}
k_on_hit() { _k_on hit "$@"; }
k_on_turtle() { _k_on turtle "$@"; }
k_on_doughnut() { _k_on doughnut "$@"; }
k_on_stone() { _k_on stone "$@"; }
k_on_wall() { _k_on wall "$@"; }
k_on_coin() { _k_on coin "$@"; }
k_on_found() { _k_on found "$@"; }
k_on_seen() { _k_on seen "$@"; }
k_on_message() { _k_on message "$@"; }

# -------------------------------------------------------------------------------------------------------- areas
# The field fills, a frame at a time, the polygon of a turtle's latest points: six of them once the turtle has made five
# painted steps in this mode, and fewer before. So an area is cut into convex pieces of six corners at most, and each
# piece is a packet of six jumps. Corners are whole hundred-thousandths of a unit here, so that products of two of them fit
# into 64 bits.

_K_THIN=5              # a slice lower than this shows nothing
_K_FAR=1000000000      # corners beyond cannot be calculated with: 10000 units

# k_begin_fill : from here on the way of the turtle is the edge of an area, which k_end_fill fills.
k_begin_fill() {
    _k_immediate && _k_ask 'q p' 2 || return
    K_TRACE_X=() K_TRACE_Y=() K_STROKES=() K_FILLING=1
    _k_trace "$REPLY" 0
}

# k_filling : whether an area has begun and not ended.
k_filling() { [ "$K_FILLING" = 1 ]; }

# _k_trace PLACE PAINTS : the turtle has come to this place; PAINTS is 1 when the pen could draw on the way.
_k_trace() {
    local place=$1 x y last=$((${#K_TRACE_X[@]} - 1))
    if ! _k_fixed "${place% *}" 5; then
        _k_bad_answer "$place"
        return
    fi
    x=$REPLY
    if ! _k_fixed "${place#* }" 5; then
        _k_bad_answer "$place"
        return
    fi
    y=$REPLY
    [ "$2$K_DOWN" != 11 ] || K_STROKES+=("${K_TRACE_X[last]} ${K_TRACE_Y[last]} $x $y $K_WAY,$K_PEN,$K_WIDTH")
    K_TRACE_X+=("$x") K_TRACE_Y+=("$y")
}

# k_end_fill : fills the area since k_begin_fill and draws the lines at its edge again, on top of it. The turtle jumps
# around for that, one piece of the area a frame, and comes back. What its way surrounds twice stays empty. Status 1 when
# something refused a jump; the area is then filled in part.
k_end_fill() {
    local corner outcome=0
    _k_immediate || return
    [ "$K_FILLING" = 1 ] || return 0
    K_FILLING=0
    for corner in "${K_TRACE_X[@]}" "${K_TRACE_Y[@]}"; do
        if ((${corner#-} > _K_FAR)); then
            _k_fail bad_value "k_end_fill cannot fill an area that reaches further than 10000"
            return
        fi
    done
    _k_pieces
    [ ${#K_PIECES[@]} -gt 0 ] || return 0
    _k_lift_brush || return
    _k_fill "$K_FILL" || outcome=$?
    [ "$outcome" != 0 ] || _k_strokes || outcome=$?
    [ "$outcome" != 2 ] || return 2
    _k_put_back "$outcome" jump "${K_TRACE_X[-1]}" "${K_TRACE_Y[-1]}"
}

# k_dot [DIAMETER] [COLOUR] : a disc in the pen's colour, or in the one given, whether the pen is up or down.
k_dot() {
    local ink=$K_PEN width count k x y radius outcome=0
    _k_immediate || return
    if [[ ${1:-} =~ ^[-+.0-9] ]]; then
        _k_numbers 1 "$1" && _k_lengths 5000 "$1" || return
        width=${K_FIXED[0]}
        shift
    else
        _k_lengths 2500 "$K_WIDTH" || return
        width=$((K_FIXED[0] < 4000000 ? K_FIXED[0] + 4000000 : 2 * K_FIXED[0]))
    fi
    if ((width <= 0)); then
        _k_fail bad_value "A dot is wider than 0"
        return
    fi
    if [ $# -gt 0 ]; then
        _k_color "$@" || return
        ink=$REPLY
    fi
    _k_ask 'q p' 2 && _k_place || return
    _k_lift_brush || return
    if ((width <= 4000000)); then # too small for a square point to differ from a disc
        _k_decimal "$width"
        _k_paint 'p u' 'l p' "k $ink" "w $REPLY" 'p d' 'f 0' || outcome=$?
        [ "$outcome" = 2 ] || _k_put_back "$outcome" something
        return
    fi
    x=$K_X y=$K_Y radius=$((width / 2)) K_TRACE_X=() K_TRACE_Y=()
    if ((${x#-} > 10 * _K_FAR || ${y#-} > 10 * _K_FAR)); then
        _k_fail bad_value "k_dot cannot paint further away than 10000"
        return
    fi
    count=$(((width / 1000000 + 2) / 5))
    count=$((4 * (count < 3 ? 3 : count > 12 ? 12 : count)))
    for ((k = 0; k < count; ++k)); do
        _k_sine $((K_FULL * (2 * k + 1) / (2 * count) + K_FULL / 4))
        _k_times "$radius" "$REPLY"
        K_TRACE_X+=($(((x + REPLY) / 10)))
        _k_sine $((K_FULL * (2 * k + 1) / (2 * count)))
        _k_times "$radius" "$REPLY"
        K_TRACE_Y+=($(((y + REPLY) / 10)))
    done
    _k_pieces
    _k_fill "$ink" || outcome=$?
    [ "$outcome" = 2 ] || _k_put_back "$outcome" jump $((x / 10)) $((y / 10))
}

# _k_paint LINE... : a packet that paints; status 1 when any of it is refused.
_k_paint() {
    local status
    _k_exchange "$@" || return
    for status in "${K_STATUS[@]}"; do
        [ "$status" = OK ] || return 1
    done
}

# _k_jump_to X Y : the command that jumps there, in REPLY.
_k_jump_to() {
    local x
    _k_decimal "$1" 5
    x=$REPLY
    _k_decimal "$2" 5
    REPLY="j $x $REPLY"
}

# _k_put_back OUTCOME REFUSED [X Y] : puts turtle and pen back as they were after painting that ended with the status
# OUTCOME. In strict mode REFUSED is what a refusal is called.
_k_put_back() {
    local outcome=$1 packet=('p u')
    if [ $# = 4 ]; then
        _k_jump_to "$3" "$4"
        packet+=("$REPLY")
    fi
    packet+=("$K_WAY" "k $K_PEN" "w $K_WIDTH")
    if [ "$K_DOWN" = 1 ]; then
        packet+=('p d')
        K_RECOLORED=0
    fi
    _k_paint "${packet[@]}" || outcome=$?
    if [ "$outcome$K_STRICT" = 11 ]; then
        K_BY=$2
        _k_blocked
        return
    fi
    return "$outcome"
}

# _k_at EDGE Y : where the edge is at this height, in REPLY. For _k_pieces.
_k_at() { REPLY=$(($2 >= top_y[$1] ? top_x[$1] : low_x[$1] + ($2 - low_y[$1]) * dx[$1] / dy[$1])); }

# The area that the line through K_TRACE_X, K_TRACE_Y surrounds when it is closed, as convex pieces in K_PIECES: the
# coordinates of each piece's corners around it. What is surrounded twice is outside again.
_k_pieces() {
    local n=${#K_TRACE_X[@]} j k den num cut high low middle left right slab found
    local low_x=() low_y=() top_x=() top_y=() dx=() dy=() levels=() heights=() here places
    local left_edge=() right_edge=() left_side=() right_side=() growing=() next=()
    K_PIECES=()
    # The sides that are not level, from their lower to their upper end.
    for ((k = 0; k < n; ++k)); do
        j=$(((k + 1) % n))
        if ((${K_TRACE_Y[k]} > ${K_TRACE_Y[j]})); then
            low=$j high=$k
        else
            low=$k high=$j
        fi
        ((${K_TRACE_Y[high]} - ${K_TRACE_Y[low]} > _K_THIN)) || continue
        low_x+=("${K_TRACE_X[low]}") low_y+=("${K_TRACE_Y[low]}") top_x+=("${K_TRACE_X[high]}") top_y+=("${K_TRACE_Y[high]}")
        dx+=($((K_TRACE_X[high] - K_TRACE_X[low]))) dy+=($((K_TRACE_Y[high] - K_TRACE_Y[low])))
    done
    # Heights of all ends and crossings, in order: between two of them no sides meet.
    n=${#dy[@]}
    for ((j = 0; j < n; ++j)); do
        levels[low_y[j] + 2 * _K_FAR]=1
        levels[top_y[j] + 2 * _K_FAR]=1
        for ((k = j + 1; k < n; ++k)); do
            ((low_y[j] < top_y[k] && low_y[k] < top_y[j])) || continue
            den=$((dx[j] * dy[k] - dx[k] * dy[j]))
            num=$(((low_x[k] - low_x[j]) * dy[k] - (low_y[k] - low_y[j]) * dx[k]))
            if ((den < 0)); then den=$((-den)) num=$((-num)); fi
            ((0 < num && num < den)) || continue
            while ((den > 4000000000)); do den=$((den / 2)) num=$((num / 2)); done
            cut=$((low_y[j] + num * 1000000000 / den * dy[j] / 1000000000))
            if ((cut > low_y[k] && cut < top_y[j] && cut < top_y[k])); then levels[cut + 2 * _K_FAR]=1; fi
        done
    done
    for k in "${!levels[@]}"; do
        k=$((k - 2 * _K_FAR))
        if [ ${#heights[@]} = 0 ] || ((k - heights[-1] > _K_THIN)); then heights+=("$k"); fi
    done
    for ((k = 0; k + 1 < ${#heights[@]}; ++k)); do
        low=${heights[k]} high=${heights[k + 1]} middle=$(((heights[k] + heights[k + 1]) / 2)) here=() places=() next=()
        for ((j = 0; j < n; ++j)); do # the sides at this height from left to right
            ((low_y[j] <= low + _K_THIN && top_y[j] >= high - _K_THIN)) || continue
            _k_at "$j" "$middle"
            for ((found = ${#here[@]}; found > 0 && places[found - 1] > REPLY; --found)); do
                here[found]=${here[found - 1]} places[found]=${places[found - 1]}
            done
            here[found]=$j places[found]=$REPLY
        done
        for ((j = 0; j + 1 < ${#here[@]}; j += 2)); do
            left=${here[j]} right=${here[j + 1]} found=''
            for slab in "${!growing[@]}"; do
                if _k_grow "$slab" "$left" "$right" "$high"; then
                    found=$slab
                    unset "growing[slab]"
                    break
                fi
            done
            if [ -z "$found" ]; then
                found=${#left_edge[@]}
                left_edge+=("$left") right_edge+=("$right")
                _k_at "$left" "$low"
                left_side[found]="$REPLY $low"
                _k_at "$left" "$high"
                left_side[found]+=" $REPLY $high"
                _k_at "$right" "$low"
                right_side[found]="$REPLY $low"
                _k_at "$right" "$high"
                right_side[found]+=" $REPLY $high"
            fi
            next[found]=1
        done
        for slab in "${!growing[@]}"; do _k_keep "${left_side[slab]}" "${right_side[slab]}"; done
        growing=()
        for slab in "${!next[@]}"; do growing[slab]=1; done
    done
    for slab in "${!growing[@]}"; do _k_keep "${left_side[slab]}" "${right_side[slab]}"; done
}

# _k_grow SLAB LEFT RIGHT HIGH : takes into the slab what lies above it between two edges, if it joins on and the whole
# stays convex and small enough; else status 1. For _k_pieces.
_k_grow() {
    local sides=() side points sign edge old corner IFS=$' \t\n'
    for side in left right; do
        if [ "$side" = left ]; then
            sign=1 edge=$2 old=${left_edge[$1]} points=${left_side[$1]}
        else
            sign=-1 edge=$3 old=${right_edge[$1]} points=${right_side[$1]}
        fi
        read -r -a corner <<<"$points"
        if [ "$edge" = "$old" ]; then
            points=${points% *}
            points=${points% *}
        else
            _k_at "$edge" "${corner[-1]}"
            REPLY=$((REPLY - corner[-2]))
            ((${REPLY#-} < _K_THIN)) || return 1
        fi
        _k_at "$edge" "$4"
        if [ "$edge" != "$old" ]; then
            ((sign * ((corner[-2] - corner[-4]) * ($4 - corner[-1]) - (REPLY - corner[-2]) * (corner[-1] - corner[-3])) <= 0)) || return 1
        fi
        sides+=("$points $REPLY $4")
    done
    _k_outline "${sides[@]}"
    ((${#K_OUTLINE[@]} <= 12)) || return 1
    left_side[$1]=${sides[0]} right_side[$1]=${sides[1]} left_edge[$1]=$2 right_edge[$1]=$3
}

# _k_outline LEFT RIGHT : the corners around, each once, in K_OUTLINE.
_k_outline() {
    local left right k IFS=$' \t\n'
    read -r -a left <<<"$1"
    read -r -a right <<<"$2"
    K_OUTLINE=()
    for ((k = 0; k < ${#right[@]}; k += 2)); do _k_corner "${right[k]}" "${right[k + 1]}"; done
    for ((k = ${#left[@]} - 2; k >= 0; k -= 2)); do _k_corner "${left[k]}" "${left[k + 1]}"; done
    if ((${#K_OUTLINE[@]} > 2)) && _k_same "${K_OUTLINE[@]:0:2}" "${K_OUTLINE[@]: -2}"; then
        K_OUTLINE=("${K_OUTLINE[@]:0:${#K_OUTLINE[@]}-2}")
    fi
}
_k_corner() { [ ${#K_OUTLINE[@]} -gt 0 ] && _k_same "$1" "$2" "${K_OUTLINE[@]: -2}" || K_OUTLINE+=("$1" "$2"); }
_k_same() { (($1 - $3 < 2 && $3 - $1 < 2 && $2 - $4 < 2 && $4 - $2 < 2)); }

_k_keep() {
    local IFS=$' \t\n'
    _k_outline "$1" "$2"
    [ ${#K_OUTLINE[@]} -lt 6 ] || K_PIECES+=("${K_OUTLINE[*]}")
}

# _k_fill COLOUR : fills the pieces, the smaller ones first; the pen is then down and in the mode for filled shapes.
_k_fill() {
    local size piece corner k start painted=0 packet IFS=$' \t\n'
    for size in 6 8 10 12; do
        for piece in "${K_PIECES[@]}"; do
            read -r -a corner <<<"$piece"
            [ ${#corner[@]} = "$size" ] || continue
            _k_jump_to "${corner[0]}" "${corner[1]}"
            start=$REPLY packet=()
            if [ "$painted" = 0 ]; then
                # The pen put down forgets older points and colours; the step that follows is the first that counts.
                _k_paint 'p u' "$start" "k $1" 'l s' 'p d' "$start" || return
                painted=1
            fi
            while (((painted < 4 ? painted + 1 : 5) + 1 < size / 2)); do
                _k_paint "$start" || return
                painted=$((painted + 1))
            done
            for ((k = size / 2; k < 6; ++k)); do packet+=("$start"); done
            for ((k = 0; k < size; k += 2)); do
                _k_jump_to "${corner[k]}" "${corner[k + 1]}"
                packet+=("$REPLY")
            done
            _k_paint "${packet[@]}" || return
            painted=$((painted + 1))
        done
    done
}

# Paints the strokes since k_begin_fill again, those that go on in the same direction as one. Lines in the colour of the
# area need no second painting, unless they are wider than what the area covers of them.
_k_strokes() {
    local stroke joined=() last=() one ink way color width packet pen='' at='' IFS=$' \t\n'
    for stroke in "${K_STROKES[@]}"; do
        read -r -a one <<<"${stroke%%[lL]*}"
        ink=l${stroke#*l}
        IFS=, read -r way color width <<<"$ink"
        if [ "${one[0]} ${one[1]}" = "${one[2]} ${one[3]}" ] && [[ $way == l || $way == 'l b' ]]; then continue; fi
        if [ ${#joined[@]} -gt 0 ] && [ "$way" = l ] && [ "$ink" = "${last[4]}" ] && [ "${one[0]} ${one[1]}" = "${last[2]} ${last[3]}" ] &&
            _k_straight "${last[@]:0:4}" "${one[2]}" "${one[3]}"; then
            last=("${last[0]}" "${last[1]}" "${one[2]}" "${one[3]}" "$ink")
            unset "joined[-1]"
        else
            last=("${one[@]}" "$ink")
        fi
        joined+=("${last[0]} ${last[1]} ${last[2]} ${last[3]} $ink")
    done
    for stroke in "${joined[@]}"; do
        read -r -a one <<<"${stroke%%[lL]*}"
        ink=l${stroke#*l}
        IFS=, read -r way color width <<<"$ink"
        if [ "$color" = "$K_FILL" ] && _k_fixed "$width" && ((REPLY <= 1000000)); then continue; fi
        packet=()
        if [ "$ink" != "$pen" ] || [ "${one[0]} ${one[1]}" != "$at" ]; then
            _k_jump_to "${one[0]}" "${one[1]}"
            packet=('p u' "$REPLY" "$way" "k $color" "w $width" 'p d')
        fi
        _k_jump_to "${one[2]}" "${one[3]}"
        _k_paint "${packet[@]}" "$REPLY" || return
        pen=$ink at="${one[2]} ${one[3]}"
    done
}

# _k_straight X0 Y0 X1 Y1 X2 Y2 : whether the second step goes on in the direction of the first.
_k_straight() {
    local ax=$(($3 - $1)) ay=$(($4 - $2)) bx=$(($5 - $3)) by=$(($6 - $4)) cross lengths
    cross=$((ax * by - ay * bx))
    _k_length "$ax" "$ay"
    lengths=$REPLY
    _k_length "$bx" "$by"
    ((${cross#-} <= lengths / 100 * REPLY / 1000 && ax * bx + ay * by > 0))
}

# ------------------------------------------------------------------------------------------------------ batches

# Whether a word that has to hear answers on its way may do so now: not in a batch.
_k_immediate() {
    [ -z "$K_BATCHING" ] || { _k_caller && _k_fail bad_value "$REPLY cannot stand in a batch: it has to hear answers on its way"; }
}

# k_batch WORD... : does the words, each with what belongs to it as one argument and without its k_, in one packet:
# k_batch 'left 90' 'forward 10' position. Prints a line for each, what the word prints, else yes or no; the lines are in
# K_ANSWERS, too. Status 1 when a word said no. After a word that is wrong nothing is sent.
#
# Each word is carried out twice: first its lines are collected, and then it reads their answers.
k_batch() {
    local kept=("$K_DOWN" "$K_RECOLORED" "$K_WAY" "$K_PEN" "$K_FILL" "$K_WIDTH" "$K_FILLING" "$K_GROUND" "$K_MODE" "$K_STRICT")
    local item outcome counts=() start said=0 values=() status=() clocks=() events=()
    if [ -n "$K_BATCHING" ]; then
        _k_fail bad_value "A batch is open already: one cannot stand inside another"
        return
    fi
    K_QUEUE=() K_LINES=0 K_QUIET=1 K_BATCHING=collect K_ANSWERS=()
    for item; do
        K_TAKEN=0 outcome=0
        _k_word "$item" || outcome=$?
        counts+=("$K_TAKEN")
        [ "$outcome" != 2 ] || break
    done
    K_QUIET=0 K_BATCHING=''
    K_DOWN=${kept[0]} K_RECOLORED=${kept[1]} K_WAY=${kept[2]} K_PEN=${kept[3]} K_FILL=${kept[4]} K_WIDTH=${kept[5]}
    K_FILLING=${kept[6]} K_GROUND=${kept[7]} K_MODE=${kept[8]} K_STRICT=${kept[9]}
    [ $# = 0 ] || [ "$outcome" != 2 ] || return 2
    # Who sends without end and reads nothing is cut off; so long batches go in parts.
    for ((start = 0; start < ${#K_QUEUE[@]}; start += 1000)); do
        _k_packet "${K_QUEUE[@]:start:1000}" || return
        values+=("${K_VALUES[@]}") status+=("${K_STATUS[@]}") clocks+=("${K_CLOCKS[@]}") events+=("${K_EVENTS[@]}")
    done
    K_ALL_VALUES=("${values[@]}") K_ALL_STATUS=("${status[@]}") K_ALL_CLOCKS=("${clocks[@]}") K_ALL_EVENTS=("${events[@]}")
    K_READ=0 K_QUIET=1 K_BATCHING=replay
    for item; do
        REPLY='' K_TOLD=0 outcome=0 K_TAKEN=${counts[${#K_ANSWERS[@]}]}
        _k_word "$item" || outcome=$?
        if [ "$outcome" = 0 ] && [ "$K_TOLD" = 1 ]; then
            K_ANSWERS+=("$REPLY")
        elif [ "$outcome" = 0 ]; then
            K_ANSWERS+=(yes)
        elif [ "$outcome" = 1 ] || [ "$K_ERROR" = blocked ]; then
            K_ANSWERS+=(no)
            if ((outcome > said)); then said=$outcome; fi
        else
            K_QUIET=0 K_BATCHING=''
            return 2
        fi
    done
    K_QUIET=0 K_BATCHING=''
    K_ERROR=''
    [ "$said" != 2 ] || K_ERROR=blocked
    [ $# = 0 ] || printf '%s\n' "${K_ANSWERS[@]}"
    _k_settle
    return "$said"
}

# _k_word WORD : a word of a batch with what belongs to it.
_k_word() {
    local word rest arguments IFS=$' \t\n'
    read -r word rest <<<"$1"
    word=${word#k_}
    if ! declare -F "k_$word" >/dev/null || [[ $word == connect || $word == close || $word == bye || $word == batch ]]; then
        _k_fail bad_value "There is no k_${word:0:60} for a batch"
        return
    fi
    case $word in
        write | name | broadcast | ask) "k_$word" "$rest" ;;
        *)
            read -r -a arguments <<<"$rest"
            "k_$word" "${arguments[@]}"
            ;;
    esac
}

# _k_packet in a batch: status 3 while lines are collected; later the answers to them.
_k_batched() {
    if [ "$K_BATCHING" = collect ]; then
        K_QUEUE+=("$@") K_TAKEN=$#
        return 3
    fi
    K_VALUES=("${K_ALL_VALUES[@]:K_READ:K_TAKEN}") K_STATUS=("${K_ALL_STATUS[@]:K_READ:K_TAKEN}")
    K_CLOCKS=("${K_ALL_CLOCKS[@]:K_READ:K_TAKEN}") K_EVENTS=("${K_ALL_EVENTS[@]:K_READ:K_TAKEN}")
    K_READ=$((K_READ + K_TAKEN))
}

# ---------------------------------------------------------------------------- words that other libraries have alone

_k_not_here() {
    _k_caller
    _k_fail not_here "There is no $REPLY in the shell: $1"
}
k_practice() { _k_not_here "fields inside the program are in the libraries for Python and JavaScript"; }
k_clone() { _k_not_here "a subshell with a k_connect of its own drives another turtle"; }
k_stamp() { _k_not_here "k_dot and k_begin_fill paint areas; stamps are in the library for Python"; }
k_undo() { _k_not_here "k_clear wipes all painting"; }
k_done() { _k_not_here "a script ends by itself; 'while k_ping >/dev/null; do sleep 0.02; done' waits for events"; }
k_ontimer() { _k_not_here "sleep waits"; }

# ------------------------------------------------------------------------------------------------ shorter words

k_fd() { k_forward "$@"; }
k_bk() { k_back "$@"; }
k_backward() { k_back "$@"; }
k_lt() { k_left "$@"; }
k_rt() { k_right "$@"; }
k_setpos() { k_goto "$@"; }
k_setposition() { k_goto "$@"; }
k_seth() { k_setheading "$@"; }
k_pu() { k_penup; }
k_up() { k_penup; }
k_pd() { k_pendown; }
k_down() { k_pendown; }
k_width() { k_pensize "$@"; }
k_pos() { k_position; }
k_bye() { k_close; }

# The colour names of CSS, which are those of Tk, too.
declare -A _K_COLORS=(
    [aliceblue]=f0f8ff [antiquewhite]=faebd7 [aqua]=00ffff [aquamarine]=7fffd4 [azure]=f0ffff [beige]=f5f5dc
    [bisque]=ffe4c4 [black]=000000 [blanchedalmond]=ffebcd [blue]=0000ff [blueviolet]=8a2be2 [brown]=a52a2a
    [burlywood]=deb887 [cadetblue]=5f9ea0 [chartreuse]=7fff00 [chocolate]=d2691e [coral]=ff7f50
    [cornflowerblue]=6495ed [cornsilk]=fff8dc [crimson]=dc143c [cyan]=00ffff [darkblue]=00008b [darkcyan]=008b8b
    [darkgoldenrod]=b8860b [darkgray]=a9a9a9 [darkgreen]=006400 [darkgrey]=a9a9a9 [darkkhaki]=bdb76b
    [darkmagenta]=8b008b [darkolivegreen]=556b2f [darkorange]=ff8c00 [darkorchid]=9932cc [darkred]=8b0000
    [darksalmon]=e9967a [darkseagreen]=8fbc8f [darkslateblue]=483d8b [darkslategray]=2f4f4f [darkslategrey]=2f4f4f
    [darkturquoise]=00ced1 [darkviolet]=9400d3 [deeppink]=ff1493 [deepskyblue]=00bfff [dimgray]=696969
    [dimgrey]=696969 [dodgerblue]=1e90ff [firebrick]=b22222 [floralwhite]=fffaf0 [forestgreen]=228b22
    [fuchsia]=ff00ff [gainsboro]=dcdcdc [ghostwhite]=f8f8ff [gold]=ffd700 [goldenrod]=daa520 [gray]=808080
    [green]=008000 [greenyellow]=adff2f [grey]=808080 [honeydew]=f0fff0 [hotpink]=ff69b4 [indianred]=cd5c5c
    [indigo]=4b0082 [ivory]=fffff0 [khaki]=f0e68c [lavender]=e6e6fa [lavenderblush]=fff0f5 [lawngreen]=7cfc00
    [lemonchiffon]=fffacd [lightblue]=add8e6 [lightcoral]=f08080 [lightcyan]=e0ffff [lightgoldenrodyellow]=fafad2
    [lightgray]=d3d3d3 [lightgreen]=90ee90 [lightgrey]=d3d3d3 [lightpink]=ffb6c1 [lightsalmon]=ffa07a
    [lightseagreen]=20b2aa [lightskyblue]=87cefa [lightslategray]=778899 [lightslategrey]=778899
    [lightsteelblue]=b0c4de [lightyellow]=ffffe0 [lime]=00ff00 [limegreen]=32cd32 [linen]=faf0e6 [magenta]=ff00ff
    [maroon]=800000 [mediumaquamarine]=66cdaa [mediumblue]=0000cd [mediumorchid]=ba55d3 [mediumpurple]=9370db
    [mediumseagreen]=3cb371 [mediumslateblue]=7b68ee [mediumspringgreen]=00fa9a [mediumturquoise]=48d1cc
    [mediumvioletred]=c71585 [midnightblue]=191970 [mintcream]=f5fffa [mistyrose]=ffe4e1 [moccasin]=ffe4b5
    [navajowhite]=ffdead [navy]=000080 [oldlace]=fdf5e6 [olive]=808000 [olivedrab]=6b8e23 [orange]=ffa500
    [orangered]=ff4500 [orchid]=da70d6 [palegoldenrod]=eee8aa [palegreen]=98fb98 [paleturquoise]=afeeee
    [palevioletred]=db7093 [papayawhip]=ffefd5 [peachpuff]=ffdab9 [peru]=cd853f [pink]=ffc0cb [plum]=dda0dd
    [powderblue]=b0e0e6 [purple]=800080 [rebeccapurple]=663399 [red]=ff0000 [rosybrown]=bc8f8f [royalblue]=4169e1
    [saddlebrown]=8b4513 [salmon]=fa8072 [sandybrown]=f4a460 [seagreen]=2e8b57 [seashell]=fff5ee [sienna]=a0522d
    [silver]=c0c0c0 [skyblue]=87ceeb [slateblue]=6a5acd [slategray]=708090 [slategrey]=708090 [snow]=fffafa
    [springgreen]=00ff7f [steelblue]=4682b4 [tan]=d2b48c [teal]=008080 [thistle]=d8bfd8 [tomato]=ff6347
    [turquoise]=40e0d0 [violet]=ee82ee [wheat]=f5deb3 [white]=ffffff [whitesmoke]=f5f5f5 [yellow]=ffff00
    [yellowgreen]=9acd32
)
