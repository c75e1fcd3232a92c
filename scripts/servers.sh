# shellcheck shell=bash
# A private screen and a private sound server for machines that have none. To be sourced.
# What was started ends with the script, by its process id, and takes its files with it.
started=()
servers_dir=''
test_tone=test_tone_440_Hz.monitor

end_servers() {
    local pid
    for pid in ${started[@]+"${started[@]}"}; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in ${started[@]+"${started[@]}"}; do
        wait "$pid" 2>/dev/null || true
    done
    [[ -z $servers_dir ]] || rm -rf "$servers_dir"
}

# end_with_script PID: the youngest ends first.
end_with_script() {
    started=("$1" ${started[@]+"${started[@]}"})
    trap end_servers EXIT
}

make_servers_dir() {
    [[ -z $servers_dir ]] || return 0
    servers_dir=$(mktemp -d)
    trap end_servers EXIT
}

has_screen() {
    [[ $(uname -s) != Darwin ]] || return 0
    if [[ -n ${DISPLAY:-} ]]; then
        timeout 10 xdpyinfo >/dev/null 2>&1
        return
    fi
    # Without an X server in between, only a Qt with its Wayland plug-in can use the compositor.
    [[ -n ${WAYLAND_DISPLAY:-} && -S ${XDG_RUNTIME_DIR:-}/$WAYLAND_DISPLAY ]] &&
        compgen -G "$(qmake -query QT_INSTALL_PLUGINS)/platforms/libqwayland*.so" >/dev/null
}

# A server that never hears anything but its own idle monitor is no use here either.
has_sound() {
    [[ $(uname -s) != Darwin ]] || return 0
    local sources
    ! grep -qs capture /proc/asound/pcm || return 0
    make_servers_dir
    echo 'autospawn = no' >"$servers_dir/client.conf"
    sources=$(PULSE_CLIENTCONFIG=$servers_dir/client.conf timeout 10 pactl list short sources \
        2>/dev/null) || return 1
    grep -qv '	auto_null\.monitor	' <<<"$sources"
}

start_screen() {
    local display=''
    make_servers_dir
    mkfifo "$servers_dir/display"
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp \
        3>"$servers_dir/display" >"$servers_dir/screen.log" 2>&1 &
    end_with_script $!
    read -r -t 30 display <"$servers_dir/display" || true
    if [[ -z $display ]]; then
        cat "$servers_dir/screen.log" >&2
        echo 'The private X server did not start.' >&2
        return 1
    fi
    export DISPLAY=:$display
    unset WAYLAND_DISPLAY
}

# start_scene PROGRAM: something to see on the private screen.
start_scene() {
    local ready=''
    mkfifo "$servers_dir/scene"
    QT_QPA_PLATFORM=xcb "$1" >"$servers_dir/scene" 2>"$servers_dir/scene.log" &
    end_with_script $!
    read -r -t 30 ready <"$servers_dir/scene" || true
    if [[ -z $ready ]]; then
        cat "$servers_dir/scene.log" >&2
        echo 'The test scene did not start.' >&2
        return 1
    fi
}

# The tone's source alone delivers two seconds at a time; behind a loopback of low latency it flows
# as a microphone does.
start_sound() {
    local server
    make_servers_dir
    mkdir -m 700 "$servers_dir/sound"
    export XDG_RUNTIME_DIR=$servers_dir/sound
    export PULSE_SERVER=unix:$servers_dir/sound/native PULSE_COOKIE=$servers_dir/sound/cookie
    # Without a sound card, ALSA has nothing but names.
    export ALSA_CONFIG_PATH=/dev/null
    HOME=$servers_dir/sound XDG_CONFIG_HOME=$servers_dir/sound \
        pulseaudio -n --daemonize=no --use-pid-file=no --exit-idle-time=-1 \
        --high-priority=no --realtime=no \
        --load="module-sine-source source_name=generator frequency=440" \
        --load="module-null-sink sink_name=${test_tone%.monitor}" \
        --load="module-loopback source=generator sink=${test_tone%.monitor} latency_msec=80" \
        --load="module-native-protocol-unix socket=$servers_dir/sound/native auth-anonymous=1" \
        >"$servers_dir/sound.log" 2>&1 &
    server=$!
    end_with_script $server
    for _ in {1..100}; do
        ! pactl info >/dev/null 2>&1 || return 0
        kill -0 "$server" 2>/dev/null || break
        sleep 0.1
    done
    cat "$servers_dir/sound.log" >&2
    echo 'The private sound server did not start.' >&2
    return 1
}
