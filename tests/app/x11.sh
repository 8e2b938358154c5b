# For scripts that use the window as a person does: a display of their own, real pointer and keys, real pixels.
# Sourced by bash; needs Xvfb, xdotool and import (ImageMagick). $work is the script's own folder.

red='#E00A0A' green='#1AAD40' amber='#F2A60D' # of the SYNC LV1 button

# Points in the window: inside the bezel of a button, beside its text. The window's menu bar included.
sync_button='660 128' create_button='545 352' patch_button='400 199' choose_button='540 325' dismiss_button='722 243' action_button='672 243' application_menu='44 12'

# Starts a display of the size WIDTHxHEIGHT and sets DISPLAY and display_pid. It goes on when its last program ends.
start_display() {
    : >"$work/display"
    Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp -noreset 3>"$work/display" 2>"$work/xvfb.log" &
    display_pid=$!
    eventually test -s "$work/display"
    DISPLAY=":$(cat "$work/display")"
    export DISPLAY
}

# Repeats a command until it succeeds; gives up after 30 seconds.
eventually() {
    local end=$((SECONDS + 30))
    until "$@" >/dev/null 2>&1; do
        if [ "$SECONDS" -ge "$end" ]; then
            echo "never came true: $*" >&2
            return 1
        fi
        sleep 0.1
    done
}

# Finds the main window and sets window, left, top.
find_window() {
    eventually main_window
    window=$(main_window)
    local X Y WIDTH HEIGHT SCREEN WINDOW
    eval "$(xdotool getwindowgeometry --shell "$window")"
    left=$X top=$Y
}

main_window() {
    local each
    for each in $(xdotool search --onlyvisible --name '^Corvane$'); do
        [ "$(window_size "$each" | cut -d' ' -f1)" = 760 ] && echo "$each" && return
    done
    return 1
}

# The dialogue that lies over the main window, if any; no tooltip, which bears the same name.
dialogue() {
    local each width height
    for each in $(xdotool search --onlyvisible --name "${1:-^Corvane\$}"); do
        [ "$each" != "$window" ] && read -r width height < <(window_size "$each") &&
            [ "$width" -gt 100 ] && [ "$height" -gt 80 ] && echo "$each" && return
    done
    return 1
}
no_dialogue() { ! dialogue "$@"; }

# Presses Escape in a dialogue; whether it is gone within a second. Without a window manager the program may have given
# the keyboard to its main window when the key comes.
cancel() { # [NAME]
    local open
    open=$(dialogue "$@") || return 0
    press "$open" Escape
    for _ in $(seq 11); do
        no_dialogue "$@" && return 0
        sleep 0.1
    done
    return 1
}

window_size() { # WINDOW: prints width and height
    local X Y WIDTH HEIGHT SCREEN WINDOW
    eval "$(xdotool getwindowgeometry --shell "$1")" && echo "$WIDTH $HEIGHT"
}
has_height() { [ "$(window_size "$window" | cut -d' ' -f2)" = "$1" ]; }

point() { xdotool mousemove $((left + $1)) $((top + $2)); }
click() { # X Y in the window
    point "$1" "$2"
    xdotool click 1
    point 5 300 # off the button, whose colour changes under the pointer
}
press() { # WINDOW KEY
    xdotool windowfocus --sync "$1" key "$2"
}

color_at() { # X Y in the window: prints #RRGGBB
    import -silent -window root -crop "1x1+$((left + $1))+$((top + $2))" +repage -depth 8 txt:- |
        grep -o '#[0-9A-F]\{6\}' | head -1
}
has_color() { # COLOR X Y
    [ "$(color_at "$2" "$3")" = "$1" ]
}
