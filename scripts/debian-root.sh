# shellcheck shell=bash
# A fresh Debian in a folder of its own, for checks that must not depend on what this machine has.
# To be sourced.
#
#   enter_namespace "$@"      first of all: starts the script again, alone with its mounts and processes
#   make_debian_root SUITE    debootstraps SUITE into $debian_root, which goes with the script
#   in_root COMMAND…          runs a command there, as root
#   copy_tree_to_root DIR     puts the committed state of this project into DIR of the root
#
# LIBCORVANE_DEBIAN_MIRROR names another mirror; LIBCORVANE_ROOT_CACHE a folder that keeps the bare
# systems between runs.
debian_root=''

# What is mounted and what runs in there ends with the script, however it ends, and then the folder
# goes. unshare itself would not hear of an interruption.
enter_namespace() {
    [[ -z ${LIBCORVANE_ROOTS:-} ]] || return 0
    if [[ $EUID -ne 0 ]] || ! command -v debootstrap >/dev/null; then
        echo "$0 needs root and the package debootstrap." >&2
        exit 1
    fi
    local roots code=0
    roots=$(mktemp -d)
    LIBCORVANE_ROOTS=$roots setpriv --pdeathsig KILL \
        unshare --mount --pid --fork --kill-child --propagation private "$0" "$@" &
    # shellcheck disable=SC2064
    trap "leave_namespace $! '$roots'" EXIT
    wait $! || code=$?
    exit "$code"
}

leave_namespace() {
    kill -KILL "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
    rm -rf --one-file-system "$2"
}

remove_debian_root() {
    ! mountpoint -q "$debian_root" || umount --lazy --recursive "$debian_root" || return 0
    # Never into something that is still mounted there.
    rm -rf --one-file-system "$debian_root"
}

# The bare system, from the cache if there is one.
unpack_debian() {
    local suite=$1 cache=${LIBCORVANE_ROOT_CACHE:-}
    if [[ -n $cache && -s $cache/$suite.tar ]]; then
        tar -C "$debian_root" -xf "$cache/$suite.tar"
        return
    fi
    debootstrap --variant=minbase "$suite" "$debian_root" \
        "${LIBCORVANE_DEBIAN_MIRROR:-http://deb.debian.org/debian}" >"$debian_root.log" ||
        { tail -20 "$debian_root.log" >&2 && return 1; }
    rm -f "$debian_root.log"
    [[ -z $cache ]] || { mkdir -p "$cache" && tar -C "$debian_root" -cf "$cache/$suite.tar" .; }
}

make_debian_root() {
    local suite=$1
    debian_root=$(mktemp -d -p "$LIBCORVANE_ROOTS")
    chmod 755 "$debian_root"
    unpack_debian "$suite"
    # In there, the root is a mount as on any machine.
    mount --bind "$debian_root" "$debian_root"
    mount -t proc proc "$debian_root/proc"
    mount --rbind /sys "$debian_root/sys"
    mount -t tmpfs -o mode=755 dev "$debian_root/dev"
    make_devices "$debian_root/dev"
    cp -L /etc/resolv.conf "$debian_root/etc/resolv.conf"
    # Packages ask nothing and start no services.
    printf '#!/bin/sh\nexit 101\n' >"$debian_root/usr/sbin/policy-rc.d"
    chmod +x "$debian_root/usr/sbin/policy-rc.d"
    # A system that is thrown away need not survive a loss of power.
    echo force-unsafe-io >"$debian_root/etc/dpkg/dpkg.cfg.d/unsafe-io"
}

make_devices() {
    local dev=$1 name
    for name in null zero full random urandom tty; do
        touch "$dev/$name"
        mount --bind "/dev/$name" "$dev/$name"
    done
    mkdir "$dev/pts" "$dev/shm"
    mount -t devpts -o newinstance,ptmxmode=666 devpts "$dev/pts"
    mount -t tmpfs shm "$dev/shm"
    ln -s pts/ptmx "$dev/ptmx"
    ln -s /proc/self/fd "$dev/fd"
}

in_root() {
    env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        chroot "$debian_root" "$@"
}

copy_tree_to_root() {
    mkdir -p "$debian_root/$1"
    git -c safe.directory="$PWD" archive HEAD | tar -C "$debian_root/$1" -xf -
}
