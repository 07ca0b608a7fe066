# How far long work is: one line that changes on a terminal, a line every tenth otherwise. Sourced.

# watched LOG SHOW COMMAND...: runs COMMAND with its output in LOG and, through SHOW, on standard
# error; returns the code of COMMAND.
watched() {
    watched_log=$1 watched_show=$2
    shift 2
    watched_code=$(mktemp)
    leftovers="${leftovers:-} $watched_code"
    { "$@" 2>&1 && echo 0 >"$watched_code" || echo $? >"$watched_code"; } |
        tee "$watched_log" | $watched_show >&2
    return "$(cat "$watched_code")"
}

# show PERCENT TEXT: tells it, where that is something new. The caller sets shown to 0 before.
show() {
    if [ -t 2 ]; then
        printf '\r\033[K    %3d %%  %.60s' "$1" "$2"
    elif [ $(($1 / 10)) -gt "$shown" ]; then
        shown=$(($1 / 10))
        printf '    %3d %%  %s\n' "$1" "$2"
    fi
}

end_of_show() {
    [ ! -t 2 ] || printf '\r\033[K'
}

# Ninja begins its lines with [done/all].
show_ninja() {
    shown=0
    while IFS= read -r line; do
        counts=${line%%]*}
        counts=${counts#[}
        case "$counts" in
            *[!0-9/]* | */*/* | /* | */ | "$line") ;;
            */*) [ "${counts#*/}" -eq 0 ] || show $((100 * ${counts%/*} / ${counts#*/})) "${line#*] }" ;;
        esac
    done
    end_of_show
}

# apt-get with -o APT::Status-Fd=1 tells kind:package:percent:text.
show_apt() {
    shown=0 before=
    while IFS=: read -r kind _ percent text; do
        case "$kind" in
            dlstatus) text="downloading" ;;
            pmstatus) ;;
            *) continue ;;
        esac
        [ "$kind" = "$before" ] || shown=0
        before=$kind
        case "${percent%%.*}" in
            '' | *[!0-9]*) ;;
            *) show "${percent%%.*}" "$text" ;;
        esac
    done
    end_of_show
}
