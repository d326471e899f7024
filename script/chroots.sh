# Minimal installations of Debian, each in a folder of its own. Sourced after common.sh, never run.
#
# The mirror is the one that this machine's apt names. Whatever is mounted is mounted in a namespace of the command's
# own and ends with it, as does every process that it started; the folders go when the script ends, however it ends.

chroots= # the folder of all installations of this run
chroot_binds=() # SOURCE:TARGET, folders of this machine that in_chroot shows inside

need_chroots() {
    [ "$(id -u)" -eq 0 ] || die "installing Debian in a folder takes root"
    command -v debootstrap > /dev/null || die "debootstrap is missing; install the package debootstrap"
    command -v unshare > /dev/null || die "unshare is missing; install the package util-linux"
    local parent=${VNXTEST_CHROOTS:-${TMPDIR:-/tmp}}
    need_folder "$parent" VNXTEST_CHROOTS
    chroots=$(mktemp --directory "$parent/vnx-chroots.XXXXXX")
    trap remove_chroots EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

# Ends what in_chroot still runs: its namespaces end with it. A process that is ending may yet write a file.
remove_chroots() {
    local job
    for job in $(jobs -p); do
        kill -KILL "$job" 2> /dev/null || true
    done
    wait
    rm -rf --one-file-system "$chroots" 2> /dev/null || { sleep 1 && rm -rf --one-file-system "$chroots"; }
}

# The sources of this machine's apt for another suite, a line each: URI, suite. First the suite itself, then its
# updates. VNXTEST_MIRROR=URI names a mirror where apt names none of Debian.
apt_sources() {
    local suite=$1 here
    if [ -n "${VNXTEST_MIRROR:-}" ]; then
        printf '%s %s\n' "$VNXTEST_MIRROR" "$suite"
        return
    fi
    here=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
    apt-get indextargets --format '$(RELEASE) $(REPO_URI)' 'Created-By: Packages' 2> /dev/null |
        sed -nE "s|^$here(-updates\|-security)? (.*)|\2 $suite\1|p" | sort -u -k2,2
}

# make_chroot SUITE FOLDER: a minimal installation. What dpkg would sync to the disk it leaves to the system: the
# folder is thrown away.
make_chroot() {
    local suite=$1 folder=$2 sources
    sources=$(apt_sources "$suite")
    [ -n "$sources" ] || die "apt names no mirror of Debian here; name one: VNXTEST_MIRROR=URI $0"
    debootstrap --variant=minbase "$suite" "$folder" "${sources%% *}" > "$folder.log" 2>&1 || {
        cat "$folder.log" >&2
        die "debootstrap could not install $suite in $folder"
    }
    # shellcheck disable=SC2001 # every line
    sed 's/.*/deb & main/' <<< "$sources" > "$folder/etc/apt/sources.list"
    apt-config dump Acquire::http Acquire::https Acquire::Check-Valid-Until Acquire::Check-Date \
        > "$folder/etc/apt/apt.conf.d/50this-machine"
    printf '127.0.0.1 localhost\n::1 localhost\n' > "$folder/etc/hosts" # as the installer of Debian does
    echo force-unsafe-io > "$folder/etc/dpkg/dpkg.cfg.d/throw-away"
}

# in_chroot FOLDER COMMAND...: as root, in a home of its own, with this machine's network and devices. The folder is
# mounted on itself, since `ip netns exec` wants a file system at the root.
in_chroot() {
    local folder=$1
    shift
    unshare --mount --pid --ipc --fork --kill-child bash -euc '
        folder=$1 binds=$2
        shift 2
        mount --bind "$folder" "$folder"
        mkdir -p "$folder/home/tester"
        mount -t proc proc "$folder/proc"
        mount --rbind /sys "$folder/sys"
        mount --rbind /dev "$folder/dev"
        mount -t tmpfs tmpfs "$folder/run"
        for bind in $binds; do
            mkdir -p "$folder/${bind#*:}"
            mount --bind "${bind%%:*}" "$folder/${bind#*:}"
        done
        cp /etc/resolv.conf "$folder/etc/resolv.conf"
        exec chroot "$folder" /usr/bin/env -i HOME=/home/tester LANG=C.UTF-8 TERM="${TERM:-dumb}" \
            PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"' \
        in_chroot "$folder" "${chroot_binds[*]}" "$@" < /dev/null &
    wait $! # in the background, so that a signal ends the script at once
}
