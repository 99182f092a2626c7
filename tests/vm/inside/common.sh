# What the guest's scripts share. A failure ends the guest, with its reason on the console and among the results.
. /inside/settings
[ -n "$has_udev" ] || export DM_DISABLE_UDEV=1

step() { echo "=== $(cut -d' ' -f1 /proc/uptime) $*" >/dev/console; }

end_guest() { echo o >/proc/sysrq-trigger; sleep 5; reboot -f; }

send_results() {
    for port in /sys/class/virtio-ports/*; do
        [ "$(cat "$port/name")" = results ] || continue
        tar c -C /results . >"/dev/${port##*/}"
    done
}

fail() {
    echo "*** FAILED: $*" >/dev/console
    echo "$*" >>/results/failure
    send_results
    end_guest
}

# must COMMAND...: shows what it says only when it fails or takes minutes.
must() {
    timeout 500 "$@" >/tmp/said 2>&1 </dev/null || { cat /tmp/said >/dev/console; fail "$*: $(cat /tmp/said)"; }
}

udevadm_if() { [ -z "$has_udev" ] || udevadm "$@" || fail "udevadm $*"; }
settle() { udevadm_if settle --timeout=500; }
start_udev() {
    [ -z "$has_udev" ] || /lib/systemd/systemd-udevd --daemon --resolve-names=never || fail "udev does not start"
}
stop_udev() { udevadm_if control --exit; }

# disk SERIAL [WHICH]: the node of the disk with this serial number, of the first one or of the WHICH-th.
disk() {
    wanted=${2:-1}
    for entry in $(ls -d /sys/block/* | sort -V); do
        found=$(cat "$entry/serial" "$entry/device/serial" 2>/dev/null; tail -c +5 "$entry/device/vpd_pg80" 2>/dev/null)
        [ "$(echo $found)" = "$1" ] && [ -b "/dev/${entry##*/}" ] || continue  # a hidden path has no node
        wanted=$((wanted - 1))
        [ "$wanted" -gt 0 ] || { echo "/dev/${entry##*/}"; return; }
    done
    fail "there is no disk $1 ${2:-}"
}

# partition DISK NUMBER: the node of the disk's partition.
partition() {
    case $1 in
        *[0-9]) echo "$1p$2" ;;
        *) echo "$1$2" ;;
    esac
}

# table DISK: writes the partition table that sfdisk reads from standard input.
table() {
    sfdisk --quiet --wipe never "$1" >/tmp/said 2>&1 || { cat /tmp/said >/dev/console; fail "sfdisk $1: $(cat /tmp/said)"; }
    settle
}

# filesystem NODE PLACE [OPTIONS]: makes one and mounts it.
filesystem() {
    must mke2fs -q -t ext4 -F -E nodiscard "$1"
    mkdir -p "$2"
    must mount -t ext4 ${3:+-o "$3"} "$1" "$2"
}
