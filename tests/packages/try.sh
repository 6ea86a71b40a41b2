#!/bin/sh
# Tries the Debian packages of a folder in a fresh Debian: installs them, renders with the tool and
# with Python, builds C and C++ against the libraries, and removes them; nothing may be left. Run as
# root, in a mount namespace of its own (unshare --mount), as scripts/package --check does:
#     try.sh FOLDER TOOL
# FOLDER/system is the fresh Debian, of the release and from the sources of this machine. It is
# removed; a copy of it as it was in the beginning, and what it downloaded, stay in FOLDER. TOOL is
# the earshot that the packaged one has to agree with.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
folder=$1
tool=$2
system=$folder/system
packages=$(for deb in "$folder"/*.deb; do dpkg-deb -f "$deb" Package; done)
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

fail() {
    echo "try: $*" >&2
    exit 2
}
# In there nothing is known of the settings of who calls this.
inside() {
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL="$LC_ALL" \
        DEBIAN_FRONTEND="$DEBIAN_FRONTEND" chroot "$system" "$@"
}
# A step, the seconds that it took, and what it said if it failed.
step() {
    title=$1
    shift
    begin=$(date +%s)
    # Beside this shell, because -e has no effect on what stands before ||.
    ("$@") >"$folder/step.log" 2>&1 &
    child=$!
    wait "$child" || {
        tail -n 30 "$folder/step.log" >&2
        fail "$title: failed"
    }
    echo "try: $title ($(($(date +%s) - begin)) s)"
}
remove_system() {
    umount "$system/proc" "$system/var/cache/apt/archives" 2>/dev/null || true
    rm -rf --one-file-system "$system"
}
leave() {
    status=$?
    kill "$child" 2>/dev/null || true
    remove_system
    rm -f "$folder/step.log" "$folder/trial.wav"
    exit $status
}

# --- the fresh Debian
. /etc/os-release
release=$VERSION_CODENAME
base=$folder/base-$release-$(dpkg --print-architecture).tar
make_base() {
    eval "$(apt-config shell http_proxy Acquire::http::Proxy)"
    [ -z "${http_proxy-}" ] || export http_proxy
    mirror=$(awk -v release="$release" '$2 == release { print $1; exit }' "$folder/sources")
    [ -n "$mirror" ] || fail "apt's sources have no Debian $release"
    debootstrap --variant=minbase "$release" "$system" "$mirror"
    tar -c --one-file-system -f "$base.part" -C "$system" .
    mv "$base.part" "$base"
}
unpack_base() {
    mkdir -p "$system"
    tar -x -f "$base" -C "$system"
}
prepare() {
    awk '{ print "deb", $0 }' "$folder/sources" >"$system/etc/apt/sources.list"
    { apt-config dump Acquire::http::Proxy; echo 'Dpkg::Use-Pty "0";'; } \
        >"$system/etc/apt/apt.conf.d/80trial"
    cp /etc/resolv.conf "$system/etc/resolv.conf"
    mkdir -p "$folder/archives/partial" "$system/trial"
    mount --bind "$folder/archives" "$system/var/cache/apt/archives"
    mount -t proc proc "$system/proc"
    cp "$folder"/*.deb "$system/trial"
    cp -r "$here/../consumer/project" "$system/trial/consumer"
    inside apt-get update
}

# --- what is tried in it
install() { inside apt-get install -y --no-install-recommends "$@"; }
install_packages() { inside sh -c 'apt-get install -y --no-install-recommends /trial/*.deb'; }
# A chirp of three seconds, 48000 Hz, 16 bits, and a scene of it: on its way, at a place, turned.
write_scene() {
    inside perl -e '
        my @samples = map { int 12000 * sin 2e-6 * $_ * $_ } 0 .. 143999;
        print pack "A4 V A4 A4 V v v V V v v A4 V s<*", "RIFF", 36 + 288000, "WAVE", "fmt ", 16,
            1, 1, 48000, 96000, 2, 16, "data", 288000, @samples' >"$system/trial/chirp.wav"
    cat >"$system/trial/scene.json" <<'SCENE'
{
  "version": 1,
  "listener": { "orientation_track": [[0, 0, 0, 0], [2, 90, 10, 0]] },
  "sources": [
    { "file": "chirp.wav", "track": [[0, 3, 1, 0], [3, -2, 2, 1]],
      "rolloff": { "model": "inverse", "minimum": 1, "maximum": 60 } },
    { "file": "chirp.wav", "start": 0.5, "gain": -6, "direction": [-70, 20] }
  ]
}
SCENE
}
# The digest of the scene as a command makes it is that of the tool outside.
gives_digest() {
    expected=$("$tool" render "$system/trial/scene.json" -o "$folder/trial.wav" --bits 32 --digest)
    digest=$(inside "$@")
    echo "digest $digest, of the tool outside $expected"
    [ "${#digest}" -ge 64 ] && [ "${digest%% *}" = "${expected%% *}" ]
}
render_with_tool() {
    gives_digest earshot render /trial/scene.json -o /trial/trial.wav --bits 32 --digest
}
render_with_python() {
    gives_digest python3 -c 'import earshot
print(earshot.digest(earshot.render("/trial/scene.json")))'
}
build_with_pkg_config() {
    inside sh -euc 'cd /trial
        for module in earshot earshot-scene; do
            gcc -std=c99 -Wall -Wextra -Wpedantic -Werror consumer/main.c -o by-pkg-config \
                $(pkg-config --cflags --libs $module)
            ./by-pkg-config
        done'
}
build_with_cmake() {
    inside sh -euc 'cd /trial
        cmake -S consumer -B by-cmake -D WAY=find_package
        cmake --build by-cmake
        by-cmake/consumer_c
        by-cmake/consumer_cpp'
}
find_manual() { [ "$(inside man -w earshot)" = /usr/share/man/man1/earshot.1.gz ]; }
# Everything is purged, and what remains that they had or that has their name is told.
purge() {
    inside dpkg -L $packages | grep '^/[^.]' | sort -u >"$folder/installed"
    inside apt-get purge -y $packages
    while read -r path; do
        [ ! -e "$system$path" ] || inside dpkg -S "$path" </dev/null >/dev/null || echo "left: $path"
    done <"$folder/installed" >"$folder/left"
    inside find / -xdev -path /trial -prune -o -name '*earshot*' -print >>"$folder/left"
    for package in $packages; do
        inside dpkg-query -W "$package" && echo "known: $package" >>"$folder/left"
    done
    cat "$folder/left"
    [ -s "$folder/installed" ] && [ ! -s "$folder/left" ]
}

child=
remove_system
trap leave EXIT
trap 'exit 130' INT TERM
apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | sort -u >"$folder/sources"
if [ -f "$base" ]; then step "a fresh Debian $release, unpacked" unpack_base
else step "a fresh Debian $release, downloaded" make_base; fi
step "sources and packages put in" prepare
step "installed: $(echo $packages)" install_packages
step "scene written" write_scene
step "scene rendered by the tool" render_with_tool
step "scene rendered by Python" render_with_python
step "manual and compilers installed" install man-db g++ pkgconf cmake make
step "manual found" find_manual
step "C program with pkg-config" build_with_pkg_config
step "C and C++ programs with CMake" build_with_cmake
step "all removed, nothing left" purge
