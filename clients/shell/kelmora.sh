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
# bad_value. A word that asks prints what it was told, separated by blanks, and leaves it in REPLY, too: that saves the
# subshell of $(...), in which events would be lost.
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

# _k_fresh_pen DOWN : the pen as the field gives it to a fresh turtle, up or down.
_k_fresh_pen() { K_DOWN=$1 K_RECOLORED=0 K_WAY=l K_PEN='1 0 0' K_WIDTH=1; }
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
    K_GROUND='0 0 0' K_MODE=1
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
    local LC_ALL=C line number
    K_ERROR=''
    if [ -z "$K_FD" ]; then
        _k_fail lost "There is no connection to the field: $K_ENDING."
        return
    fi
    if read -r -t 0 -u "$K_GONE"; then # a subshell has found its end
        _k_fail lost "The connection to the field has ended."
        return
    fi
    K_VALUES=() K_STATUS=() K_CLOCKS=() K_EVENTS=()
    if ! printf '%s\n' "$@" 2>/dev/null 1>&"$K_FD"; then
        _k_hung_up
        return
    fi
    for ((number = 0; number < $#; ++number)); do
        line=''
        if IFS= read -r -n 1025 -t "$K_TIMEOUT" -u "$K_FD" line 2>/dev/null; then
            if [ ${#line} -gt 1024 ] || ! [[ $line =~ $_K_ANSWER ]] || ((BASH_REMATCH[5] > 4294967295)); then
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
    [ ${#K_DUE[@]} = 0 ] || _k_deliver
}

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
    local k callback values=("${K_VALUES[@]}") status=("${K_STATUS[@]}") clocks=("${K_CLOCKS[@]}") events=("${K_EVENTS[@]}")
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
}

# ------------------------------------------------------------------------------------------------------- checks

_K_NUMBER='^[-+]?([0-9]{1,40}\.?[0-9]{0,40}|\.[0-9]{1,40})([eE][-+]?[0-9]{1,2})?$'

# _k_numbers N ARGUMENT... : whether there are N arguments, all of them numbers.
_k_numbers() {
    local wanted=$1 text
    shift
    if [ $# -ne "$wanted" ]; then
        _k_fail not_a_number "${FUNCNAME[1]} takes $wanted number(s), not $#"
        return
    fi
    for text; do
        if ! [[ $text =~ $_K_NUMBER ]]; then
            _k_fail not_a_number "\"${text:0:60}\" is no number that ${FUNCNAME[1]} could use"
            return
        fi
    done
}

# _k_whole LEAST MOST TEXT : whether the text is a whole number in that range.
_k_whole() {
    if ! [[ $3 =~ ^[0-9]{1,4}$ ]] || ((10#$3 < $1 || 10#$3 > $2)); then
        _k_fail bad_value "${FUNCNAME[1]} takes a whole number from $1 to $2, not \"${3:0:60}\""
        return
    fi
}

# ----------------------------------------------------------------------------------------------------- families

# A command that nothing stops but a rule: status 0 for OK, 1 for ERR.
_k_do() {
    _k_exchange "$1" || return
    [ "${K_STATUS[0]}" = OK ]
}

# A turn, a step or a jump was answered with the status given.
_k_moved() {
    [ "$1" = OK ] || return 1
    K_OBSTACLE=''
}

_k_turn() {
    _k_exchange "$1" || return
    _k_moved "${K_STATUS[0]}"
}

# A step or a jump. The field blends a line from the colour before to the new one; a pen put down anew makes it whole.
_k_move() {
    if [ "$K_RECOLORED" = 1 ] && [ "$K_DOWN" = 1 ] && [ "$K_WAY" = l ]; then
        K_RECOLORED=0
        _k_exchange 'p d' "$1" || return
    else
        _k_exchange "$1" || return
    fi
    _k_moved "${K_STATUS[-1]}"
}

# k_blocked_by : turtle, doughnut, stone or wall, whatever stopped the last step; status 1 when nothing did.
k_blocked_by() {
    REPLY=$K_OBSTACLE
    [ -n "$REPLY" ] && _k_print
}

# The values of the latest answer as COUNT numbers, in REPLY.
_k_values() {
    local word words
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
}

# _k_ask LINE COUNT : asks for so many numbers, which are then in REPLY.
_k_ask() {
    _k_exchange "$1" || return
    _k_values "$2"
}

_k_print() { printf '%s\n' "$REPLY"; }

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

# A decimal number as whole millionths, in REPLY, so that bash can calculate with it; status 1 when it is too large.
_k_millionths() {
    local text=$1 sign='' whole part
    case $text in -*) sign=- text=${text#-} ;; +*) text=${text#+} ;; esac
    whole=${text%%.*} part=000000
    [ "$whole" = "$text" ] || part=${text#*.}000000
    [[ $whole =~ ^[0-9]{0,12}$ && $part =~ ^[0-9]+$ ]] || return 1
    REPLY=$sign$((10#${whole:-0} * 1000000 + 10#${part:0:6}))
}

# Millionths as a decimal number, in REPLY.
_k_decimal() {
    local n=$1 sign='' part
    if ((n < 0)); then sign=- n=$((-n)); fi
    printf -v part '%06d' $((n % 1000000))
    while [[ $part == *0 ]]; do part=${part%0}; done
    REPLY=$sign$((n / 1000000))${part:+.$part}
}

# ------------------------------------------------------------------------------------------------------- motion
# Distances in units of the field (it is 512 wide, (0, 0) in the middle), angles in degrees (0 is east, left turns add).

k_forward() { _k_numbers 1 "$@" && _k_move "f $1"; }
k_back() { _k_numbers 1 "$@" && _k_move "b $1"; }
k_left() { _k_numbers 1 "$@" && _k_turn "t l $1"; }
k_right() { _k_numbers 1 "$@" && _k_turn "t r $1"; }

# k_goto X Y, k_shift DX DY : jumps, with a line when the pen is down. Refused in battle, and while somebody is closer
# than 20.
k_goto() { _k_numbers 2 "$@" && _k_move "j $1 $2"; }
k_shift() { _k_numbers 2 "$@" && _k_move "g $1 $2"; }
k_setx() { _k_numbers 1 "$@" && _k_ask 'q p' 2 && _k_move "j $1 ${REPLY#* }"; }
k_sety() { _k_numbers 1 "$@" && _k_ask 'q p' 2 && _k_move "j ${REPLY% *} $1"; }

# k_setheading ANGLE : six digits behind the point count.
k_setheading() {
    local goal turn
    _k_numbers 1 "$@" || return
    if ! _k_millionths "$1"; then
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
            _k_moved "${K_STATUS[0]}"
            return
        fi
    fi
    _k_ask 'q d' 1 || return
    if ! _k_millionths "$REPLY"; then
        _k_bad_answer "$REPLY"
        return
    fi
    turn=$((((goal - REPLY) % 360000000 + 360000000) % 360000000))
    if ((turn > 180000000)); then turn=$((turn - 360000000)); fi
    _k_decimal "$turn"
    _k_turn "t l $REPLY"
}

# k_home : jumps to the middle and faces east.
k_home() {
    _k_exchange 'j 0 0' 't e' || return
    _k_moved "${K_STATUS[0]}"
}

# k_teleport X Y : jumps without drawing.
k_teleport() {
    _k_numbers 2 "$@" || return
    if [ "$K_DOWN" = 1 ]; then
        K_RECOLORED=0
        _k_lift_brush || return
        _k_exchange 'p u' "j $1 $2" 'p d' || return
        _k_moved "${K_STATUS[1]}"
    else
        _k_turn "j $1 $2"
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
    local name digits part k parts=()
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

# k_pencolor [COLOUR] : sets the colour of the pen, or prints its parts.
k_pencolor() {
    if [ $# = 0 ]; then
        REPLY=$K_PEN
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
    [ "$K_DOWN" = 0 ] || [ "$K_WAY" != 'l b' ] || _k_exchange 'p u'
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
    local LC_ALL=C text=$*
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
        REPLY=$K_GROUND
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

# k_reset : wipes the painting, takes a red pen of width 1 and jumps home.
k_reset() {
    local home=0
    _k_fresh_pen 1
    _k_exchange 'c f' 'k 1 0 0' 'w 1' l 'p u' || return
    k_home || home=$?
    [ "$home" != 2 ] || return 2
    _k_do 'p d' || return
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
    _k_ask 'q d' 1 || return
    if ! _k_millionths "$REPLY"; then
        _k_bad_answer "$REPLY"
        return
    fi
    _k_decimal $(((REPLY % 360000000 + 360000000) % 360000000))
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
    local k names=()
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
    local LC_ALL=C line=$*
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
    local LC_ALL=C text=$*
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
