# shellcheck shell=bash source=scripts/common.sh
# The virtual machine's kernel and its image, for scripts/vmtest and whatever else boots one; sourced
# behind common.sh, never run. Works on amd64, whose kernel package the machine boots.

# The cache folder's own rule: a relative one counts as none. HOME may be unset, as under a service.
case ${XDG_CACHE_HOME-} in
    /*) vm_cache=$XDG_CACHE_HOME/orb/vm ;;
    *) vm_cache=${HOME:-$(getent passwd "$(id -u)" | cut -d : -f 6)}/.cache/orb/vm ;;
esac
# Where a user's PATH has no sbin, the tools are there all the same.
PATH=$PATH:/usr/sbin:/sbin
# The steps below change folders.
case ${TMPDIR:-/} in
    /*) ;;
    *) export TMPDIR=$PWD/$TMPDIR ;;
esac

# What the machine may load; what these need comes along.
vm_modules=(
    ipmi_msghandler ipmi_si ipmi_devintf ipmi_watchdog ipmi_ssif
    virtio_pci virtio_blk virtio_console ext4 crc32c_generic
    e1000 sg sd_mod sr_mod virtio_scsi scsi_debug ahci megaraid_sas mptsas
)

# vm_packages: the kernel's package and version as "PACKAGE VERSION", by the package lists; nothing
# where these are empty.
vm_packages() {
    local package version
    package=$(apt-cache depends linux-image-amd64 2>/dev/null |
        awk '$1 == "Depends:" && $2 ~ /^linux-image-/ { print $2; exit }')
    [ -n "$package" ] || return 0
    version=$(apt-cache policy "$package" 2>/dev/null | awk '$1 == "Candidate:" { print $2 }')
    if [ -n "$version" ] && [ "$version" != "(none)" ]; then
        printf '%s %s\n' "$package" "$version"
    fi
}

# vm_update: fresh package lists, where the user may fetch them.
vm_update() {
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || return 1
        as_root=(sudo -n)
    fi
    "${as_root[@]}" apt-get -q -o DPkg::Lock::Timeout=300 update >&2
}

# vm_unpack PACKAGE VERSION FOLDER: downloads the package and makes FOLDER of it, whole or not at all.
# A run beside this one may do the same: the first to end wins.
vm_unpack() (
    # Whoever asks for this function's status switches set -e off in it: each step tells by itself.
    making=$(mktemp -d "$vm_cache/making.XXXXXX") || exit 1
    trap 'rm -rf "$making"' EXIT
    trap 'exit 1' INT TERM HUP
    cd "$making" || exit 1
    apt-get -q -o APT::Sandbox::User=root download "$1=$2" || exit 1
    mkdir tree
    # Sound, graphics and radio make up half of the package, and no machine here has them.
    set -o pipefail
    dpkg-deb --fsys-tarfile ./*.deb | tar -x -C tree --no-same-owner \
        --exclude='*/kernel/sound' --exclude='*/drivers/gpu' --exclude='*/drivers/media' \
        --exclude='*/drivers/infiniband' --exclude='*/drivers/staging' --exclude='*/wireless' \
        --exclude='*/usr/share' || exit 1
    release=$(ls tree/lib/modules) || exit 1
    depmod -b "$making/tree" "$release" || exit 1
    ln -s "vmlinuz-$release" tree/boot/vmlinuz
    [ -s tree/boot/vmlinuz ] || exit 1
    mv -T tree "$3" 2>/dev/null || [ -e "$3/boot/vmlinuz" ]
)

# vm_expire FIND-TEST...: removes what is a day old of the cache's entries.
vm_expire() {
    find "$vm_cache" -mindepth 1 -maxdepth 1 "$@" -mmin +1440 -exec rm -rf {} +
}

# vm_newest: sets vm_kernel_folder to the last kernel that a run used, to nothing without one.
vm_newest() {
    # shellcheck disable=SC2012 # the names are ours
    vm_kernel_folder=$({ ls -td "$vm_cache"/linux-image-* 2>/dev/null || true; } | head -n 1)
}

# vm_kernel LOG: sets vm_kernel_folder to an unpacked kernel package, with boot/vmlinuz and lib/modules:
# the one that the package lists name, else, say without a network, the last that a run used here.
vm_kernel() {
    local package version log=$1
    [ "$(dpkg --print-architecture)" = amd64 ] || die "this machine: not amd64, as its kernel is"
    mkdir -p "$vm_cache" || die "$vm_cache: no place for the kernel"
    # What somebody else keeps there serves as it is.
    if [ ! -w "$vm_cache" ]; then
        vm_newest
        [ -n "$vm_kernel_folder" ] || die "$vm_cache: cannot be written, and holds no kernel"
        return 0
    fi
    # What a killed run left.
    vm_expire -name 'making.*'

    for _ in 1 2; do
        package=
        read -r package version < <(vm_packages) || true
        if [ -n "$package" ]; then
            vm_kernel_folder="$vm_cache/${package}_${version//:/%3a}"
            if [ ! -e "$vm_kernel_folder/boot/vmlinuz" ]; then
                note "fetching $package"
                # In a shell of its own, so that a signal's trap here still has this one's output.
                (vm_unpack "$package" "$version" "$vm_kernel_folder" >"$log" 2>&1) || true
                note_done
            fi
            [ ! -e "$vm_kernel_folder/boot/vmlinuz" ] || break
        fi
        vm_newest
        [ -z "$vm_kernel_folder" ] || break
        # A fresh machine's lists are empty, an old one's name versions that are gone.
        note "fetching package lists"
        (vm_update >>"$log" 2>&1) || true
        note_done
    done
    if [ -z "$vm_kernel_folder" ]; then
        tail -n 20 "$log" >&2
        die "linux-image-amd64: no kernel package could be fetched"
    fi
    touch "$vm_kernel_folder"
    # Kernels of former package lists, unless another run uses one right now.
    vm_expire -name 'linux-image-*' ! -path "$vm_kernel_folder"
}

