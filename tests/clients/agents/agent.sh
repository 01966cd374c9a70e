#!/bin/bash
# Calls the words of kelmora.sh on request from standard input and reports as JSON their status, their output and their
# callbacks. Requests and answers: tests/clients/agents.py. KELMORA_SH names the library.
set -u
# shellcheck source=clients/shell/kelmora.sh
. "$KELMORA_SH"

if [ $# -gt 0 ]; then
    declare -F | sed -n 's/^declare -f k_//p' | grep -vx connect
    exit 0
fi

called=()
for name in "${K_EVENT_NAMES[@]}"; do
    eval "note_$name() { called+=($name); }"
done

# Bytes of a text as they stand in JSON.
json() {
    local LC_ALL=C k text='' code
    for ((k = 0; k < ${#1}; ++k)); do
        printf -v code '\\u%04x' "'${1:k:1}"
        text+=$code
    done
    printf '"%s"' "$text"
}

# Makes of the parts of a request the arguments of a word.
decode() {
    local part rest
    arguments=()
    for part; do
        rest=${part:1}
        case $part in
            s*)
                printf -v rest '%b' "$(sed 's/../\\x&/g' <<<"$rest")"
                ;;
            c*) rest=note_$rest ;;
            z*) rest='' ;;
            b1) rest=on ;;
            b0) rest=off ;;
        esac
        arguments+=("$rest")
    done
}

scratch=$(mktemp)
trap 'rm -f "$scratch"' EXIT
while IFS= read -r request; do
    IFS=$'\t' read -r -a parts <<<"$request"
    called=() K_ERROR='' K_BY='' outcome=0
    if [ "${parts[0]}" = connect ]; then
        K_TIMEOUT=$((parts[2] / 1000)).$((parts[2] % 1000 / 100))
        k_connect 127.0.0.1 "${parts[1]}" >"$scratch" 2>/dev/null || outcome=$?
    elif [ "${parts[0]}" = batch ]; then
        words=()
        for ((left = parts[1]; left > 0; --left)); do
            IFS= read -r request
            IFS=$'\t' read -r -a parts <<<"$request"
            decode "${parts[@]:2}"
            words+=("${parts[1]} ${arguments[*]}")
        done
        k_batch "${words[@]}" >"$scratch" 2>/dev/null || outcome=$?
    else
        decode "${parts[@]:2}"
        "k_${parts[1]}" "${arguments[@]}" >"$scratch" 2>/dev/null || outcome=$?
    fi
    text=$(cat "$scratch")
    names=$(printf '"%s", ' "${called[@]}")
    [ ${#called[@]} -gt 0 ] || names=''
    printf '{"status": %d, "kind": "%s", "by": "%s", "printed": %s, "callbacks": [%s]}\n' \
        "$outcome" "$K_ERROR" "$K_BY" "$(json "$text")" "${names%, }"
done
