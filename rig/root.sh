# Makes, caches and enters the rig's own Debian system. Sourced by rig/run and rig/make-sessions.
#
# The system holds a real recorder engine laid out as LiveTrax is, and what Corvane needs to be built. It is made once and kept
# in the user's cache folder, never in the source tree.

rigFolder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
rigSource=$(dirname "$rigFolder")
rigCache=${RIG_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/corvane-rig}

# What a run leaves behind for the curious: pictures of the screen and the home folders of scenarios that failed.
rigOutput=$rigCache/output-$(echo "$rigSource" | sha256sum | cut -c1-12)

# What this machine cannot run proves nothing: a failure, unless whoever started it accepts that.
rigSkip() {
    if [ "${RIG_MAY_SKIP:-}" = 1 ]; then
        echo "rig: skipped: $*"
        exit 0
    fi
    echo "rig: nothing is proved: $*; RIG_MAY_SKIP=1 accepts that" >&2
    exit 1
}

# Goes on as root where that needs no password. Usage: rigCheckMachine "$0" "$@"
rigCheckMachine() {
    if [ "$(id -u)" != 0 ] && sudo -n true 2>/dev/null; then
        exec sudo RIG_CACHE="$rigCache" RIG_MAY_SKIP="${RIG_MAY_SKIP:-}" "$@"
    fi
    [ "$(id -u)" = 0 ] || rigSkip "only root can make and enter a Debian system (try: sudo rig/run)"
    command -v debootstrap >/dev/null || rigSkip "debootstrap is not installed"
    unshare --mount --net --pid --fork true 2>/dev/null || rigSkip "this machine does not allow namespaces"
}

# Sets rigRoot to the system that fits this version of the rig, and makes it if there is none yet.
rigMakeRoot() {
    local stamp
    stamp=$(cat "$rigFolder/make-root" "$rigFolder/lay-out-recorder" | sha256sum | cut -c1-12)
    rigRoot=$rigCache/root-$stamp
    mkdir -p "$rigCache"
    exec 8>"$rigCache/lock"
    flock 8
    if [ ! -d "$rigRoot" ]; then
        echo "rig: making a Debian system in $rigCache (once; a few minutes)"
        local new=$rigCache/new
        rm -rf --one-file-system "$new"
        if ! "$rigFolder/make-root" "$new" >"$rigCache/make-root.log" 2>&1; then
            tail -n 20 "$rigCache/make-root.log" >&2
            echo "rig: the system could not be made; the whole log is $rigCache/make-root.log" >&2
            exit 1
        fi
        mv "$new" "$rigRoot"
        find "$rigCache" -mindepth 1 -maxdepth 1 -name 'root-*' ! -path "$rigRoot" -exec rm -rf --one-file-system {} +
    fi
    rigMakeEngine
    flock -u 8
}

# A copy of the system's engine that keeps direct outs when it loads a session, as LiveTrax does and the package does not.
rigMakeEngine() {
    rigEngine=$rigCache/libardour-$(basename "$rigRoot")-$(sha256sum "$rigFolder/patch-engine" | cut -c1-12)
    if [ ! -f "$rigEngine" ]; then
        "$rigFolder/patch-engine" --quiet --root "$rigRoot" --output "$rigCache/new-engine" ||
            { echo "rig: the installed engine is none that can be made to keep direct outs" >&2; exit 1; }
        rm -f "$rigCache"/libardour-*
        mv "$rigCache/new-engine" "$rigEngine"
    fi
}

rigEmptyOutput() {
    rm -rf "$rigOutput"
    mkdir -p "$rigOutput"
    chown 1000:1000 "$rigOutput"
}

# Runs a command inside, as the user "engineer", in namespaces of its own: no network but an own loopback, a fresh home, the
# source tree read-only at /src, a build folder that is kept at /build, the engine with direct outs in place of the packaged
# one. Whatever is still running at the end goes with it.
rigEnter() {
    local build
    build=$rigCache/build-$(echo "$rigSource" | sha256sum | cut -c1-12)
    mkdir -p "$build" "$rigCache/ccache"
    chown 1000:1000 "$build" "$rigCache/ccache"
    unshare --mount --net --uts --ipc --pid --fork --kill-child bash -ec '
        root=$0 source=$1 build=$2 ccache=$3 output=$4 engine=$5
        shift 5
        hostname studio
        ip link set lo up
        ip link set lo multicast on
        ip route add 224.0.0.0/4 dev lo
        mount --make-rprivate /
        mount -t proc proc "$root/proc"
        mount --rbind /dev "$root/dev"
        for folder in tmp run home dev/shm; do mount -t tmpfs -o mode=1777 tmpfs "$root/$folder"; done
        mkdir "$root/home/engineer" "$root/run/ccache" "$root/run/output"
        chown 1000:1000 "$root/home/engineer"
        mount --bind "$build" "$root/build"
        mount --bind "$ccache" "$root/run/ccache"
        mount --bind "$output" "$root/run/output"
        mount --bind "$engine" "$(readlink -f "$root/usr/lib/ardour8/libardour.so.3")"
        mount --bind "$source" "$root/src"
        mount -o remount,bind,ro "$root/src"
        exec chroot "$root" setpriv --reuid 1000 --regid 1000 --clear-groups env -i \
            HOME=/home/engineer USER=engineer LANG=C.UTF-8 TZ=UTC0 PATH=/usr/local/bin:/usr/bin:/bin \
            CCACHE_DIR=/run/ccache PYTHONDONTWRITEBYTECODE=1 "$@"' \
        "$rigRoot" "$rigSource" "$build" "$rigCache/ccache" "$rigOutput" "$rigEngine" "$@"
}