# vm_copy_modules ROOT: the modules of vm_modules with all that they need, and their index.
vm_copy_modules() {
    local root=$1 release from
    release=$(ls "$vm_kernel_folder/lib/modules") || return 1
    from="$vm_kernel_folder/lib/modules/$release"
    mkdir -p "$root/lib/modules/$release"
    cp "$from"/modules.builtin "$from"/modules.builtin.modinfo "$from"/modules.order \
        "$root/lib/modules/$release" || return 1
    # modules.dep names each file with everything it needs, also at one remove.
    awk -v wanted="${vm_modules[*]}" '
        BEGIN { n = split(wanted, list, " "); for (i = 1; i <= n; i++) want[list[i]] = 1 }
        {
            name = $1
            sub(/:$/, "", name)
            file = name
            gsub(/^.*\/|\.ko(\..*)?$/, "", name)
            gsub(/-/, "_", name)
            if (!(name in want)) next
            print file
            for (i = 2; i <= NF; i++) print $i
        }' "$from/modules.dep" | sort -u |
        (cd "$from" && cpio -pdmu --quiet "$root/lib/modules/$release") || return 1
    depmod -b "$root" "$release"
}

# vm_copy_libraries ROOT FILE...: the shared libraries that programs under ROOT need from this host.
vm_copy_libraries() {
    local root=$1 library
    shift
    # ldd fails for what is no dynamic program.
    printf '%s\0' "$@" | { xargs -0 ldd 2>/dev/null || true; } |
        sed -nE 's/^\t(.* => )?(\/.*) \(0x[0-9a-f]+\)$/\2/p' | sort -u |
        while IFS= read -r library; do
            [[ $library == "$root"/* ]] || install -D -m 755 "$library" "$root$library" || exit 1
        done
}

# vm_image OUTPUT [FILE=PLACE...]: an initramfs of what the release build installs, the lab's vendor
# libraries where programs' loader looks, busybox, the modules and tests/vm/guest; each FILE=PLACE puts
# one more program or file into it.
vm_image() (
    set -o pipefail
    output=$1
    shift
    root=$(mktemp -d "${TMPDIR:-/tmp}/orb-image.XXXXXX") || exit 1
    trap 'rm -rf "$root"' EXIT
    trap 'exit 1' INT TERM HUP
    chmod 755 "$root"

    # shellcheck disable=SC2154 # common.sh sets top
    if ! DESTDIR=$root cmake --install "$top/build/release" >"$output.log" 2>&1; then
        cat "$output.log" >&2
        exit 1
    fi
    rm -rf "$root/usr/share/man" "$output.log"
    for pair in "$@"; do
        install -D -m 755 "${pair%%=*}" "$root${pair#*=}" || exit 1
    done
    # Vendors' libraries are no part of the daemon: where the makers of platform and adapters would put
    # theirs lie the lab's. The guest's hba.conf names the latter.
    for library in libgeoenc02.so libgeoenc03.so libexamplefabric.so libexamplelight.so; do
        install -D -m 755 "$root/opt/vantor/orb/lib/lab/$library" "$root/usr/lib/$library" ||
            exit 1
    done
    mkdir -p "$root"/{bin,sbin,usr/bin,usr/sbin,dev,proc,sys,run,tmp,var,etc,mnt,root,scratch}
    chmod 1777 "$root/tmp"
    install -m 755 /bin/busybox "$root/bin/busybox" || exit 1
    "$root/bin/busybox" --list-full | while read -r applet; do
        [ "$applet" = bin/busybox ] || ln -sf /bin/busybox "$root/$applet" || exit 1
    done || exit 1
    cp -r "$top/tests/vm/guest/." "$root/" || exit 1
    chmod 755 "$root/init" "$root/usr/sbin"/orb-*
    install -D -m 644 /usr/share/misc/pci.ids "$root/usr/share/misc/pci.ids" || exit 1
    vm_copy_modules "$root" || exit 1
    mapfile -t programs < <(find "$root/opt" "$root/usr/local" "$root/usr/lib" -type f -perm /111 2>/dev/null)
    vm_copy_libraries "$root" "${programs[@]}" || exit 1
    (cd "$root" && find . -print0 | cpio -0 -o -H newc -R 0:0 --quiet) >"$output"
)
